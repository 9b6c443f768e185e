#include "support/TestStore.h"
#include "utilities/BackupStreams.h"

namespace {

class StreamsTest : public StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        // client: version, NAS, non-NDMP; client 7 exists without properties.
        const char* clients[][4] = {{"1", "11.22.0", "0", "0"}, {"2", "10.5", "0", "0"},
                                    {"3", "11.21", "0", "0"},   {"4", "11.21", "1", "0"},
                                    {"5", "11.21", "0", "1"},   {"6", "12.1", "0", "0"},
                                    {"8", "", "0", "0"},        {"9", "11 SP23", "0", "0"}};
        for (const auto& c : clients) {
            exec(std::string("INSERT INTO APP_Client (id, name) VALUES (") + c[0] + ", 'c" + c[0] + "')");
            exec(std::string(
                     "INSERT INTO SRV_ClientProp (clientId, userCentric, physicalClientId, versionInfo, "
                     "isNAS, nonNDMP, actualClientId) VALUES (") +
                 c[0] + ", 0, 0, '" + c[1] + "', " + c[2] + ", " + c[3] + ", 0)");
        }
        exec("INSERT INTO APP_Client (id, name) VALUES (7, 'c7')");
        exec(
            "INSERT INTO SRV_InstanceType (instanceId, clusterType, cloudInstanceType) VALUES (10, 1, 0), "
            "(11, 15, 0), (12, 3, 33), (20, 0, 33), (21, 0, 34), (22, 1, 5)");
    }
};

TEST_P(StreamsTest, EveryBranchOfTheTable) {
    struct Case {
        int appType, clientId, instanceId, streams;
    };
    const Case cases[] = {
        {11, 1, 0, 0},   // version 11, service pack 22
        {11, 2, 0, 4},   // version 10
        {11, 0, 0, 4},   // no client
        {38, 1, 0, 4},   // always 4
        {11, 3, 0, 4},   // version 11 service pack 21, neither NAS nor non-NDMP
        {33, 4, 0, 0},   // NAS
        {74, 5, 0, 0},   // non-NDMP
        {1, 6, 0, 0},    // above version 11
        {1, 7, 0, 4},    // no properties: version 0
        {1, 8, 0, 4},    // empty version text
        {1, 99, 0, 4},   // unknown client
        {1, 9, 0, 0},    // "11 SP23"
        {64, 1, 0, 4},   // no instance
        {64, 0, 10, 4},  // cluster type 1
        {64, 0, 11, 4},  // cluster type 15
        {64, 0, 12, 0},  // another cluster type
        {64, 0, 99, 0},  // no type recorded
        {106, 0, 0, 5},   {12, 0, 0, 2},   {134, 0, 0, -1},  // cloud apps without an instance
        {134, 0, 20, 0},  {134, 0, 21, 0}, {134, 0, 22, -1}, {134, 0, 99, -1},
        {999, 1, 10, -1}, {2, 1, 0, -1},   {0, 0, 0, -1},
    };
    for (const Case& c : cases)
        EXPECT_EQ(getDefaultNumberofBackupStreams(c.appType, c.clientId, c.instanceId, nullptr), c.streams)
            << "appType " << c.appType << " client " << c.clientId << " instance " << c.instanceId;
}

TASKDB_STORE_SUITE(StreamsTest);

}  // namespace
