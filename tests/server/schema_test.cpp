// The management server's tables: created by init on every backend, keys that refuse duplicates, and
// the job listing's order served by its index.
#include <cstdio>
#include <string>

#include "platform/db/DBrecordTable.h"
#include "platform/records/APP_Client.h"
#include "platform/records/SRV_ActivityControl.h"
#include "support/TestStore.h"

namespace {

class ServerSchemaTest : public StoreTest {};

TEST_P(ServerSchemaTest, InsertThroughRecordReturnsIdentityAndUniqueKeysRefuseDuplicates) {
    DBtran tran;
    ASSERT_EQ(tran.begin(), 0);
    DBrecordTable<SRV_ActivityControl_t> activity(&tran);
    activity.row().entityLevel = 2;
    activity.row().entityId = 7;
    activity.row().activityType = 1;
    ASSERT_EQ(activity.rowInsert(), 0) << activity.getErrorStr(-1);
    const int first = activity.row().id;
    EXPECT_GT(first, 0);
    activity.row().activityType = 2;
    ASSERT_EQ(activity.rowInsert(), 0);
    EXPECT_EQ(activity.row().id, first + 1) << "the generated identity comes back into the record";
    ASSERT_EQ(tran.commit(), 0);
    DBrecordTable<SRV_ActivityControl_t> again(nullptr);
    again.row() = activity.row();
    again.row().activityType = 1;
    EXPECT_NE(again.rowInsert(), 0) << "one setting per entity and activity";
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM SRV_ActivityControl"), 2);

    DBrecordTable<APP_Client_t> clients(nullptr);
    clients.row().id = 1;
    std::snprintf(clients.row().name, sizeof clients.row().name, "%s", "alpha");
    ASSERT_EQ(clients.rowInsert(), 0);
    clients.row().id = 2;
    EXPECT_NE(clients.rowInsert(), 0) << "two clients may not share a name";
    std::snprintf(clients.row().name, sizeof clients.row().name, "%s", "beta");
    clients.row().id = 1;
    EXPECT_NE(clients.rowInsert(), 0) << "nor an id";
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM APP_Client"), 1);
}

TEST_P(ServerSchemaTest, JobHistoryTablesJoinAsTheStatisticsQueryReadsThem) {
    exec("INSERT INTO APP_Client (id, name) VALUES (3, 'c3')");
    exec(
        "INSERT INTO APP_Application (id, clientId, appTypeId, subclientName) VALUES (30, 3, 33, 'default')");
    exec(
        "INSERT INTO JMBkpStats (jobId, orbisId, appId, servStartDate) VALUES (1, 2, 30, 100), (2, 2, 30, "
        "300), "
        "(3, 2, 30, 200)");
    exec(
        "INSERT INTO JMJobStats (jobId, orbisId, opType, servStartDate) VALUES (1, 2, 4, 100), (2, 2, 4, "
        "300), "
        "(3, 2, 4, 200)");
    EXPECT_EQ(
        text("SELECT c.name FROM JMBkpStats b JOIN APP_Application a ON a.id = b.appId JOIN JMJobStats s "
             "ON s.jobId = b.jobId AND s.orbisId = b.orbisId JOIN APP_Client c ON c.id = a.clientId "
             "ORDER BY b.servStartDate DESC"),
        "c3");
    EXPECT_EQ(scalar("SELECT jobId FROM JMBkpStats ORDER BY servStartDate DESC"), 2);
}

TASKDB_STORE_SUITE(ServerSchemaTest);

}  // namespace
