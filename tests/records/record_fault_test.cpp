// Every database step of every operation failing once: the code, the error text, the trace line and
// what was (not) committed.
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "platform/db/DBfault.h"
#include "records/RecordStore.h"

namespace {
using dbfault::Step;
using S = dbfault::Step;
constexpr bool E = true;   // err holds the injected text
constexpr bool N = false;  // err keeps the caller's text
constexpr int K = 4242;    // the injected code
const char* const kText = "injected fault";

// What an operation returned, and a probe of what it read or wrote.
struct Outcome {
    int rc;
    long long probe;
};

// One step of an operation failing: what the caller then sees.
struct Expect {
    Step step;
    int nth;
    int rc;
    bool errSet;
    const char* line;  // expected trace text under the operation's name; "" = no "DB_Error" line
    long long probe;
};
}  // namespace

class RecordFaultTest : public RecordStoreTest {
  protected:
    static std::string traceName(const std::string& op) {
        if (op == "getJobList") return "TaskInterfaceDB::getJobList";
        if (op == "getJobRequestId") return "TaskInterfaceDB::getJobIdsFromBkpStats";
        return "TaskInterfaceDB::" + op.substr(0, op.find('/'));
    }

    // Runs `op` on the seeded store with its own transaction; the probe is read after the call.
    Outcome run(const std::string& op, std::string& e) {
        using L = long long;
        _TaskInfo i;
        std::list<unsigned long long> jobs;
        L request = -1;
        if (op == "getJobInfo") return i.jobId = 1002, Outcome{ti->getJobInfo(i, e, nullptr), L(i.taskId)};
        if (op == "getTaskInfo") return i.taskId = 7, Outcome{ti->getTaskInfo(i, e, nullptr), i.task.alertId};
        if (op == "getSubTaskInfo")
            return i.taskId = 7, i.subTaskId = 12,
                   Outcome{ti->getSubTaskInfo(i, e, nullptr), i.subTask.subTaskId};
        if (op == "getDefaultTaskId") return {ti->getDefaultTaskId(i, e, nullptr), i.task.taskId};
        if (op == "getEntityInfo")
            return i.taskId = 7, Outcome{ti->getEntityInfo(i, e, nullptr), L(i.entities.size())};
        if (op == "getPatternInfo")
            return i.taskId = 7, i.entities.resize(1),
                   Outcome{ti->getPatternInfo(i, e, nullptr), L(i.patterns.size())};
        if (op == "getXMLOptions/job" || op == "getXMLOptions/subtask") {
            i.jobId = op == "getXMLOptions/job" ? 1001 : 11;
            i.type = op == "getXMLOptions/job" ? 0 : 1;
            return {ti->getXMLOptions(i, e, nullptr), L(i.xmlOptions.size())};
        }
        if (op == "getBitOptions")
            return i.jobId = 1001, i.bitOptions = 99,
                   Outcome{ti->getBitOptions(i, e, nullptr), L(i.bitOptions)};
        if (op == "getExtendedOptions")
            return i.jobId = 1001, i.extendedOptions = "stale",
                   Outcome{ti->getExtendedOptions(i, e, nullptr), L(i.extendedOptions.size())};
        if (op == "getJobList")
            return i.taskId = 7, Outcome{ti->getJobListFromTaskId(i, jobs, e, nullptr), L(jobs.size())};
        if (op == "getJobRequestId")
            return {ti->getJobRequestIdFromJobId(request, 1002, e, nullptr), request};
        i.taskId = 7;
        i.subTaskId = 12;
        i.task.alertId = 88;
        if (op == "setTaskInfo")
            return {ti->setTaskInfo(i, e, nullptr), scalar("SELECT alertId FROM TM_Task WHERE taskId = 7")};
        if (op == "setSubTaskInfo")
            return {ti->setSubTaskInfo(i, e, nullptr),
                    scalar("SELECT COUNT(*) FROM TM_SubTask WHERE subTaskId = 12 AND subTaskOrder = 2")};
        // A new entity, the existing group 3 entity, another new one.
        i.entities.resize(3);
        i.entities[0].clientId = 2;
        i.entities[1].clientGroupId = 3;
        i.entities[2].clientId = 4;
        Outcome out{ti->setEntityInfo(i, e, nullptr),
                    scalar("SELECT COUNT(*) FROM TM_AssocEntity WHERE taskId = 7")};
        exec("DELETE FROM TM_AssocEntity WHERE assocId > 3");
        return out;
    }
};

TEST_P(RecordFaultTest, EveryStepOfEveryOperationFailingOnce) {
    const char* dbe = "DB_Error: [injected fault]";
    const char* xmlJob = "Failed to get XML for jobId [1001]";
    const char* xmlSub = "Failed to get XML for jobId [11]";
    // Single-row readers: a fetch failure is reported only through err; a close or commit failure
    // is returned. List readers: the end of the data closes the cursor inside the fetch; a failure of
    // that close is still returned, with its text.
    // clang-format off
    const std::vector<std::pair<const char*, std::vector<Expect>>> table = {
        {"getJobInfo", {{S::Begin, 1, K, E, "", 0}, {S::Open, 1, K, E, dbe, 0}, {S::Fetch, 1, 0, E, dbe, 0},
            {S::Close, 1, K, E, "", 7}, {S::Commit, 1, K, E, "", 7}}},
        {"getTaskInfo", {{S::Begin, 1, K, E, "", 0}, {S::Open, 1, K, E, dbe, 0}, {S::Fetch, 1, 0, E, dbe, 0},
            {S::Close, 1, K, E, "", 17}, {S::Commit, 1, K, E, "", 17}}},
        {"getSubTaskInfo", {{S::Open, 1, K, E, dbe, 0}, {S::Fetch, 1, 0, E, dbe, 0},
            {S::Close, 1, K, E, "", 12}, {S::Commit, 1, K, E, "", 12}}},
        {"getDefaultTaskId", {{S::Open, 1, K, E, dbe, 0}, {S::Fetch, 1, 0, E, dbe, 0},
            {S::Close, 1, K, E, "", 1}, {S::Commit, 1, K, E, "", 1}}},
        {"getEntityInfo", {{S::Open, 1, K, E, dbe, 0}, {S::Fetch, 2, 0, E, dbe, 1},
            {S::Close, 1, K, E, "", 2}, {S::Commit, 1, K, E, "", 2}}},
        {"getPatternInfo", {{S::Begin, 1, K, E, "", 0}, {S::Open, 1, K, E, dbe, 0},
            {S::Fetch, 2, 0, E, dbe, 1}, {S::Close, 1, K, E, "", 2}, {S::Commit, 1, K, E, "", 2}}},
        {"getXMLOptions/job", {{S::Begin, 1, K, E, "", 0}, {S::Open, 1, -1, E, xmlJob, 0},
            {S::Fetch, 1, -1, E, xmlJob, 0}, {S::Close, 1, -1, E, xmlJob, 0}, {S::Commit, 1, K, E, "", 25}}},
        {"getXMLOptions/subtask", {{S::Open, 1, K, E, xmlSub, 0}, {S::Fetch, 1, K, E, xmlSub, 0},
            {S::Close, 1, K, E, xmlSub, 25}, {S::Commit, 1, 0, N, "", 25}}},
        {"getBitOptions", {{S::Begin, 1, K, E, "", 99}, {S::Open, 1, K, E, dbe, 99},
            {S::Fetch, 1, 0, E, dbe, 99}, {S::Close, 1, K, E, "", 3}, {S::Commit, 1, K, E, "", 3}}},
        {"getExtendedOptions", {{S::Open, 1, K, E, dbe, 5}, {S::Fetch, 1, 0, E, dbe, 5},
            {S::Close, 1, K, E, "", 40}}},
        {"getJobList", {{S::Begin, 1, K, E, dbe, 0}, {S::Open, 1, K, E, dbe, 0}, {S::Fetch, 2, 0, E, dbe, 1},
            {S::Close, 1, K, E, "", 2}, {S::Commit, 1, K, E, "", 2}}},
        {"getJobRequestId", {{S::Begin, 1, K, E, dbe, -1}, {S::Open, 1, K, E, dbe, -1},
            {S::Fetch, 1, 0, E, dbe, -1}, {S::Fetch, 2, 0, E, dbe, 502}, {S::Close, 1, K, E, "", 502},
            {S::Commit, 1, K, E, "", 502}}},
        // Writers: an own transaction commits nothing unless close and commit succeed.
        {"setTaskInfo", {{S::Begin, 1, K, E, "", 17}, {S::Open, 1, K, E, dbe, 17},
            {S::Fetch, 1, 0, E, dbe, 17}, {S::Update, 1, 0, E, dbe, 17}, {S::Close, 1, K, E, "", 17},
            {S::Commit, 1, K, E, "", 17}}},
        {"setSubTaskInfo", {{S::Open, 1, K, E, dbe, 1}, {S::Update, 1, 0, E, dbe, 1},
            {S::Fetch, 1, 0, E, dbe, 1}, {S::Close, 1, K, E, "", 1}, {S::Commit, 1, K, E, "", 1}}},
        {"setEntityInfo", {{S::Begin, 1, K, E, "", 2}, {S::Open, 2, K, E, dbe, 2},
            {S::Fetch, 1, 0, E, dbe, 3}, {S::Insert, 1, 0, E, dbe, 3}, {S::Close, 2, K, E, "", 2},
            {S::Commit, 1, K, E, "", 2}}},
    };
    // clang-format on
    for (const auto& [op, expects] : table) {
        for (const Expect& c : expects) {
            SCOPED_TRACE(std::string(op) + " " + dbfault::stepName(c.step) + " #" + std::to_string(c.nth));
            std::string err = "caller's text";
            evtrace::Capture cap;
            Outcome out{};
            {
                dbfault::Scope fault(c.step, c.nth, K, kText);
                out = run(op, err);
                // The fault must have been reached, except where the step is not taken at all.
                if (c.rc != 0 || c.errSet) {
                    EXPECT_GE(dbfault::calls(c.step), c.nth);
                }
                if (std::string(op) == "getXMLOptions/subtask" && c.step == Step::Commit) {
                    EXPECT_EQ(dbfault::calls(Step::Commit), 0);
                }
            }
            EXPECT_EQ(out.rc, c.rc);
            EXPECT_EQ(err, c.errSet ? kText : "caller's text");
            EXPECT_EQ(out.probe, c.probe);
            if (*c.line) {
                EXPECT_EQ(traced(cap, c.line, traceName(op)), 1u);
            } else {
                EXPECT_EQ(traced(cap, "DB_Error", traceName(op)), 0u);
            }
        }
    }
}

TASKDB_STORE_SUITE(RecordFaultTest);
