// Several processes on one store at once, on every backend: four processes of two threads each run
// 250 rounds of setOptions, removeOptions and lookup on jobs of their own while reading the other
// processes' jobs and the shared defaults, and all write the same options of one shared job. Every
// round's result is checked as it happens, and the store must end with exactly the rows the rounds
// leave: nothing lost, nothing doubled. A writer queued behind a transaction that never ends gives up
// within a bounded time.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/db/DBconfig.h"
#include "platform/db/DBtran.h"
#include "support/TestStore.h"

extern char** environ;

namespace {

constexpr int kProcesses = 4;
constexpr int kThreads = 2;
constexpr int kRounds = 250;
constexpr int kJobsPerProcess = 5;
constexpr int kOptions = 7;
// Every writer sets these options of one job, so that writers meet on the same rows.
constexpr long long kSharedJob = 1;
constexpr int kSharedOptions = 3;

// A writer is one thread of one process.
long long jobOf(int writer, int round) {
    return 100000LL * (writer + 1) + round % kJobsPerProcess;
}

unsigned long long sharedOptionOf(int round) {
    return 100ULL + round % kSharedOptions;
}

std::string sharedValueOf(int writer, int round) {
    return "w" + std::to_string(writer) + "-r" + std::to_string(round);
}

std::string defaultOf(int option) {
    return "d" + std::to_string(option);
}

// What the rounds of one writer do, so that the worker and the final check agree. Per round: set
// one option (some values carry a quote), remove another (0: none) every third round.
struct Round {
    long long job;
    unsigned long long setId;
    std::string value;
    unsigned long long removeId;
};

Round roundOf(int writer, int round) {
    return {jobOf(writer, round), 1ULL + round % kOptions,
            "p" + std::to_string(writer) + "-r" + std::to_string(round) + (round % 4 == 0 ? "'q" : ""),
            round % 3 == 2 ? 1ULL + (round * 5) % kOptions : 0};
}

using Model = std::map<long long, std::map<unsigned long long, std::string>>;  // job -> option -> value

void applyRound(Model& model, const Round& r) {
    model[r.job][r.setId] = r.value;
    if (r.removeId) model[r.job].erase(r.removeId);
}

// One writer's rounds; any failed check fails the run.
void runRounds(TaskInterface* ti, int writer) {
    const int writers = kProcesses * kThreads;
    Model model;
    for (int round = 0; round < kRounds; ++round) {
        const Round r = roundOf(writer, round);
        applyRound(model, r);
        std::string err;
        _TaskInfo info;
        info.jobId = r.job;
        const TaskOption option(r.setId, r.value, 1);
        ASSERT_EQ(ti->setOptions(info, {&option}, err, nullptr), 0) << "round " << round << ": " << err;
        if (r.removeId) {
            ASSERT_EQ(ti->removeOptions(info, std::vector<unsigned long long>{r.removeId}, err, nullptr), 0)
                << "round " << round << ": " << err;
        }
        // lookup answers with the job's first option (lowest id), or the default when it has none.
        _TaskInfo own;
        own.jobId = r.job;
        own.optionId = r.setId;
        ASSERT_EQ(ti->lookup(own, err, nullptr), 0) << "round " << round << ": " << err;
        const auto& options = model[r.job];
        ASSERT_EQ(own.value, options.empty() ? defaultOf(static_cast<int>(r.setId)) : options.begin()->second)
            << "round " << round;

        _TaskInfo shared;
        shared.jobId = kSharedJob;
        const TaskOption same(sharedOptionOf(round), sharedValueOf(writer, round), 1);
        ASSERT_EQ(ti->setOptions(shared, {&same}, err, nullptr), 0) << "round " << round << ": " << err;

        _TaskInfo other;
        other.jobId = jobOf((writer + 1 + round) % writers, round);
        other.optionId = 1;
        ASSERT_EQ(ti->lookup(other, err, nullptr), 0) << "round " << round << ": " << err;
        std::string value;
        ASSERT_EQ(ti->getDefaultOption(r.setId, value, err, nullptr), 0) << "round " << round << ": " << err;
        ASSERT_EQ(value, defaultOf(static_cast<int>(r.setId)));
    }
}

// A writer queued behind another's write transaction: refused within a bounded time, having waited.
void writeBehindAStuckTransaction() {
    std::unique_ptr<TaskInterface> ti(getTaskInterface(1));
    _TaskInfo info;
    info.jobId = 6;
    const TaskOption option(1, "queued", 1);
    std::string err;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_NE(ti->setOptions(info, {&option}, err, nullptr), 0);
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_FALSE(err.empty());
    EXPECT_GE(waited, std::chrono::seconds(5));
    EXPECT_LT(waited, std::chrono::seconds(30));
}

pid_t spawnWorker(const std::string& url, int process, const std::string& mode = "rounds") {
    std::vector<std::string> env;
    for (char** e = environ; *e; ++e) env.emplace_back(*e);
    env.push_back("TASKDB_MP_URL=" + url);
    env.push_back("TASKDB_MP_PROCESS=" + std::to_string(process));
    env.push_back("TASKDB_MP_MODE=" + mode);
    std::vector<char*> envp;
    for (auto& e : env) envp.push_back(&e[0]);
    envp.push_back(nullptr);
    std::string exe = "/proc/self/exe", filter = "--gtest_filter=MultiProcessWorker.DISABLED_Rounds",
                disabled = "--gtest_also_run_disabled_tests", brief = "--gtest_brief=1";
    char* argv[] = {&exe[0], &filter[0], &disabled[0], &brief[0], nullptr};
    pid_t pid = -1;
    if (posix_spawn(&pid, "/proc/self/exe", nullptr, nullptr, argv, envp.data()) != 0) return -1;
    return pid;
}

}  // namespace

// Run only as a worker of the test below (it starts this program again with this test selected).
TEST(MultiProcessWorker, DISABLED_Rounds) {
    const char* url = std::getenv("TASKDB_MP_URL");
    const char* process = std::getenv("TASKDB_MP_PROCESS");
    if (!url || !process) GTEST_SKIP() << "started only by MultiProcessTest";
    dbconfig::setUrl(url);
    if (std::string(std::getenv("TASKDB_MP_MODE")) == "blocked") return writeBehindAStuckTransaction();
    std::unique_ptr<TaskInterface> ti(getTaskInterface(1));
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back(runRounds, ti.get(), std::atoi(process) * kThreads + t);
    for (auto& t : threads) t.join();
}

class MultiProcessTest : public StoreTest {};

TEST_P(MultiProcessTest, FourProcessesOfTwoThreadsLeaveExactlyTheirRows) {
    for (int option = 1; option <= kOptions; ++option)
        exec(
            "INSERT INTO TM_StaticTaskOption (optionId, xpath, defVal, bitVal, flagType, type, isList) "
            "VALUES (" +
            std::to_string(option) + ", N'', N'" + defaultOf(option) + "', 0, 0, 2, 0)");

    std::vector<pid_t> workers;
    for (int p = 0; p < kProcesses; ++p) {
        pid_t pid = spawnWorker(url, p);
        ASSERT_GT(pid, 0) << "starting worker " << p;
        workers.push_back(pid);
    }
    for (size_t p = 0; p < workers.size(); ++p) {
        int status = 0;
        ASSERT_EQ(waitpid(workers[p], &status, 0), workers[p]);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "worker " << p << " status " << status;
    }

    Model model;
    for (int w = 0; w < kProcesses * kThreads; ++w)
        for (int round = 0; round < kRounds; ++round) applyRound(model, roundOf(w, round));
    long long expectedRows = 0;
    for (const auto& job : model) {
        expectedRows += static_cast<long long>(job.second.size());
        for (const auto& option : job.second) {
            const std::string where = " FROM TM_JobOptions WHERE jobId = " + std::to_string(job.first) +
                                      " AND optionId = " + std::to_string(option.first);
            EXPECT_EQ(scalar("SELECT COUNT(*)" + where), 1) << where;
            EXPECT_EQ(text("SELECT value" + where), option.second) << where;
        }
    }
    // Each shared option is one row, holding some writer's last value for it.
    for (int i = 0; i < kSharedOptions; ++i) {
        const unsigned long long id = sharedOptionOf(i);
        std::set<std::string> last;
        for (int w = 0; w < kProcesses * kThreads; ++w) {
            int round = kRounds - 1;
            while (sharedOptionOf(round) != id) --round;
            last.insert(sharedValueOf(w, round));
        }
        const std::string where = " FROM TM_JobOptions WHERE jobId = " + std::to_string(kSharedJob) +
                                  " AND optionId = " + std::to_string(id);
        EXPECT_EQ(scalar("SELECT COUNT(*)" + where), 1) << where;
        EXPECT_EQ(last.count(text("SELECT value" + where)), 1u) << where;
    }
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_JobOptions"), expectedRows + kSharedOptions);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_StaticTaskOption"), kOptions);
}

TEST_P(MultiProcessTest, AWriterBehindATransactionThatNeverEndsGivesUpInBoundedTime) {
    DBtran held;
    std::string err;
    ASSERT_EQ(held.begin(&err), 0) << err;
    _TaskInfo info;
    info.jobId = 5;
    const TaskOption option(1, "held", 1);
    ASSERT_EQ(ti->setOptions(info, {&option}, err, &held), 0) << err;

    pid_t pid = spawnWorker(url, 0, "blocked");
    ASSERT_GT(pid, 0);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
    ASSERT_EQ(held.commit(&err), 0) << err;
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_JobOptions WHERE jobId = 6"), 0);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_JobOptions WHERE jobId = 5"), 1);
}

TASKDB_STORE_SUITE(MultiProcessTest);
