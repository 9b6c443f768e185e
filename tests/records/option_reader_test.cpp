// Whole-option readers and job lookups against the seeded schedule.
#include <list>
#include <string>

#include "records/RecordStore.h"

class OptionReaderTest : public RecordStoreTest {
  protected:
    std::string xml(long long key, int type) {
        _TaskInfo info;
        info.jobId = key;
        info.type = type;
        info.xmlOptions = "untouched";
        EXPECT_EQ(ti->getXMLOptions(info, err, nullptr), 0);
        return info.xmlOptions;
    }
};

TEST_P(OptionReaderTest, XmlOptionsOfAJobASubtaskOrATasksFirstSubtask) {
    const std::string doc = "<jobOption level=\"full\"/>";
    const std::string name = "TaskInterfaceDB::getXMLOptions";
    evtrace::Capture cap;
    EXPECT_EQ(xml(1001, 0), doc) << "job 1001 runs subtask 11";
    EXPECT_EQ(cap.find("Called with jobId[1001]", name).at(0).jobId, 1001);
    EXPECT_EQ(traced(cap, "Completed", name), 1u);
    EXPECT_EQ(xml(1002, 0), "untouched") << "subtask 12 has no XML options";
    cap.clear();
    EXPECT_EQ(xml(11, 1), doc);
    EXPECT_EQ(traced(cap, "Using task/subtask. Called with taskId[0], jobId[11], type[1]", name), 1u);
    EXPECT_EQ(traced(cap, "TABLE -> TM_SubTaskXMLOptions {subTaskId = 11}", name), 1u);
    EXPECT_EQ(xml(12, 1), "untouched");
    EXPECT_EQ(xml(7, 2), doc) << "task 7's first subtask is 11";
    EXPECT_EQ(xml(8, 5), "untouched");
    EXPECT_EQ(err, "caller's text");
}

TEST_P(OptionReaderTest, BitAndExtendedOptionsOfAJob) {
    evtrace::Capture cap;
    _TaskInfo info, none;
    info.jobId = 1001;
    none.jobId = 1002;
    info.bitOptions = none.bitOptions = 0xFF00;
    none.extendedOptions = "stale";
    for (_TaskInfo* i : {&info, &none}) {
        ASSERT_EQ(ti->getBitOptions(*i, err, nullptr), 0);
        ASSERT_EQ(ti->getExtendedOptions(*i, err, nullptr), 0);
    }
    EXPECT_EQ(info.bitOptions, 3u);
    EXPECT_EQ(info.extendedOptions, "backup/compression=1;backup/encryption=1");
    EXPECT_EQ(none.bitOptions, 0u);
    EXPECT_EQ(none.extendedOptions, "");
    EXPECT_EQ(cap.find("Called with jobId[1001], type[0]", "TaskInterfaceDB::getBitOptions").at(0).level, 10);
    EXPECT_EQ(cap.find("Called with jobId[1001], type[0]", "TaskInterfaceDB::getExtendedOptions").at(0).level,
              5);
    EXPECT_EQ(err, "caller's text");
}

TEST_P(OptionReaderTest, JobListAppendsInOrderAndJobRequestTakesTheLastRowByThe32BitId) {
    evtrace::Capture cap;
    _TaskInfo info;
    info.taskId = 7;
    std::list<unsigned long long> jobs{5};
    ASSERT_EQ(ti->getJobListFromTaskId(info, jobs, err, nullptr), 0);
    EXPECT_EQ(jobs, (std::list<unsigned long long>{5, 1001, 1002}));
    EXPECT_EQ(traced(cap, "Called with taskId[7]", "TaskInterfaceDB::getJobList"), 1u);
    info.taskId = 8;
    jobs.clear();
    ASSERT_EQ(ti->getJobListFromTaskId(info, jobs, err, nullptr), 0);
    EXPECT_TRUE(jobs.empty());

    long long request = -1;
    ASSERT_EQ(ti->getJobRequestIdFromJobId(request, 4242, err, nullptr), 0);
    EXPECT_EQ(request, -1) << "no row leaves the output untouched";
    // The clause compares the low 32 bits of the id: 2^32 + 1002 finds job 1002.
    ASSERT_EQ(ti->getJobRequestIdFromJobId(request, (1LL << 32) + 1002, err, nullptr), 0);
    EXPECT_EQ(request, 502);
    exec(
        "INSERT INTO TM_Jobs (jobId, jobRequestId, predecessor, status, timeToStart) VALUES (1002, 503, 0, "
        "0, 0)");
    cap.clear();
    ASSERT_EQ(ti->getJobRequestIdFromJobId(request, 1002, err, nullptr), 0);
    EXPECT_EQ(request, 503);
    EXPECT_EQ(traced(cap, "TABLE -> TM_Jobs {JobId = 1002}", "TaskInterfaceDB::getJobIdsFromBkpStats"), 1u);
    EXPECT_EQ(err, "caller's text");
}

TASKDB_STORE_SUITE(OptionReaderTest);
