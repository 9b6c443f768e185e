// The store's operations across restarts of the PostgreSQL server: a restart between calls goes
// unnoticed; while the server is away each operation answers with a clear code and the driver's text,
// nothing crashes, and once the server is back the next call works.
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
        ti = openTaskInterface(url);
    }
    void TearDown() override {
        ti.reset();
        dbconfig::setUrl("");
        OdbcTest::TearDown();
    }
    std::unique_ptr<TaskInterface> ti;
};

}  // namespace

TEST_F(LostStoreTest, ARestartBetweenCallsGoesUnnoticedAndEveryOperationFailsClearlyWhileTheServerIsAway) {
    _TaskInfo job;
    job.jobId = 42;
    job.taskId = 7;
    job.subTaskId = 70;
    job.type = 0;
    job.entities.emplace_back();  // getPatternInfo reads the first entity
    _TaskInfo read;               // lookups on a record of their own, so that `job` stays as set
    read.jobId = 42;
    std::string err;
    const TaskOption first(1, "before", 1), second(2, "between", 1), option(4, "during", 1);
    ASSERT_EQ(ti->setOptions(job, {&first}, err, nullptr), 0) << err;
    ASSERT_EQ(ti->lookup(read, err, nullptr), 0) << err;  // the pool now holds idle connections

    ASSERT_TRUE(stopServer());
    ASSERT_TRUE(startServer());
    EXPECT_EQ(ti->setOptions(job, {&second}, err, nullptr), 0) << err;
    EXPECT_EQ(ti->lookup(read, err, nullptr), 0) << err;
    EXPECT_EQ(read.value, "before");

    ASSERT_TRUE(stopServer());
    Collect sink;
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
        const int rc = call.second(e);
        EXPECT_TRUE(rc != 0 && rc != 100) << call.first << ": " << rc;
        // The driver's text for a lost or refused connection: "[57P01] ...", "[08S01] ...", "[08001] ...".
        EXPECT_TRUE(e.find("[08") != std::string::npos || e.find("[57P0") != std::string::npos)
            << call.first << ": " << e;
    }
    EXPECT_EQ(sink.count, 0);

    ASSERT_TRUE(startServer());
    ASSERT_EQ(ti->setOptions(job, {&option}, err, nullptr), 0) << err;
    read.value.clear();
    ASSERT_EQ(ti->lookup(read, err, nullptr), 0) << err;
    EXPECT_EQ(read.value, "before") << "the job's first option, written before the server went away";
    EXPECT_EQ(ti->getOptions(read, &sink, err, nullptr), 0) << err;
    EXPECT_EQ(sink.count, 3) << "the options written before, between and after the outages";
}
