// setOptions and removeOptions: rows written, the request stamp, transactions, hostile values.
#include "options/OptionKit.h"
#include "platform/db/DBtran.h"

class OptionWrites : public OptionStoreTest {};

TEST_P(OptionWrites, SetOptionsUpdatesAddsAndSkipsUnchanged) {
    jobWithRequest(42, 11, 1234);
    jobOption(42, 1, 1, "old");
    jobOption(42, 2, 1, "same");
    jobOption(43, 1, 1, "other job");
    const TaskOption changed(1, "new", 1), same(2, "same", 1), added(3, "added", 5), added2(4, "more", 6);
    _TaskInfo info;
    info.jobId = 42;
    info.taskId = 10;
    info.subTaskId = 11;
    evtrace::Capture cap;
    std::string err;
    ASSERT_EQ(ti->setOptions(info, {&changed, &same, &added, &added2}, err, nullptr), 0);
    EXPECT_EQ(valueOf(42, 1), "new");
    EXPECT_EQ(valueOf(43, 1), "other job");
    EXPECT_EQ(rows("jobId = 42 AND optionId = 1"), 1);
    EXPECT_EQ(rows("jobId = 42 AND optionId = 3 AND type = 5 AND value = N'added' AND taskId = 10 AND "
                   "subTaskId = 11 AND created = 1234 AND modified = 0"),
              1);
    EXPECT_EQ(rows("jobId = 42 AND optionId = 4 AND type = 6 AND created = 1234"), 1);
    // The request row is read on the first add only.
    EXPECT_EQ(cap.find("TABLE -> TM_JobRequest", "TaskInterfaceDB::setOptions").size(), 1u);
    EXPECT_EQ(levelOf(cap, "Modify optionId[1], new value is [new]", "TaskInterfaceDB::setOptions"), 3);
    EXPECT_TRUE(cap.find("Modify optionId[2]").empty());

    // The second flag adds a row beside an existing option; a job without a request stamps 0.
    info.addDuplicate = true;
    const TaskOption dup(1, "dup", 1);
    ASSERT_EQ(ti->setOptions(info, {&dup}, err, nullptr), 0);
    EXPECT_EQ(rows("jobId = 42 AND optionId = 1"), 2);
    EXPECT_EQ(rows("jobId = 42 AND optionId = 1 AND value = N'dup'"), 1);
    _TaskInfo orphan;
    orphan.jobId = 50;
    ASSERT_EQ(ti->setOptions(orphan, {&added}, err, nullptr), 0);
    EXPECT_EQ(rows("jobId = 50 AND optionId = 3 AND created = 0"), 1);
}

TEST_P(OptionWrites, CallersTransactionDecidesTheCommit) {
    jobOption(42, 1, 1, "old");
    const TaskOption changed(1, "new", 1), added(3, "added", 1);
    _TaskInfo info;
    info.jobId = 42;
    std::string err;
    for (bool commit : {false, true}) {
        DBtran tran;
        ASSERT_EQ(tran.begin(&err), 0) << err;
        ASSERT_EQ(ti->setOptions(info, {&changed, &added}, err, &tran), 0) << err;
        ASSERT_EQ(ti->removeOptions(info, std::vector<unsigned long long>{3}, err, &tran), 0) << err;
        // Reads in the same transaction see the writes.
        Recorder rec;
        ASSERT_EQ(ti->getOptions(info, &rec, err, &tran), 0);
        EXPECT_EQ(rec.got, (std::vector<Delivery>{{Delivery::Option, 1, "new", 1}}));
        ASSERT_EQ(commit ? tran.commit(&err) : tran.rollback(&err), 0) << err;
        EXPECT_EQ(valueOf(42, 1), commit ? "new" : "old");
        EXPECT_EQ(rows("jobId = 42"), 1);
    }
}

TEST_P(OptionWrites, HostileValuesComeBackByteForByte) {
    std::string bytes;  // binary text without NUL
    for (int b = 1; b < 256; ++b) bytes += static_cast<char>(b);
    // clang-format off
    const std::vector<std::string> values{"O'Brien", "x'); DELETE FROM TM_JobOptions; --",
        std::string(4000, 'q') + "'", std::string(3000, '\''), "\xE6\x97\xA5\xE6\x9C\xAC \xC3\xBC \xF0\x9F\x98\x80",
        "tab\t\n%s %d %%", "?1 ? N'x' /* c */ \\' [a] \"q\" -- x\n", "  lead and trail  ", bytes};
    // clang-format on
    std::string err;
    for (size_t i = 0; i < values.size(); ++i) {
        _TaskInfo info;
        info.jobId = 100 + static_cast<long long>(i);
        info.optionId = 5;
        const TaskOption first(5, values[i], 1);
        ASSERT_EQ(ti->setOptions(info, {&first}, err, nullptr), 0) << err;
        ASSERT_EQ(ti->lookup(info, err, nullptr), 0) << err;
        EXPECT_EQ(info.value, values[i]);
        // Unchanged on a second write (the stored text compares equal), changed on a third.
        ASSERT_EQ(ti->setOptions(info, {&first}, err, nullptr), 0);
        const TaskOption again(5, values[i] + values[i], 1);
        ASSERT_EQ(ti->setOptions(info, {&again}, err, nullptr), 0);
        EXPECT_EQ(rows("jobId = " + std::to_string(info.jobId)), 1);
        Recorder rec;
        ASSERT_EQ(ti->getOptions(info, &rec, err, nullptr), 0);
        ASSERT_EQ(rec.got.size(), 1u);
        EXPECT_EQ(rec.got[0].value, values[i] + values[i]);
    }
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_JobOptions"), static_cast<long long>(values.size()));
}

TEST_P(OptionWrites, RemoveOptionsTakesTheJobsRowsAndItsSubtasksEligibleRows) {
    jobWithRequest(42, 11, 1234);
    jobOption(42, 1, 1, "own");
    jobOption(42, 2, 1, "own2");
    jobOption(0, 1, 1, "subtask, older", 11, 1000, 0);               // removed with option 1
    jobOption(0, 1, 1, "subtask, newer", 11, 2000, 0);               // created after the request: kept
    jobOption(0, 2, 1, "subtask, modified later", 11, 1000, 1500);   // removed with option 2
    jobOption(0, 2, 1, "subtask, modified before", 11, 1000, 1200);  // kept
    jobOption(0, 1, 1, "other subtask", 12, 1000, 0);                // kept
    jobOption(43, 1, 1, "other job");                                // kept
    _TaskInfo info;
    info.jobId = 42;
    evtrace::Capture cap;
    std::string err;
    EXPECT_EQ(ti->removeOptions(info, std::vector<unsigned long long>{}, err, nullptr), 0);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_JobOptions"), 8);
    const TaskOption one(1, "ignored", 0);
    EXPECT_EQ(ti->removeOptions(info, std::vector<const TaskOption*>{&one}, err, nullptr), 0);
    EXPECT_EQ(ti->removeOptions(info, std::vector<unsigned long long>{2, 3}, err, nullptr), 0);
    EXPECT_EQ(rows("jobId = 42"), 0);
    EXPECT_EQ(rows("jobId = 0 AND subTaskId = 11"), 2);
    EXPECT_EQ(
        rows("value IN (N'subtask, newer', N'subtask, modified before', N'other subtask', N'other job')"), 4);
    auto deletes = cap.find(" rowDelete : Table TM_JobOptions", "TaskInterfaceDB::removeOptions");
    ASSERT_EQ(deletes.size(), 3u);
    EXPECT_NE(deletes[0].text.find(")\t\t\tAND optionId = 1"), std::string::npos);
}

TASKDB_STORE_SUITE(OptionWrites);
