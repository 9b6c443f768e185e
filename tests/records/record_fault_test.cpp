// Every database step of every operation failing once: the code, the error text, the trace line and
// what was (not) committed.
#include <functional>
#include <list>
#include <map>
#include <string>

#include "platform/db/DBfault.h"
#include "records/RecordStore.h"

namespace {
using dbfault::Step;
constexpr int K = 4242;  // the injected code
const char* const kText = "injected fault";

// An operation run on the seeded store: its result code and a probe of what it read or wrote.
struct Run {
    int rc;
    long long probe;
};
using Op = std::function<Run(TaskInterface&, std::string&)>;

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
    long long count(const std::string& where) { return scalar("SELECT COUNT(*) FROM " + where); }

    std::map<std::string, std::pair<const char*, Op>> ops() {
        auto read = [](auto fill, auto probe) {
            return [fill, probe](TaskInterface& t, std::string& err) {
                _TaskInfo info;
                fill(info);
                int rc = (t.*probe.first)(info, err, nullptr);
                return Run{rc, probe.second(info)};
            };
        };
        using Fn = int (TaskInterface::*)(_TaskInfo&, std::string&, void*);
        auto probe = [](Fn fn, std::function<long long(_TaskInfo&)> p) { return std::make_pair(fn, p); };
        std::map<std::string, std::pair<const char*, Op>> m;
        m["getJobInfo"] = {"TaskInterfaceDB::getJobInfo",
                           read([](_TaskInfo& i) { i.jobId = 1002; },
                                probe(&TaskInterface::getJobInfo, [](_TaskInfo& i) { return (long long)i.taskId; }))};
        m["getTaskInfo"] = {"TaskInterfaceDB::getTaskInfo",
                            read([](_TaskInfo& i) { i.taskId = 7; },
                                 probe(&TaskInterface::getTaskInfo, [](_TaskInfo& i) { return i.task.alertId; }))};
        m["getSubTaskInfo"] = {
            "TaskInterfaceDB::getSubTaskInfo",
            read([](_TaskInfo& i) {
                i.taskId = 7;
                i.subTaskId = 12;
            },
                 probe(&TaskInterface::getSubTaskInfo, [](_TaskInfo& i) { return i.subTask.subTaskId; }))};
        m["getDefaultTaskId"] = {
            "TaskInterfaceDB::getDefaultTaskId",
            read([](_TaskInfo&) {}, probe(&TaskInterface::getDefaultTaskId, [](_TaskInfo& i) { return i.task.taskId; }))};
        m["getEntityInfo"] = {"TaskInterfaceDB::getEntityInfo",
                              read([](_TaskInfo& i) { i.taskId = 7; },
                                   probe(&TaskInterface::getEntityInfo,
                                         [](_TaskInfo& i) { return (long long)i.entities.size(); }))};
        m["getPatternInfo"] = {"TaskInterfaceDB::getPatternInfo",
                               read([](_TaskInfo& i) {
                                   i.taskId = 7;
                                   i.entities.resize(1);
                               },
                                    probe(&TaskInterface::getPatternInfo,
                                          [](_TaskInfo& i) { return (long long)i.patterns.size(); }))};
        auto xmlProbe = [](_TaskInfo& i) { return (long long)i.xmlOptions.size(); };
        m["getXMLOptions/job"] = {"TaskInterfaceDB::getXMLOptions",
                                  read([](_TaskInfo& i) { i.jobId = 1001; }, probe(&TaskInterface::getXMLOptions, xmlProbe))};
        m["getXMLOptions/subtask"] = {
            "TaskInterfaceDB::getXMLOptions",
            read([](_TaskInfo& i) {
                i.jobId = 11;
                i.type = 1;
            }, probe(&TaskInterface::getXMLOptions, xmlProbe))};
        m["getBitOptions"] = {"TaskInterfaceDB::getBitOptions",
                              read([](_TaskInfo& i) {
                                  i.jobId = 1001;
                                  i.bitOptions = 99;
                              },
                                   probe(&TaskInterface::getBitOptions, [](_TaskInfo& i) { return i.bitOptions; }))};
        m["getExtendedOptions"] = {
            "TaskInterfaceDB::getExtendedOptions",
            read([](_TaskInfo& i) {
                i.jobId = 1001;
                i.extendedOptions = "stale";
            },
                 probe(&TaskInterface::getExtendedOptions,
                       [](_TaskInfo& i) { return (long long)i.extendedOptions.size(); }))};
        m["getJobList"] = {"TaskInterfaceDB::getJobList", [](TaskInterface& t, std::string& err) {
                               _TaskInfo info;
                               info.taskId = 7;
                               std::list<unsigned long long> jobs;
                               int rc = t.getJobListFromTaskId(info, jobs, err, nullptr);
                               return Run{rc, (long long)jobs.size()};
                           }};
        m["getJobRequestId"] = {"TaskInterfaceDB::getJobIdsFromBkpStats", [](TaskInterface& t, std::string& err) {
                                    long long request = -1;
                                    int rc = t.getJobRequestIdFromJobId(request, 1002, err, nullptr);
                                    return Run{rc, request};
                                }};
        m["setTaskInfo"] = {"TaskInterfaceDB::setTaskInfo", [this](TaskInterface& t, std::string& err) {
                                _TaskInfo info;
                                info.taskId = 7;
                                info.task.alertId = 88;
                                int rc = t.setTaskInfo(info, err, nullptr);
                                return Run{rc, scalar("SELECT alertId FROM TM_Task WHERE taskId = 7")};
                            }};
        m["setSubTaskInfo"] = {"TaskInterfaceDB::setSubTaskInfo", [this](TaskInterface& t, std::string& err) {
                                   _TaskInfo info;
                                   info.taskId = 7;
                                   info.subTaskId = 12;
                                   int rc = t.setSubTaskInfo(info, err, nullptr);
                                   return Run{rc, count("TM_SubTask WHERE subTaskId = 12 AND subTaskOrder = 2")};
                               }};
        // A new entity, the existing group 3 entity, another new one.
        m["setEntityInfo"] = {"TaskInterfaceDB::setEntityInfo", [this](TaskInterface& t, std::string& err) {
                                  _TaskInfo info;
                                  info.taskId = 7;
                                  info.entities.resize(3);
                                  info.entities[0].clientId = 2;
                                  info.entities[1].clientGroupId = 3;
                                  info.entities[2].clientId = 4;
                                  int rc = t.setEntityInfo(info, err, nullptr);
                                  long long n = count("TM_AssocEntity WHERE taskId = 7");
                                  exec("DELETE FROM TM_AssocEntity WHERE assocId > 3");
                                  return Run{rc, n};
                              }};
        return m;
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
        {"getJobInfo", Step::Begin, 1, K, true, "", 0},     {"getJobInfo", Step::Open, 1, K, true, dbe, 0},
        {"getJobInfo", Step::Fetch, 1, 0, true, dbe, 0},    {"getJobInfo", Step::Close, 1, K, true, "", 7},
        {"getJobInfo", Step::Commit, 1, K, true, "", 7},    {"getTaskInfo", Step::Begin, 1, K, true, "", 0},
        {"getTaskInfo", Step::Open, 1, K, true, dbe, 0},    {"getTaskInfo", Step::Fetch, 1, 0, true, dbe, 0},
        {"getTaskInfo", Step::Close, 1, K, true, "", 17},   {"getTaskInfo", Step::Commit, 1, K, true, "", 17},
        {"getSubTaskInfo", Step::Open, 1, K, true, dbe, 0}, {"getSubTaskInfo", Step::Fetch, 1, 0, true, dbe, 0},
        {"getSubTaskInfo", Step::Close, 1, K, true, "", 12}, {"getSubTaskInfo", Step::Commit, 1, K, true, "", 12},
        {"getDefaultTaskId", Step::Open, 1, K, true, dbe, 0}, {"getDefaultTaskId", Step::Fetch, 1, 0, true, dbe, 0},
        {"getDefaultTaskId", Step::Close, 1, K, true, "", 1}, {"getDefaultTaskId", Step::Commit, 1, K, true, "", 1},
        {"getEntityInfo", Step::Open, 1, K, true, dbe, 0},  {"getEntityInfo", Step::Fetch, 2, 0, true, dbe, 1},
        {"getEntityInfo", Step::Close, 1, 0, false, "", 2}, {"getEntityInfo", Step::Commit, 1, K, true, "", 2},
        {"getPatternInfo", Step::Begin, 1, K, true, "", 0}, {"getPatternInfo", Step::Open, 1, K, true, dbe, 0},
        {"getPatternInfo", Step::Fetch, 2, 0, true, dbe, 1}, {"getPatternInfo", Step::Commit, 1, K, true, "", 2},
        {"getXMLOptions/job", Step::Begin, 1, K, true, "", 0}, {"getXMLOptions/job", Step::Open, 1, -1, true, xmlJob, 0},
        {"getXMLOptions/job", Step::Commit, 1, K, true, "", 25},
        {"getXMLOptions/subtask", Step::Open, 1, K, true, xmlSub, 0},
        {"getXMLOptions/subtask", Step::Fetch, 1, K, true, xmlSub, 0},
        {"getXMLOptions/subtask", Step::Close, 1, K, true, xmlSub, 25},
        {"getXMLOptions/subtask", Step::Commit, 1, 0, false, "", 25},  // this path never commits
        {"getBitOptions", Step::Begin, 1, K, true, "", 99}, {"getBitOptions", Step::Open, 1, K, true, dbe, 99},
        {"getBitOptions", Step::Fetch, 1, 0, true, dbe, 99}, {"getBitOptions", Step::Close, 1, K, true, "", 3},
        {"getBitOptions", Step::Commit, 1, K, true, "", 3}, {"getExtendedOptions", Step::Open, 1, K, true, dbe, 5},
        {"getExtendedOptions", Step::Fetch, 1, 0, true, dbe, 5}, {"getExtendedOptions", Step::Close, 1, K, true, "", 40},
        {"getJobList", Step::Begin, 1, K, true, dbe, 0},    {"getJobList", Step::Open, 1, K, true, dbe, 0},
        {"getJobList", Step::Fetch, 2, 0, true, dbe, 1},    {"getJobList", Step::Commit, 1, K, true, "", 2},
        {"getJobRequestId", Step::Begin, 1, K, true, dbe, -1}, {"getJobRequestId", Step::Open, 1, K, true, dbe, -1},
        {"getJobRequestId", Step::Fetch, 1, 0, true, dbe, -1}, {"getJobRequestId", Step::Fetch, 2, 0, true, dbe, 502},
        {"getJobRequestId", Step::Commit, 1, K, true, "", 502},
        // Writers: an own transaction commits nothing unless close and commit succeed.
        {"setTaskInfo", Step::Begin, 1, K, true, "", 17},   {"setTaskInfo", Step::Open, 1, K, true, dbe, 17},
        {"setTaskInfo", Step::Fetch, 1, 0, true, dbe, 17},  {"setTaskInfo", Step::Update, 1, 0, true, dbe, 17},
        {"setTaskInfo", Step::Close, 1, K, true, "", 17},   {"setTaskInfo", Step::Commit, 1, K, true, "", 17},
        {"setSubTaskInfo", Step::Open, 1, K, true, dbe, 1}, {"setSubTaskInfo", Step::Update, 1, 0, true, dbe, 1},
        {"setSubTaskInfo", Step::Fetch, 1, 0, true, dbe, 1},
        {"setSubTaskInfo", Step::Close, 1, K, true, "", 1}, {"setSubTaskInfo", Step::Commit, 1, K, true, "", 1},
        {"setEntityInfo", Step::Begin, 1, K, true, "", 2},  {"setEntityInfo", Step::Open, 2, K, true, dbe, 2},
        {"setEntityInfo", Step::Fetch, 1, 0, true, dbe, 3}, {"setEntityInfo", Step::Insert, 1, 0, true, dbe, 3},
        {"setEntityInfo", Step::Close, 2, K, true, "", 2},  {"setEntityInfo", Step::Commit, 1, K, true, "", 2},
    };
    auto all = ops();
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.op) + " " + dbfault::stepName(c.step) + " #" + std::to_string(c.nth));
        auto& op = all.at(c.op);
        std::string err = "caller's text";
        evtrace::Capture cap;
        Run run;
        {
            dbfault::Scope fault(c.step, c.nth, K, kText);
            run = op.second(*ti, err);
            // The fault must have been reached, except where the step is not taken at all.
            if (c.rc != 0 || c.errSet) EXPECT_GE(dbfault::calls(c.step), c.nth);
            if (std::string(c.op) == "getXMLOptions/subtask" && c.step == Step::Commit)
                EXPECT_EQ(dbfault::calls(Step::Commit), 0);
        }
        EXPECT_EQ(run.rc, c.rc);
        EXPECT_EQ(err, c.errSet ? kText : "caller's text");
        EXPECT_EQ(run.probe, c.probe);
        if (*c.line) {
            EXPECT_EQ(traced(cap, c.line, op.first), 1u);
        } else {
            EXPECT_EQ(traced(cap, "DB_Error", op.first), 0u);
        }
    }
}

TASKDB_STORE_SUITE(RecordFaultTest);
