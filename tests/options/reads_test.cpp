// lookup, getDefaultOption and getOptions against a seeded store.
#include "TaskInterfaceDB/TaskInterfaceDB.h"
#include "options/OptionKit.h"

class OptionReads : public OptionStoreTest {};

TEST_P(OptionReads, LookupTakesFirstJobRowOrFallsBackToTheDefault) {
    jobOption(42, 9, 1, "nine");
    staticOption(7, "def7", 0, 2);
    evtrace::Capture cap;
    std::string err = "untouched";
    const std::string name = "TaskInterfaceDB::lookup";

    // The job's first row answers, whatever option was asked for.
    _TaskInfo info;
    info.jobId = 42;
    info.optionId = 7;
    EXPECT_EQ(ti->lookup(info, err, nullptr), 0);
    EXPECT_EQ(info.value, "nine");
    EXPECT_EQ(levelOf(cap, "Called with jobId[42], optionId[7]", name), 5);
    EXPECT_EQ(cap.find("Called with jobId[42], optionId[7]", name).at(0).jobId, 42);
    EXPECT_EQ(cap.find("For optionId[7] found value [nine]", name).size(), 1u);
    EXPECT_EQ(cap.find("Completed", name).size(), 1u);
    EXPECT_TRUE(cap.find("DB_NoData", name).empty());

    // No job rows: the static default, through getDefaultOption; neither: an empty value, still success.
    _TaskInfo none;
    none.jobId = 43;
    none.optionId = 7;
    EXPECT_EQ(ti->lookup(none, err, nullptr), 0);
    EXPECT_EQ(none.value, "def7");
    EXPECT_EQ(cap.find("DB_NoData: [", name).size(), 1u);
    EXPECT_EQ(levelOf(cap, "Called with optionId[7]", "TaskInterfaceDB::getDefaultOption"), 10);
    EXPECT_EQ(cap.find("For optionId[7] found value [def7]", "TaskInterfaceDB::getDefaultOption").size(), 1u);
    none.optionId = 8;
    none.value = "stale";
    EXPECT_EQ(ti->lookup(none, err, nullptr), 0);
    EXPECT_EQ(none.value, "");

    // The fallback goes through the object's own interface, so a derived object answers it.
    struct Spy : TaskInterfaceDB {
        int getDefaultOption(unsigned long long id, std::string& v, std::string&, void*) override {
            v = "spy" + std::to_string(id);
            return 0;
        }
    } spy;
    none.optionId = 5;
    EXPECT_EQ(spy.lookup(none, err, nullptr), 0);
    EXPECT_EQ(none.value, "spy5");
}

TEST_P(OptionReads, JobOptionsLeaveOutTheFileBandButKeep150002) {
    for (long long id : {3LL, 150000LL, 150001LL, 150002LL, 150003LL, 150014LL, 150015LL})
        jobOption(5, id, 4, "v");
    jobOption(6, 99, 4, "other job");
    evtrace::Capture cap;
    Recorder rec;
    std::string err;
    _TaskInfo info;
    info.jobId = 5;
    EXPECT_EQ(ti->getOptions(info, &rec, err, nullptr), 0);
    EXPECT_EQ(rec.ids(), (std::vector<unsigned long long>{3, 150000, 150002, 150015}));
    for (const auto& d : rec.got) EXPECT_EQ(d, (Delivery{Delivery::Option, d.id, "v", 4}));
    auto done = cap.find("Completed without errors", "TaskInterfaceDB::getOptions");
    ASSERT_EQ(done.size(), 1u);
    EXPECT_EQ(done[0].jobId, 5);
}

TEST_P(OptionReads, SubtaskAndTaskOptionsComeFromSubTaskOptions) {
    auto subTask = [&](int task) {
        exec(
            "INSERT INTO TM_SubTask (subTaskName, taskId, subTaskType, operationType, flags, subTaskOrder, "
            "deleted, uninstalled, defaultTask, subOperationType) VALUES (N's', " +
            std::to_string(task) + ", 1, 1, 0, 0, 0, 0, 0, N'')");
        return scalar("SELECT MAX(subTaskId) FROM TM_SubTask");
    };
    auto option = [&](long long st, int id, const std::string& v) {
        exec("INSERT INTO TM_SubTaskOptions (subTaskId, optionId, type, value) VALUES (" +
             std::to_string(st) + ", " + std::to_string(id) + ", 2, " + q(v) + ")");
    };
    long long a = subTask(30), b = subTask(30);
    option(a, 1, "a1");
    option(a, 150003, "a-file");  // no band filter on this path
    option(b, 2, "b2");
    evtrace::Capture cap;
    std::string err;
    Recorder one, task;
    _TaskInfo info;
    info.type = 1;
    info.jobId = a;
    info.taskId = 30;
    EXPECT_EQ(ti->getOptions(info, &one, err, nullptr), 0);
    EXPECT_EQ(one.ids(), (std::vector<unsigned long long>{1, 150003}));
    EXPECT_EQ(one.got[0].via, Delivery::Option);
    EXPECT_EQ(
        cap.find("Using task/subtask. Called with taskId[30], jobId[" + std::to_string(a) + "], type [1]",
                 "TaskInterfaceDB::getOptions")
            .size(),
        1u);

    // A task's options are those of one of its subtasks, never a mix.
    info.type = 2;
    info.jobId = 30;
    EXPECT_EQ(ti->getOptions(info, &task, err, nullptr), 0);
    EXPECT_TRUE(task.ids() == (std::vector<unsigned long long>{1, 150003}) ||
                task.ids() == (std::vector<unsigned long long>{2}));
    EXPECT_TRUE(cap.find("Completed without errors", "TaskInterfaceDB::getOptions").empty());
}

TASKDB_STORE_SUITE(OptionReads);
