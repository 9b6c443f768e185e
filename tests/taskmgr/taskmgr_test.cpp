// Task creation and runs through the task manager, in the caller and through the service, on every
// backend: rows written, ids returned, nothing written for a refused request or a dead service.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <tuple>

#include "platform/db/DBfault.h"
#include "platform/taskmgr/Handler.h"
#include "platform/taskmgr/TaskManager.h"
#include "platform/trace/EvDebug.h"
#include "support/TestStore.h"

namespace {

const char* const kCreate =
    "<TMMsg_CreateTaskReq>"
    "<task taskName=\"Nightly &amp; weekly\" taskType=\"2\"><description>finance</description></task>"
    "<subTask subTaskName=\"Full\" subTaskType=\"2\" operationType=\"4003\">"
    "<pattern name=\"Sunday\" freq_type=\"8\" active_start_date=\"2026-01-04 00:00:00\"/>"
    "<option optionId=\"1003\" type=\"3\"><value>8</value></option>"
    "<xmlOptions><jobOption level=\"full\"/></xmlOptions></subTask>"
    "<subTask subTaskName=\"Incremental\" subTaskType=\"2\" operationType=\"4003\"/>"
    "<association assocType=\"7\" clientId=\"12\" apptypeId=\"33\" subclientId=\"301\"/>"
    "<runNow>1</runNow><runNow>1</runNow>"
    "</TMMsg_CreateTaskReq>";

class TaskManagerTest : public StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        // Two clients with a subclient of the same name each.
        exec("INSERT INTO APP_Client (id, name) VALUES (12, 'fin01')");
        exec("INSERT INTO APP_Client (id, name) VALUES (13, 'web01')");
        exec("INSERT INTO APP_Application (id, clientId, subclientName) VALUES (301, 12, 'db')");
        exec("INSERT INTO APP_Application (id, clientId, subclientName) VALUES (302, 12, 'logs')");
        exec("INSERT INTO APP_Application (id, clientId, subclientName) VALUES (401, 13, 'logs')");
        m_socket = "unix:" + tempStorePath("taskmgr") + ".sock";
        m_service = std::thread([this] { EvTaskMgr::serve(m_socket, nullptr); });
        waitForService();
    }
    void TearDown() override {
        EvTaskMgr::stopService();
        m_service.join();
        unsetenv("TASKDB_TASKMGR");
        StoreTest::TearDown();
    }
    // Runs `body` once in the caller and once through the service.
    template <class Body>
    void eachTransport(Body body) {
        for (const std::string& t : {std::string("inprocess"), m_socket}) {
            SCOPED_TRACE(t);
            setenv("TASKDB_TASKMGR", t.c_str(), 1);
            finishJobs();
            body();
        }
    }
    // The jobs of an earlier run have ended: a subclient runs one job at a time.
    void finishJobs() { exec("DELETE FROM SRV_RunningJob"); }
    void waitForService() {
        for (int i = 0; i < 200 && access(m_socket.substr(5).c_str(), F_OK) != 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    int create(std::string xml, std::list<long long>& jobs) {
        int status = 0;
        return ti->CreateTask(xml, jobs, status, 5, err, 0, 41, false, false);
    }
    void seedTask() {
        exec("INSERT INTO TM_Task (taskId, taskName) VALUES (7, 'Nightly')");
        exec(
            "INSERT INTO TM_SubTask (subTaskId, subTaskName, taskId, subTaskType, operationType) VALUES "
            "(11, 'Full', 7, 2, 4003)");
        exec(
            "INSERT INTO TM_SubTask (subTaskId, subTaskName, taskId, subTaskType, operationType) VALUES "
            "(12, 'Incr', 7, 2, 4003)");
        exec("INSERT INTO TM_AssocEntity (assocType, taskId, clientId, subclientId) VALUES (7, 7, 12, 301)");
        exec("INSERT INTO TM_AssocEntity (assocType, taskId, clientId, subclientId) VALUES (7, 7, 12, 302)");
    }
    std::string err;
    std::string m_socket;
    std::thread m_service;
};

TEST_P(TaskManagerTest, CreateTaskWritesTheWholeTaskAndRunsItAtOnce) {
    eachTransport([&] {
        std::list<long long> jobs;
        ASSERT_EQ(create(kCreate, jobs), 0) << err;
        long long task = scalar("SELECT MAX(taskId) FROM TM_Task");
        EXPECT_EQ(text("SELECT taskName FROM TM_Task WHERE taskId = " + std::to_string(task)),
                  "Nightly & weekly");
        EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_SubTask WHERE taskId = " + std::to_string(task)), 2);
        EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_AssocEntity WHERE subclientId = 301 AND taskId = " +
                         std::to_string(task)),
                  1);
        long long full =
            scalar("SELECT MIN(subTaskId) FROM TM_SubTask WHERE taskId = " + std::to_string(task));
        EXPECT_EQ(text("SELECT p.name FROM TM_Pattern p JOIN TM_PatternAssoc a ON a.patternId = p.patternId "
                       "WHERE a.subTaskId = " +
                       std::to_string(full)),
                  "Sunday");
        EXPECT_EQ(text("SELECT value FROM TM_SubTaskOptions WHERE optionId = 1003 AND subTaskId = " +
                       std::to_string(full)),
                  "8");
        EXPECT_EQ(text("SELECT xmlValue FROM TM_SubTaskXMLOptions WHERE subTaskId = " + std::to_string(full)),
                  "<jobOption level=\"full\"/>");
        // One job per subtask for the task's one entity, each with its own request.
        ASSERT_EQ(jobs.size(), 2u);
        for (long long job : jobs)
            EXPECT_EQ(scalar("SELECT r.taskId FROM TM_Jobs j JOIN TM_JobRequest r ON r.jobRequestId = "
                             "j.jobRequestId WHERE j.jobId = " +
                             std::to_string(job)),
                      task);
    });
}

TEST_P(TaskManagerTest, RunTasksStartsAJobPerSubtaskAndEntityAndCopiesRunOptions) {
    seedTask();
    eachTransport([&] {
        long long before = scalar("SELECT COUNT(*) FROM TM_Jobs");
        std::vector<Sched_SubTask> subTasks(2);
        subTasks[0].taskId = subTasks[1].taskId = 7;
        subTasks[0].subTaskId = 12;
        subTasks[1].subTaskId = 11;
        std::list<long long> jobs;
        ASSERT_EQ(ti->runTasks(subTasks, jobs, err, 5, 0, 0, false, nullptr), 0) << err;
        ASSERT_EQ(jobs.size(), 4u);
        EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_Jobs"), before + 4);
        // In request order: subtask 12's two entities first.
        EXPECT_EQ(scalar("SELECT r.subTaskId FROM TM_Jobs j JOIN TM_JobRequest r ON r.jobRequestId = "
                         "j.jobRequestId WHERE j.jobId = " +
                         std::to_string(jobs.front())),
                  12);
        EXPECT_EQ(scalar("SELECT r.userId FROM TM_Jobs j JOIN TM_JobRequest r ON r.jobRequestId = "
                         "j.jobRequestId WHERE j.jobId = " +
                         std::to_string(jobs.back())),
                  5);
    });
    // Run-time options of a request reach the job's options; named entities replace the task's.
    std::string xml =
        "<TMMsg_TaskOperationReq taskOperation=\"5\" initiatedFrom=\"1\"><operationEntity>"
        "<subTask subtaskId=\"11\" taskId=\"7\"/><entity clientId=\"12\" "
        "subclientId=\"302\"/></operationEntity>"
        "<options><option optionId=\"160003\" value=\"1\"/></options></TMMsg_TaskOperationReq>";
    std::list<long long> jobs;
    int status = 0;
    finishJobs();
    ASSERT_EQ(
        ti->TaskRequest(xml, jobs, status, 5, err, EvTaskMgr::kTaskOperationMessage, 0, 0, false, false), 0);
    ASSERT_EQ(jobs.size(), 1u);
    EXPECT_EQ(text("SELECT value FROM TM_JobOptions WHERE optionId = 160003 AND jobId = " +
                   std::to_string(jobs.front())),
              "1");
    EXPECT_EQ(scalar("SELECT subclientId FROM SRV_RunningJob WHERE jobId = " + std::to_string(jobs.front())),
              302);
}

TEST_P(TaskManagerTest, RefusedRequestsWriteNothingAndSayWhy) {
    seedTask();
    eachTransport([&] {
        std::list<long long> jobs;
        // The second subtask's option is malformed: the first subtask must not stay behind.
        std::string bad = kCreate;
        bad.replace(bad.find("operationType=\"4003\"/>"), std::string::npos,
                    "operationType=\"4003\"><option value=\"1\"/></subTask></TMMsg_CreateTaskReq>");
        EXPECT_EQ(create(bad, jobs), KO_TASKMGR_BAD_REQUEST);
        EXPECT_NE(err.find("has no optionId"), std::string::npos) << err;
        EXPECT_EQ(create("<notXml", jobs), KO_TASKMGR_BAD_REQUEST);
        EXPECT_NE(err.find("cannot be read"), std::string::npos) << err;
        EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_Task"), 1);
        EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_SubTask"), 2);

        std::vector<Sched_SubTask> subTasks(2);
        subTasks[0].taskId = subTasks[1].taskId = 7;
        subTasks[0].subTaskId = 11;
        subTasks[1].subTaskId = 404;
        EXPECT_EQ(ti->runTasks(subTasks, jobs, err, 5, 0, 0, false, nullptr), KO_TASKMGR_NOT_FOUND);
        EXPECT_EQ(err, "subtask 404 of task 7 does not exist");
        std::string unknownClient =
            "<TMMsg_TaskOperationReq taskOperation=\"5\"><operationEntity><subTask subtaskId=\"11\"/>"
            "<entity clientId=\"99\"/></operationEntity></TMMsg_TaskOperationReq>";
        int status = 0;
        EXPECT_EQ(ti->TaskRequest(unknownClient, jobs, status, 5, err, EvTaskMgr::kTaskOperationMessage, 0, 0,
                                  false, false),
                  KO_TASKMGR_NOT_FOUND);
        EXPECT_EQ(err, "client 99 does not exist");
        EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_JobRequest"), 0);
        EXPECT_EQ(scalar("SELECT COUNT(*) FROM SRV_RunningJob"), 0);

        // Another message type: the status comes back, but never job ids.
        std::string xml = "<x/>";
        EXPECT_EQ(ti->TaskRequest(xml, jobs, status, 5, err, 1234, 0, 0, false, false),
                  KO_TASKMGR_UNKNOWN_MESSAGE);
        EXPECT_TRUE(jobs.empty());
    });
}

TEST_P(TaskManagerTest, JobIdsBeyond32BitsAreKeptInTheStoreAndTruncatedByTheLibrary) {
    seedTask();
    exec("INSERT INTO TM_JobRequest (jobRequestId, taskId, subTaskId) VALUES (1, 7, 11)");
    exec("INSERT INTO TM_Jobs (jobId, jobRequestId) VALUES (5000000000, 1)");
    std::vector<Sched_SubTask> subTasks(1);
    subTasks[0].taskId = 7;
    subTasks[0].subTaskId = 11;
    std::list<long long> jobs;
    ASSERT_EQ(ti->runTasks(subTasks, jobs, err, 5, 0, 0, false, nullptr), 0) << err;
    EXPECT_EQ(scalar("SELECT MAX(jobId) FROM TM_Jobs"), 5000000002LL);
    EXPECT_EQ(jobs, (std::list<long long>{5000000001LL - 4294967296LL, 5000000002LL - 4294967296LL}));
}

TEST_P(TaskManagerTest, NamesBecomeIdsAndAFailedConversionStillSends) {
    seedTask();
    evtrace::Capture cap;
    // Subclient "logs" of client "fin01" is 302, not web01's 401.
    std::string xml =
        "<TMMsg_TaskOperationReq taskOperation=\"5\"><operationEntity><subTask subtaskId=\"11\" "
        "taskName=\"Nightly\"/><entity clientName=\"fin01\" subclientName=\"logs\"/>"
        "</operationEntity></TMMsg_TaskOperationReq>";
    std::string wrongTask =
        "<TMMsg_TaskOperationReq taskOperation=\"5\"><subTask subtaskId=\"11\" taskId=\"8\" "
        "taskName=\"Nightly\"/></TMMsg_TaskOperationReq>";
    std::list<long long> jobs;
    int status = 0;
    // The name gives task 7; an id already there is not replaced (and task 8 has no subtask 11).
    EXPECT_EQ(
        ti->TaskRequest(xml, jobs, status, 5, err, EvTaskMgr::kTaskOperationMessage, 0, 0, false, false), 0);
    ASSERT_EQ(jobs.size(), 1u);
    EXPECT_EQ(scalar("SELECT subclientId FROM SRV_RunningJob WHERE clientId = 12 AND jobId = " +
                     std::to_string(jobs.front())),
              302);
    EXPECT_EQ(ti->TaskRequest(wrongTask, jobs, status, 5, err, EvTaskMgr::kTaskOperationMessage, 0, 0, false,
                              false),
              KO_TASKMGR_NOT_FOUND);

    xml = kCreate;
    err = "caller's";
    dbfault::Scope fault(dbfault::Step::Open, 1, 1555, "converter down");
    EXPECT_EQ(create(xml, jobs), 0);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_Task"), 2);
    EXPECT_EQ(
        cap.find("Unable to convert name to id. [converter down]", "TaskInterfaceDB::TaskRequest").size(),
        1u);
    EXPECT_EQ(cap.find("Unable to commit transaction. [caller's]", "TaskInterfaceDB::TaskRequest").size(),
              1u);
    EXPECT_EQ(cap.find("TaskRequest jobId[", "TaskInterfaceDB::TaskRequest").size(), 1u + 2u);
}

TEST_P(TaskManagerTest, AStoppedOrDyingServiceIsAnErrorAndLeavesNothing) {
    std::list<long long> jobs;
    setenv("TASKDB_TASKMGR", ("unix:" + tempStorePath("none") + ".sock").c_str(), 1);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(create(kCreate, jobs), KO_TASKMGR_ERR_UNREACHABLE);
    EXPECT_NE(EvTaskMgr::getErrorString().find("no task manager answers"), std::string::npos);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    setenv("TASKDB_TASKMGR", "tcp:10.0.0.1:80", 1);
    EXPECT_EQ(create(kCreate, jobs), KO_TASKMGR_ERR_ENDPOINT);

    // A service that dies after writing everything but before its commit.
    std::string socket = "unix:" + tempStorePath("dying") + ".sock";
    pid_t child = fork();
    if (child == 0) {
        taskmgr::g_beforeCommit = [] { raise(SIGKILL); };
        EvTaskMgr::serve(socket, nullptr);
        _exit(0);
    }
    for (int i = 0; i < 300 && access(socket.substr(5).c_str(), F_OK) != 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    setenv("TASKDB_TASKMGR", socket.c_str(), 1);
    EXPECT_EQ(create(kCreate, jobs), KO_TASKMGR_ERR_PROTOCOL);
    int wstatus = 0;
    waitpid(child, &wstatus, 0);
    EXPECT_TRUE(WIFSIGNALED(wstatus));
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_Task"), 0);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_SubTask"), 0);
    EXPECT_TRUE(jobs.empty());
}

TEST_P(TaskManagerTest, UpdateFlagsFollowTheBaselineAndOnlyTheLastFetchCounts) {
    exec("INSERT INTO SRV_ClientProp (clientId, baselineStatus) VALUES (12, 2)");
    exec("INSERT INTO SRV_ClientProp (clientId, baselineStatus) VALUES (13, 1)");
    _UpdateInformation info;
    info.clients = {{14, 7}, {12, 0}, {13, 1}};
    EXPECT_EQ(ti->GetUpdateInfo(info, err, 0, 0, 0), 0);
    std::vector<unsigned int> flags;
    for (const auto& c : info.clients) flags.push_back(c.updateFlag);
    EXPECT_EQ(flags, (std::vector<unsigned int>{7, 1, 0}));
    info.clients = {{12, 0}, {14, 7}};
    EXPECT_EQ(ti->GetUpdateInfo(info, err, 0, 0, 0), 100);
    EXPECT_EQ(info.clients.front().updateFlag, 1u);
}

TEST_P(TaskManagerTest, AutomaticSchedulePatternIsCutOutOfTheJobOption) {
    exec(
        "INSERT INTO TM_SubTaskXMLOptions (subTaskId, xmlValue) VALUES (11, '<TMMsg_JobOption><scheduling>"
        "<automaticSchedulePattern maxBackupInterval=\"24\"/></scheduling></TMMsg_JobOption>')");
    exec("INSERT INTO TM_SubTaskXMLOptions (subTaskId, xmlValue) VALUES (12, '<TMMsg_JobOption>')");
    _TaskInfo info;
    info.type = 1;
    info.jobId = 11;
    ASSERT_EQ(ti->getAutomaticSchedulePattern(info, err, nullptr), 0) << err;
    EXPECT_EQ(info.xmlOptions, "<TMMsg_AutomaticSchedulePattern maxBackupInterval=\"24\"/>");
    info.jobId = 12;
    info.xmlOptions.clear();
    EXPECT_EQ(ti->getAutomaticSchedulePattern(info, err, nullptr), 0xB0002);
    EXPECT_EQ(err, "XML Message unserilization failed");
}

// The tool's output and exit code, on this test's store (given through the environment).
std::pair<int, std::string> tool(const std::string& url, const std::string& args) {
    setenv("TASKDB_URL", url.c_str(), 1);
    FILE* p = popen((std::string(TASKDB_TOOL_PATH) + " " + args + " 2>&1").c_str(), "r");
    std::string out;
    char buffer[512];
    while (p && fgets(buffer, sizeof buffer, p)) out += buffer;
    int status = p ? pclose(p) : -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

TEST_P(TaskManagerTest, ToolCreatesAndRunsTasksAndPrintsTheTaskManagersText) {
    std::string file = tempStorePath("request") + ".xml";
    FILE* f = fopen(file.c_str(), "w");
    ASSERT_TRUE(f);
    fputs(kCreate, f);
    fclose(f);
    auto [rc, out] = tool(url, "--json task create " + file);
    std::remove(file.c_str());
    ASSERT_EQ(rc, 0) << out;
    EXPECT_NE(out.find("\"taskId\": 1"), std::string::npos) << out;
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_Jobs"), 2);
    std::tie(rc, out) = tool(url, "task run 1");
    EXPECT_EQ(rc, 1) << "the jobs of the first run are still running";
    EXPECT_NE(out.find("is already running for subclient [301]"), std::string::npos) << out;
    exec("DELETE FROM SRV_RunningJob");
    std::tie(rc, out) = tool(url, "task run 1");
    EXPECT_EQ(rc, 0) << out;
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_Jobs"), 4);
    std::tie(rc, out) = tool(url, "task run 1 404");
    EXPECT_EQ(rc, 1);
    EXPECT_NE(out.find("subtask 404 of task 1 does not exist"), std::string::npos) << out;
}

TASKDB_STORE_SUITE(TaskManagerTest);

}  // namespace
