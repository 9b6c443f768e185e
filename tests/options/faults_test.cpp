// Every database step of every operation made to fail once.
#include <functional>

#include "options/OptionKit.h"
#include "platform/db/DBfault.h"
#include "platform/trace/EvDebug.h"

namespace {
constexpr int kCode = 7777;
const char* const kText = "injected failure";
const dbfault::Step kSteps[] = {dbfault::Step::Begin,  dbfault::Step::Open,   dbfault::Step::Fetch,
                                dbfault::Step::Close,  dbfault::Step::Insert, dbfault::Step::Update,
                                dbfault::Step::Delete, dbfault::Step::Commit};

using Ids = std::vector<unsigned long long>;
using Names = std::vector<std::string>;
using Run = std::function<int(_TaskInfo&, std::string&)>;
struct Op {
    const char* name;
    bool writes;
    long long jobId;
    int type;
    unsigned long long optionId;
    Run run;
};
}  // namespace

class OptionFaults : public OptionStoreTest {
  protected:
    void reseed() {
        exec("DELETE FROM TM_JobOptions");
        jobOption(42, 1, 1, "old");
        jobOption(42, 2, 1, "two");
        jobOption(42, 20, 150002, "C:\\old");
        jobOption(0, 1, 1, "subtask", 11, 1000, 0);
        resetDefaultOptionCache();
    }
};

TEST_P(OptionFaults, EachFailingStepIsReportedAndCommitsNothingWhenTheCallFails) {
    jobWithRequest(42, 11, 1234);
    staticOption(7, "def7", 1, 2);
    staticOption(8, "def8", 1, 2);
    exec(
        "INSERT INTO TM_SubTaskOptions (subTaskId, optionId, type, value) VALUES (11, 1, 1, N'a'), (11, 2, "
        "1, N'b')");
    const TaskOption changed(1, "new", 1), added(3, "added", 1);
    const TaskFile single(20, "C:\\new", 150002), other(21, "/n", 150005);
    Recorder sink;
    // clang-format off
    const std::vector<Op> ops{
        {"lookup", false, 42, 0, 1, [&](auto& i, auto& e) { return ti->lookup(i, e, nullptr); }},
        {"lookup default", false, 99, 0, 7, [&](auto& i, auto& e) { return ti->lookup(i, e, nullptr); }},
        {"getOptions job", false, 42, 0, 0,
         [&](auto& i, auto& e) { return ti->getOptions(i, &sink, e, nullptr); }},
        {"getOptions subtask", false, 11, 1, 0,
         [&](auto& i, auto& e) { return ti->getOptions(i, &sink, e, nullptr); }},
        {"getDefaults", false, 0, 0, 0, [&](auto&, auto& e) { return ti->getDefaults(&sink, e, nullptr); }},
        {"getFiles", false, 42, 0, 0, [&](auto& i, auto& e) { return ti->getFiles(i, &sink, e, nullptr); }},
        {"setOptions", true, 42, 0, 0,
         [&](auto& i, auto& e) { return ti->setOptions(i, {&changed, &added}, e, nullptr); }},
        {"removeOptions", true, 42, 0, 0,
         [&](auto& i, auto& e) { return ti->removeOptions(i, Ids{1, 2}, e, nullptr); }},
        {"setFiles", true, 42, 0, 0,
         [&](auto& i, auto& e) { return ti->setFiles(i, {&single, &other}, e, nullptr); }},
        {"removeFiles", true, 42, 0, 20,
         [&](auto& i, auto& e) { return ti->removeFiles(i, Names{"a", "b"}, e, nullptr); }},
    };
    // clang-format on
    auto run = [&](const Op& op, std::string& err) {
        _TaskInfo info;
        info.jobId = op.jobId;
        info.type = op.type;
        info.optionId = op.optionId;
        return op.run(info, err);
    };
    for (const Op& op : ops) {
        reseed();
        dbfault::disarm();
        std::string err;
        ASSERT_EQ(run(op, err), 0) << op.name;
        int seen[8];
        for (dbfault::Step s : kSteps) seen[static_cast<int>(s)] = dbfault::calls(s);
        EXPECT_GT(seen[static_cast<int>(dbfault::Step::Begin)], 0) << op.name;
        for (dbfault::Step s : kSteps)
            for (int nth = 1; nth <= seen[static_cast<int>(s)]; ++nth) {
                SCOPED_TRACE(std::string(op.name) + " " + dbfault::stepName(s) + " #" + std::to_string(nth));
                reseed();
                const std::string before = snapshot();
                ASSERT_NE(before.find("42/1/1=old;"), std::string::npos) << before;  // the snapshot sees rows
                evtrace::Capture cap;
                err.clear();
                int rc;
                {
                    dbfault::Scope fault(s, nth, kCode, kText);
                    rc = run(op, err);
                }
                EXPECT_TRUE(rc == 0 || rc == kCode) << rc;
                if (rc == kCode) {
                    EXPECT_NE(err.find(kText), std::string::npos) << err;
                    if (op.writes) {
                        EXPECT_EQ(snapshot(), before);
                    }
                } else {
                    // A later step may overwrite err (a no-data text); the trace keeps the failure.
                    EXPECT_FALSE(cap.find(kText).empty());
                }
                // The operation's own transaction failing to start: returned at once, no trace.
                if (s == dbfault::Step::Begin && nth == 1) {
                    EXPECT_EQ(rc, kCode);
                    EXPECT_TRUE(cap.find("DB_Error").empty());
                }
            }
    }
}

TEST_P(OptionFaults, AFetchFailurePartWayKeepsWhatWasReadAndReturnsTheClose) {
    reseed();
    Recorder rec;
    std::string err;
    evtrace::Capture cap;
    _TaskInfo info;
    info.jobId = 42;
    {
        dbfault::Scope fault(dbfault::Step::Fetch, 2, kCode, kText);
        EXPECT_EQ(ti->getOptions(info, &rec, err, nullptr), 0);
    }
    EXPECT_EQ(rec.got.size(), 1u);
    EXPECT_EQ(err, kText);
    EXPECT_EQ(cap.find("DB_Error: [injected failure]", "TaskInterfaceDB::getOptions").size(), 1u);

    // getDefaults keeps a partial copy after a fetch failure; after an open failure it stays unloaded.
    staticOption(7, "def7", 1, 2);
    staticOption(8, "def8", 1, 2);
    Recorder partial, again;
    {
        dbfault::Scope fault(dbfault::Step::Fetch, 2, kCode, kText);
        EXPECT_EQ(ti->getDefaults(&partial, err, nullptr), 0);
    }
    EXPECT_EQ(partial.got.size(), 1u);
    EXPECT_EQ(ti->getDefaults(&again, err, nullptr), 0);
    EXPECT_EQ(again.got, partial.got);
    resetDefaultOptionCache();
    Recorder none, full;
    {
        dbfault::Scope fault(dbfault::Step::Open, 1, kCode, kText);
        EXPECT_EQ(ti->getDefaults(&none, err, nullptr), kCode);
    }
    EXPECT_TRUE(none.got.empty());
    EXPECT_EQ(ti->getDefaults(&full, err, nullptr), 0);
    EXPECT_EQ(full.got.size(), 2u);
}

TASKDB_STORE_SUITE(OptionFaults);
