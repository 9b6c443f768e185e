// The store fixture on every backend: each test gets the reference schema with empty tables, and
// the fixture's helpers run the library's SQL on it.
#include "platform/db/DBschema.h"
#include "support/TestStore.h"

class StoreContextTest : public StoreTest {
  protected:
    // Both tests write the same rows; whichever runs second must not see the first one's.
    void writeAndCount() {
        EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_PatternAssoc"), 0) << "a test starts with empty tables";
        exec("INSERT INTO TM_PatternAssoc (patternId, subTaskId) VALUES (7, 70)");
        exec("INSERT INTO TM_PatternAssoc (patternId, subTaskId) VALUES (8, 80)");
        EXPECT_EQ(scalar("SELECT MAX(subTaskId) FROM TM_PatternAssoc"), 80);
        EXPECT_EQ(text("SELECT N'it''s' FROM TM_PatternAssoc WHERE patternId = 7"), "it's");
        std::string err;
        EXPECT_EQ(DBreadSchemaVersion(url, &err), kTaskdbSchemaVersion) << err;
    }
};

TEST_P(StoreContextTest, FirstWriterSeesEmptyTables) {
    writeAndCount();
}

TEST_P(StoreContextTest, SecondWriterSeesEmptyTablesToo) {
    writeAndCount();
}

TASKDB_STORE_SUITE(StoreContextTest);
