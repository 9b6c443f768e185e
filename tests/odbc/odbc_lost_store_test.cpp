// The store's operations while the PostgreSQL server is away: each answers with a clear code and the
// driver's text, nothing crashes, and once the server is back the next call works.
#include <functional>

#include "TaskInterface.h"
#include "odbc/OdbcFixture.h"
#include "platform/db/DBconfig.h"
#include "platform/db/DBschema.h"
#include "support/TestStore.h"

namespace {

struct Collect : OptionCallBack, FileCallBack {
    void option(unsigned long long, std::string, int) override { ++count; }
    void defaultOption(unsigned long long, std::string, int) override { ++count; }
    void file(unsigned long long, std::string, int) override { ++count; }
    int count = 0;
};

class LostStoreTest : public OdbcTest {
  protected:
    bool exclusiveServer() const override { return true; }
    void SetUp() override {
        OdbcTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        std::string err;
        ASSERT_EQ(DBinitSchema(url, &err), 0) << err;
        dbconfig::setUrl(url);
        resetDefaultOptionCache();
        ti.reset(getTaskInterface(1));
    }
    void TearDown() override {
        ti.reset();
        if (m_stopped) pgtest::pgCtl("start");
        dbconfig::setUrl("");
        OdbcTest::TearDown();
    }
    bool stopServer() { return m_stopped = pgtest::pgCtl("stop -m fast"); }
    bool startServer() {
        bool ok = pgtest::pgCtl("start");
        if (ok) m_stopped = false;
        return ok;
    }

    std::unique_ptr<TaskInterface> ti;

  private:
    bool m_stopped = false;
};

}  // namespace

TEST_F(LostStoreTest, EveryOperationFailsClearlyWhileTheServerIsAwayAndTheNextCallAfterWorks) {
    if (pgtest::env("TASKDB_TEST_PG_CTL").empty()) GTEST_SKIP() << "TASKDB_TEST_PG_CTL is not set";
    _TaskInfo job;
    job.jobId = 42;
    job.taskId = 7;
    job.subTaskId = 70;
    job.type = 0;
    job.entities.emplace_back();  // getPatternInfo reads the first entity
    std::string err;
    const TaskOption first(1, "before", 1);
    ASSERT_EQ(ti->setOptions(job, {&first}, err, nullptr), 0) << err;  // a pooled connection exists now

    ASSERT_TRUE(stopServer());
    Collect sink;
    const TaskOption option(2, "during", 1);
    const TaskFile file(3, "/data/x", 150005);
    std::list<unsigned long long> jobs;
    long long requestId = 0;
    std::string value;
    const std::vector<std::pair<const char*, std::function<int(std::string&)>>> calls = {
        {"lookup", [&](std::string& e) { return ti->lookup(job, e, nullptr); }},
        {"setOptions", [&](std::string& e) { return ti->setOptions(job, {&option}, e, nullptr); }},
        {"removeOptions", [&](std::string& e) { return ti->removeOptions(job, {&option}, e, nullptr); }},
        {"removeOptions(ids)",
         [&](std::string& e) {
             return ti->removeOptions(job, std::vector<unsigned long long>{1}, e, nullptr);
         }},
        {"getOptions", [&](std::string& e) { return ti->getOptions(job, &sink, e, nullptr); }},
        {"getDefaults", [&](std::string& e) { return ti->getDefaults(&sink, e, nullptr); }},
        {"getDefaultOption", [&](std::string& e) { return ti->getDefaultOption(1, value, e, nullptr); }},
        {"getFiles", [&](std::string& e) { return ti->getFiles(job, &sink, e, nullptr); }},
        {"setFiles", [&](std::string& e) { return ti->setFiles(job, {&file}, e, nullptr); }},
        {"removeFiles", [&](std::string& e) { return ti->removeFiles(job, {&file}, e, nullptr); }},
        {"getJobInfo", [&](std::string& e) { return ti->getJobInfo(job, e, nullptr); }},
        {"getTaskInfo", [&](std::string& e) { return ti->getTaskInfo(job, e, nullptr); }},
        {"getSubTaskInfo", [&](std::string& e) { return ti->getSubTaskInfo(job, e, nullptr); }},
        {"getEntityInfo", [&](std::string& e) { return ti->getEntityInfo(job, e, nullptr); }},
        {"setTaskInfo", [&](std::string& e) { return ti->setTaskInfo(job, e, nullptr); }},
        {"getDefaultTaskId", [&](std::string& e) { return ti->getDefaultTaskId(job, e, nullptr); }},
        {"getPatternInfo", [&](std::string& e) { return ti->getPatternInfo(job, e, nullptr); }},
        {"getXMLOptions", [&](std::string& e) { return ti->getXMLOptions(job, e, nullptr); }},
        {"getBitOptions", [&](std::string& e) { return ti->getBitOptions(job, e, nullptr); }},
        {"getExtendedOptions", [&](std::string& e) { return ti->getExtendedOptions(job, e, nullptr); }},
        {"getJobListFromTaskId",
         [&](std::string& e) { return ti->getJobListFromTaskId(job, jobs, e, nullptr); }},
        {"getJobRequestIdFromJobId",
         [&](std::string& e) { return ti->getJobRequestIdFromJobId(requestId, 42, e, nullptr); }},
    };
    for (const auto& call : calls) {
        std::string e;
        int rc = call.second(e);
        EXPECT_NE(rc, 0) << call.first;
        EXPECT_NE(rc, 100) << call.first;
        // The driver's text for a lost or refused connection: "[57P01] ...", "[08S01] ...", "[08001] ...".
        EXPECT_TRUE(e.find("[08") != std::string::npos || e.find("[57P0") != std::string::npos)
            << call.first << ": " << e;
    }
    EXPECT_EQ(sink.count, 0);

    ASSERT_TRUE(startServer());
    ASSERT_EQ(ti->setOptions(job, {&option}, err, nullptr), 0) << err;
    _TaskInfo read;
    read.jobId = 42;
    ASSERT_EQ(ti->lookup(read, err, nullptr), 0) << err;
    EXPECT_EQ(read.value, "before") << "the first option of the job, written before the server went away";
    EXPECT_EQ(ti->getOptions(read, &sink, err, nullptr), 0) << err;
    EXPECT_EQ(sink.count, 2) << "the option written before and the one written after";
}

TEST_F(LostStoreTest, ARestartBetweenCallsGoesUnnoticed) {
    if (pgtest::env("TASKDB_TEST_PG_CTL").empty()) GTEST_SKIP() << "TASKDB_TEST_PG_CTL is not set";
    _TaskInfo job;
    job.jobId = 43;
    std::string err;
    const TaskOption first(1, "one", 1), second(2, "two", 1);
    ASSERT_EQ(ti->setOptions(job, {&first}, err, nullptr), 0) << err;
    _TaskInfo read;
    read.jobId = 43;
    ASSERT_EQ(ti->lookup(read, err, nullptr), 0) << err;  // the pool now holds idle connections

    ASSERT_TRUE(stopServer());
    ASSERT_TRUE(startServer());
    EXPECT_EQ(ti->setOptions(job, {&second}, err, nullptr), 0) << err;
    EXPECT_EQ(ti->lookup(read, err, nullptr), 0) << err;
    EXPECT_EQ(read.value, "one");
    Collect sink;
    EXPECT_EQ(ti->getOptions(read, &sink, err, nullptr), 0) << err;
    EXPECT_EQ(sink.count, 2);
}
