// Generated rows: values by column, class-wide metadata, keys, and the one-time set-up under threads.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "Db/Cursor/JMGetBkpStats.h"
#include "Db/Proc/TM_GetAllJobOptions.h"
#include "Db/Tbl/DM2CompliancePolicy.h"
#include "Db/Tbl/MMHost.h"
#include "Db/Tbl/SchedAdminComplianceOptions.h"
#include "Db/Tbl/TM_AssocEntity.h"
#include "Db/Tbl/TM_JobOptions.h"
#include "Db/Tbl/TM_Pattern.h"
#include "Db/Tbl/TM_Task.h"
#include "Db/Tbl/UMDSProviders.h"
#include "db/KODBRowBase.h"

namespace {

TEST(RowTest, ValuesFollowTheColumnsAndTheirLetters) {
    TM_JobOptions_t2 row;
    EXPECT_TRUE(row.m_generated);
    ASSERT_EQ(row.columnVec.size(), 10u);
    ASSERT_EQ(row.columns.size(), 10u);
    const char* names[] = {"id",     "jobId",     "optionId",  "type",    "value",
                           "taskId", "subTaskId", "lastJobId", "created", "modified"};
    const int codes[] = {1, 4, 4, 1, 6, 1, 1, 4, 4, 4};  // x columns are 64-bit integers
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(row.getColumnName(i), names[i]);
        EXPECT_EQ(row.columns.at(names[i]), row.columnVec[i]) << names[i];
        EXPECT_EQ(row.columnVec[i]->getDataType(), codes[i]) << names[i];
        EXPECT_TRUE(row.columnVec[i]->isNull) << names[i];
    }
    EXPECT_EQ(row.getStructDef(), "i|b|b|i|s|i|i|b|b|b|");

    TM_Pattern_t2 pattern;
    EXPECT_EQ(pattern.columns.at("active_start_date")->getDataType(), 5);
    EXPECT_EQ(pattern.columns.at("name")->getDataType(), 6);
}

TEST(RowTest, KeysSerialColumnsAndTheKeptQuirks) {
    EXPECT_EQ(DM2CompliancePolicy_t2().getSerialColNum(), 9);  // identity after the GUID text column
    EXPECT_EQ(MMHost_t2().getSerialColNum(), -1);              // no identity column
    TM_GetAllJobOptions_t2 proc;
    EXPECT_EQ(proc.getHeaderType(), 2);
    EXPECT_EQ(proc.getPrimaryWhere(), "");

    TM_Task_t2 task;
    EXPECT_EQ(task.getPrimaryWhere(), "taskId = ?");
    EXPECT_EQ(task.getPrimaryData(), std::vector<KODBDataTypeBase*>{task.columns.at("taskId")});
    // The key name carries a trailing blank, so the clause has two blanks before "=".
    TM_AssocEntity_t2 assoc;
    EXPECT_EQ(assoc.getPrimaryWhere(), "assocId  = ?");
    EXPECT_EQ(assoc.getPrimaryData(), std::vector<KODBDataTypeBase*>{nullptr});
    // Two keys: no blank before AND.
    task.primaryKeys = {"jobId", "optionId"};
    EXPECT_EQ(task.getPrimaryWhere(), "jobId = ?AND optionId = ?");

    EXPECT_EQ(KODBRowBase::fillForTime("i|x|x|"), "i|b|b|");
    EXPECT_EQ(KODBRowBase::fillForTime("s511|t|u|"), "s511|t|u|");
    // Assigning one row to another through the base copies nothing.
    TM_Task_t2 other;
    std::vector<KODBDataTypeBase*> before = other.columnVec;
    static_cast<KODBRowBase&>(other) = static_cast<KODBRowBase&>(task);
    EXPECT_EQ(other.columnVec, before);
    EXPECT_FALSE(task.searchForeignKey("taskId"));
}

// Builds the first rows of class Row on 8 threads at once; answers the header types they saw.
template <class Row>
std::vector<int> raceFirstRows() {
    std::atomic<int> ready{0};
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    std::vector<int> headerTypes(8);
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            ++ready;
            while (!go) std::this_thread::yield();
            for (int i = 0; i < 20; ++i) headerTypes[t] = Row().getHeaderType();
        });
    }
    while (ready < 8) std::this_thread::yield();
    go = true;
    for (std::thread& t : threads) t.join();
    return headerTypes;
}

// The first rows of a class, built on many threads at once, set its metadata exactly once, and the
// shared semaphore is left free for the next class.
TEST(RowTest, MetadataIsSetOnceWhenManyThreadsBuildTheFirstRows) {
    ASSERT_FALSE(UMDSProviders_t2::s_isInitialized) << "another test built this class first";
    ASSERT_FALSE(JMGetBkpStats_t2::s_isInitialized);
    EXPECT_EQ(raceFirstRows<UMDSProviders_t2>(), std::vector<int>(8, 1));
    EXPECT_EQ(raceFirstRows<JMGetBkpStats_t2>(), std::vector<int>(8, 3));

    ASSERT_EQ(UMDSProviders_t2::m_staticColumnVec.size(), 22u);
    EXPECT_EQ(UMDSProviders_t2::structSchema,
              "i|s511|s8001|s6145|s511|s801|s511|s801|i|i|i|b|s511|i|i|i|s65|i|i|b|i|i|");
    EXPECT_EQ(JMGetBkpStats_t2::m_staticColumnVec.size(), 105u);

    ASSERT_FALSE(SchedAdminComplianceOptions_t2::s_isInitialized);
    // Detached, so that a semaphore left taken fails the test instead of hanging it.
    auto result = std::make_shared<std::promise<int>>();
    std::future<int> next = result->get_future();
    std::thread([result] { result->set_value(SchedAdminComplianceOptions_t2().getHeaderType()); }).detach();
    ASSERT_EQ(next.wait_for(std::chrono::seconds(10)), std::future_status::ready) << "semaphore left taken";
    EXPECT_EQ(next.get(), 1);
}

TEST(RowTest, SetUpSemaphoreReleasesByOneWhateverTheCount) {
    KOSimpleDBSem sem(1);
    sem.wait();
    sem.release(5);  // one, not five
    sem.wait();
    std::atomic<bool> acquired{false};
    std::thread waiter([&] {
        sem.wait();
        acquired = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(acquired);
    sem.release(1);
    waiter.join();
    EXPECT_TRUE(acquired);
}

}  // namespace
