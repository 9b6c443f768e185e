// Eight processes start jobs for one subclient as fast as they can: at no moment may two jobs run for
// it, and every start that loses is refused as "a job is running".
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include "TaskInterfaceDB/Admission.h"
#include "support/TestStore.h"

extern char** environ;

namespace {

constexpr int kProcesses = 8;
constexpr auto kRunFor = std::chrono::seconds(3);

std::vector<_AutomaticTaskInfo> oneRun() {
    _AutomaticTaskInfo info;
    _SubTaskInfo pair;
    pair.subTask.subTaskId = 801;
    pair.subTask.taskId = 8;
    info.subTasks.push_back(pair);
    Sched_AssocEntity e;
    e.taskId = 8;
    e.clientId = 1;
    e.apptypeId = 33;
    e.subclientId = 10;
    info.entities.push_back(e);
    return {info};
}

pid_t spawnWorker(const std::string& url) {
    std::vector<std::string> env;
    for (char** e = environ; *e; ++e) env.emplace_back(*e);
    env.push_back("TASKDB_RACE_URL=" + url);
    std::vector<char*> envp;
    for (auto& e : env) envp.push_back(&e[0]);
    envp.push_back(nullptr);
    std::string exe = "/proc/self/exe", filter = "--gtest_filter=RaceWorker.DISABLED_StartAndFinish",
                disabled = "--gtest_also_run_disabled_tests", brief = "--gtest_brief=1";
    char* argv[] = {&exe[0], &filter[0], &disabled[0], &brief[0], nullptr};
    pid_t pid = -1;
    if (posix_spawn(&pid, "/proc/self/exe", nullptr, nullptr, argv, envp.data()) != 0) return -1;
    return pid;
}

}  // namespace

// Run only as a worker of the test below: starts a job whenever it can, sees that it is the only one,
// and finishes it.
TEST(RaceWorker, DISABLED_StartAndFinish) {
    const char* url = std::getenv("TASKDB_RACE_URL");
    if (!url) GTEST_SKIP() << "started only by AdmissionRaceTest";
    std::unique_ptr<TaskInterface> ti = openTaskInterface(url);
    StoreSql sql;
    const auto end = std::chrono::steady_clock::now() + kRunFor;
    while (std::chrono::steady_clock::now() < end) {
        std::vector<_AutomaticTaskInfo> tasks = oneRun();
        std::list<long long> jobIds;
        std::string err;
        int rc = ti->performOperation(tasks, jobIds, err, 5, 1, 1, 0, 0, false, nullptr);
        if (rc != 0) {
            ASSERT_EQ(rc, static_cast<int>(KO_ADMIT_JOB_RUNNING)) << err;
            continue;
        }
        ASSERT_EQ(jobIds.size(), 1u);
        ASSERT_EQ(sql.scalar("SELECT COUNT(*) FROM SRV_RunningJob WHERE subclientId = 10"), 1);
        sql.exec("DELETE FROM SRV_RunningJob WHERE jobId = " + std::to_string(jobIds.front()));
    }
}

class AdmissionRaceTest : public StoreTest {};

TEST_P(AdmissionRaceTest, EightProcessesNeverRunTwoJobsForOneSubclient) {
    exec("INSERT INTO APP_Client (id, name, displayName, deleted) VALUES (1, 'alpha', 'Alpha', 0)");
    exec(
        "INSERT INTO APP_Application (id, clientId, appTypeId, instance, backupSet, subclientName) VALUES "
        "(10, 1, 33, 1, 1000, 'plain')");
    exec("INSERT INTO TM_Task (taskId, taskName) VALUES (8, 'Auto')");
    exec(
        "INSERT INTO TM_SubTask (subTaskId, subTaskName, taskId, subTaskType, operationType) VALUES "
        "(801, 'backup', 8, 2, 2)");
    std::vector<pid_t> workers;
    for (int p = 0; p < kProcesses; ++p) {
        pid_t pid = spawnWorker(url);
        ASSERT_GT(pid, 0) << "starting worker " << p;
        workers.push_back(pid);
    }
    for (size_t p = 0; p < workers.size(); ++p) {
        int status = 0;
        ASSERT_EQ(waitpid(workers[p], &status, 0), workers[p]);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "worker " << p << " status " << status;
    }
    EXPECT_GT(scalar("SELECT COUNT(*) FROM TM_Jobs"), 1) << "jobs were started and finished in turn";
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM SRV_RunningJob"), 0);
}

TASKDB_STORE_SUITE(AdmissionRaceTest);
