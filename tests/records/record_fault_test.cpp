// Every database step of every operation failing once: the code, the error text, the trace line and
// what was (not) committed.
#include <list>
#include <string>

#include "platform/db/DBfault.h"
#include "records/RecordStore.h"

namespace {
using dbfault::Step;
constexpr int K = 4242;  // the injected code
const char* const kText = "injected fault";

// What an operation returned, and a probe of what it read or wrote.
struct Outcome {
    int rc;
    long long probe;
};

struct Case {
    const char* op;
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
    void SetUp() override {
        RecordStoreTest::SetUp();
        seed();
    }

    // The trace name of `op`.
    static std::string traceName(const std::string& op) {
        if (op == "getJobList") return "TaskInterfaceDB::getJobList";
        if (op == "getJobRequestId") return "TaskInterfaceDB::getJobIdsFromBkpStats";
        return "TaskInterfaceDB::" + op.substr(0, op.find('/'));
    }

    // Runs `op` on the seeded store with its own transaction.
    Outcome run(const std::string& op, std::string& err) {
        _TaskInfo i;
        if (op == "getJobInfo") {
            i.jobId = 1002;
            return {ti->getJobInfo(i, err, nullptr), static_cast<long long>(i.taskId)};
        }
        if (op == "getTaskInfo") {
            i.taskId = 7;
            return {ti->getTaskInfo(i, err, nullptr), i.task.alertId};
        }
        if (op == "getSubTaskInfo") {
            i.taskId = 7;
            i.subTaskId = 12;
            return {ti->getSubTaskInfo(i, err, nullptr), i.subTask.subTaskId};
        }
        if (op == "getDefaultTaskId") return {ti->getDefaultTaskId(i, err, nullptr), i.task.taskId};
        if (op == "getEntityInfo") {
            i.taskId = 7;
            return {ti->getEntityInfo(i, err, nullptr), static_cast<long long>(i.entities.size())};
        }
        if (op == "getPatternInfo") {
            i.taskId = 7;
            i.entities.resize(1);
            return {ti->getPatternInfo(i, err, nullptr), static_cast<long long>(i.patterns.size())};
        }
        if (op == "getXMLOptions/job" || op == "getXMLOptions/subtask") {
            i.jobId = op == "getXMLOptions/job" ? 1001 : 11;
            i.type = op == "getXMLOptions/job" ? 0 : 1;
            return {ti->getXMLOptions(i, err, nullptr), static_cast<long long>(i.xmlOptions.size())};
        }
        if (op == "getBitOptions") {
            i.jobId = 1001;
            i.bitOptions = 99;
            return {ti->getBitOptions(i, err, nullptr), static_cast<long long>(i.bitOptions)};
        }
        if (op == "getExtendedOptions") {
            i.jobId = 1001;
            i.extendedOptions = "stale";
            return {ti->getExtendedOptions(i, err, nullptr),
                    static_cast<long long>(i.extendedOptions.size())};
        }
        if (op == "getJobList") {
            i.taskId = 7;
            std::list<unsigned long long> jobs;
            return {ti->getJobListFromTaskId(i, jobs, err, nullptr), static_cast<long long>(jobs.size())};
        }
        if (op == "getJobRequestId") {
            long long request = -1;
            return {ti->getJobRequestIdFromJobId(request, 1002, err, nullptr), request};
        }
        if (op == "setTaskInfo") {
            i.taskId = 7;
            i.task.alertId = 88;
            int rc = ti->setTaskInfo(i, err, nullptr);
            return {rc, scalar("SELECT alertId FROM TM_Task WHERE taskId = 7")};
        }
        if (op == "setSubTaskInfo") {
            i.taskId = 7;
            i.subTaskId = 12;
            int rc = ti->setSubTaskInfo(i, err, nullptr);
            return {rc, scalar("SELECT COUNT(*) FROM TM_SubTask WHERE subTaskId = 12 AND subTaskOrder = 2")};
        }
        if (op == "setEntityInfo") {
            // A new entity, the existing group 3 entity, another new one.
            i.taskId = 7;
            i.entities.resize(3);
            i.entities[0].clientId = 2;
            i.entities[1].clientGroupId = 3;
            i.entities[2].clientId = 4;
            int rc = ti->setEntityInfo(i, err, nullptr);
            long long n = scalar("SELECT COUNT(*) FROM TM_AssocEntity WHERE taskId = 7");
            exec("DELETE FROM TM_AssocEntity WHERE assocId > 3");
            return {rc, n};
        }
        ADD_FAILURE() << "unknown operation " << op;
        return {};
    }
};

TEST_P(RecordFaultTest, EveryStepOfEveryOperationFailingOnce) {
    const char* dbe = "DB_Error: [injected fault]";
    const char* xmlJob = "Failed to get XML for jobId [1001]";
    const char* xmlSub = "Failed to get XML for jobId [11]";
    // Single-row readers: a fetch failure is reported only through err; a close or commit failure
    // is returned. List readers: the end of the data closes the cursor inside the fetch, so their close
    // failure never reaches the caller.
    const Case cases[] = {
        {"getJobInfo", Step::Begin, 1, K, true, "", 0},
        {"getJobInfo", Step::Open, 1, K, true, dbe, 0},
        {"getJobInfo", Step::Fetch, 1, 0, true, dbe, 0},
        {"getJobInfo", Step::Close, 1, K, true, "", 7},
        {"getJobInfo", Step::Commit, 1, K, true, "", 7},
        {"getTaskInfo", Step::Begin, 1, K, true, "", 0},
        {"getTaskInfo", Step::Open, 1, K, true, dbe, 0},
        {"getTaskInfo", Step::Fetch, 1, 0, true, dbe, 0},
        {"getTaskInfo", Step::Close, 1, K, true, "", 17},
        {"getTaskInfo", Step::Commit, 1, K, true, "", 17},
        {"getSubTaskInfo", Step::Open, 1, K, true, dbe, 0},
        {"getSubTaskInfo", Step::Fetch, 1, 0, true, dbe, 0},
        {"getSubTaskInfo", Step::Close, 1, K, true, "", 12},
        {"getSubTaskInfo", Step::Commit, 1, K, true, "", 12},
        {"getDefaultTaskId", Step::Open, 1, K, true, dbe, 0},
        {"getDefaultTaskId", Step::Fetch, 1, 0, true, dbe, 0},
        {"getDefaultTaskId", Step::Close, 1, K, true, "", 1},
        {"getDefaultTaskId", Step::Commit, 1, K, true, "", 1},
        {"getEntityInfo", Step::Open, 1, K, true, dbe, 0},
        {"getEntityInfo", Step::Fetch, 2, 0, true, dbe, 1},
        {"getEntityInfo", Step::Close, 1, 0, false, "", 2},
        {"getEntityInfo", Step::Commit, 1, K, true, "", 2},
        {"getPatternInfo", Step::Begin, 1, K, true, "", 0},
        {"getPatternInfo", Step::Open, 1, K, true, dbe, 0},
        {"getPatternInfo", Step::Fetch, 2, 0, true, dbe, 1},
        {"getPatternInfo", Step::Commit, 1, K, true, "", 2},
        {"getXMLOptions/job", Step::Begin, 1, K, true, "", 0},
        {"getXMLOptions/job", Step::Open, 1, -1, true, xmlJob, 0},
        {"getXMLOptions/job", Step::Commit, 1, K, true, "", 25},
        {"getXMLOptions/subtask", Step::Open, 1, K, true, xmlSub, 0},
        {"getXMLOptions/subtask", Step::Fetch, 1, K, true, xmlSub, 0},
        {"getXMLOptions/subtask", Step::Close, 1, K, true, xmlSub, 25},
        {"getXMLOptions/subtask", Step::Commit, 1, 0, false, "", 25},  // this path never commits
        {"getBitOptions", Step::Begin, 1, K, true, "", 99},
        {"getBitOptions", Step::Open, 1, K, true, dbe, 99},
        {"getBitOptions", Step::Fetch, 1, 0, true, dbe, 99},
        {"getBitOptions", Step::Close, 1, K, true, "", 3},
        {"getBitOptions", Step::Commit, 1, K, true, "", 3},
        {"getExtendedOptions", Step::Open, 1, K, true, dbe, 5},
        {"getExtendedOptions", Step::Fetch, 1, 0, true, dbe, 5},
        {"getExtendedOptions", Step::Close, 1, K, true, "", 40},
        {"getJobList", Step::Begin, 1, K, true, dbe, 0},
        {"getJobList", Step::Open, 1, K, true, dbe, 0},
        {"getJobList", Step::Fetch, 2, 0, true, dbe, 1},
        {"getJobList", Step::Commit, 1, K, true, "", 2},
        {"getJobRequestId", Step::Begin, 1, K, true, dbe, -1},
        {"getJobRequestId", Step::Open, 1, K, true, dbe, -1},
        {"getJobRequestId", Step::Fetch, 1, 0, true, dbe, -1},
        {"getJobRequestId", Step::Fetch, 2, 0, true, dbe, 502},
        {"getJobRequestId", Step::Commit, 1, K, true, "", 502},
        // Writers: an own transaction commits nothing unless close and commit succeed.
        {"setTaskInfo", Step::Begin, 1, K, true, "", 17},
        {"setTaskInfo", Step::Open, 1, K, true, dbe, 17},
        {"setTaskInfo", Step::Fetch, 1, 0, true, dbe, 17},
        {"setTaskInfo", Step::Update, 1, 0, true, dbe, 17},
        {"setTaskInfo", Step::Close, 1, K, true, "", 17},
        {"setTaskInfo", Step::Commit, 1, K, true, "", 17},
        {"setSubTaskInfo", Step::Open, 1, K, true, dbe, 1},
        {"setSubTaskInfo", Step::Update, 1, 0, true, dbe, 1},
        {"setSubTaskInfo", Step::Fetch, 1, 0, true, dbe, 1},
        {"setSubTaskInfo", Step::Close, 1, K, true, "", 1},
        {"setSubTaskInfo", Step::Commit, 1, K, true, "", 1},
        {"setEntityInfo", Step::Begin, 1, K, true, "", 2},
        {"setEntityInfo", Step::Open, 2, K, true, dbe, 2},
        {"setEntityInfo", Step::Fetch, 1, 0, true, dbe, 3},
        {"setEntityInfo", Step::Insert, 1, 0, true, dbe, 3},
        {"setEntityInfo", Step::Close, 2, K, true, "", 2},
        {"setEntityInfo", Step::Commit, 1, K, true, "", 2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.op) + " " + dbfault::stepName(c.step) + " #" + std::to_string(c.nth));
        std::string err = "caller's text";
        evtrace::Capture cap;
        Outcome out{};
        {
            dbfault::Scope fault(c.step, c.nth, K, kText);
            out = run(c.op, err);
            // The fault must have been reached, except where the step is not taken at all.
            if (c.rc != 0 || c.errSet) {
                EXPECT_GE(dbfault::calls(c.step), c.nth);
            }
            if (std::string(c.op) == "getXMLOptions/subtask" && c.step == Step::Commit) {
                EXPECT_EQ(dbfault::calls(Step::Commit), 0);
            }
        }
        EXPECT_EQ(out.rc, c.rc);
        EXPECT_EQ(err, c.errSet ? kText : "caller's text");
        EXPECT_EQ(out.probe, c.probe);
        if (*c.line) {
            EXPECT_EQ(traced(cap, c.line, traceName(c.op)), 1u);
        } else {
            EXPECT_EQ(traced(cap, "DB_Error", traceName(c.op)), 0u);
        }
    }
}

TASKDB_STORE_SUITE(RecordFaultTest);
