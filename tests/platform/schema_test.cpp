#include <gtest/gtest.h>

#include "PlatformFixture.h"
#include "platform/db/Backend.h"
#include "platform/db/DBcatalog.h"
#include "platform/db/DBconfig.h"
#include "platform/db/DBerrors.h"
#include "platform/db/DBschema.h"
#include "platform/db/DBtran.h"

using SchemaTest = PlatformTest;

TEST_F(SchemaTest, InitIsIdempotentAndCreatesTheCatalogue) {
    addWidget(1, "keep");
    const long long objects = scalar("SELECT COUNT(*) FROM sqlite_master");
    std::string err;
    EXPECT_EQ(DBinitSchema(url, &err), 0) << err;
    EXPECT_EQ(DBinitSchema(url, &err), 0) << err;
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM sqlite_master"), objects);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget"), 1);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TaskDB_SchemaInfo"), 1);
    EXPECT_EQ(DBreadSchemaVersion(url, &err), kTaskdbSchemaVersion);

    // Every catalogue table with its columns in order, the pattern association table and its index.
    int count = 0;
    const DBschemaTable* tables = DBcatalogTables(&count);
    for (int i = 0; i < count; ++i) {
        const DBschemaTable& t = tables[i];
        EXPECT_EQ(scalar(std::string("SELECT COUNT(*) FROM pragma_table_info('") + t.name + "')"),
                  t.columnCount)
            << t.name;
        for (int c = 0; c < t.columnCount; ++c)
            EXPECT_EQ(text(std::string("SELECT name FROM pragma_table_info('") + t.name +
                           "') WHERE cid = " + std::to_string(c)),
                      t.columns[c].name);
    }
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM sqlite_master WHERE type = 'index' AND name = "
                     "'IX_TM_PatternAssoc_subTaskId'"),
              1);
    // Defaults: 0 for numbers, '' for texts, and the identity is generated.
    exec("INSERT INTO Widget (big) VALUES (5)");
    EXPECT_EQ(text("SELECT note FROM Widget WHERE big = 5"), "");
    EXPECT_EQ(scalar("SELECT stamp FROM Widget WHERE big = 5"), 0);
    EXPECT_EQ(scalar("SELECT id FROM Widget WHERE big = 5"), 2);
}

TEST_F(SchemaTest, AStoreOfANewerVersionIsRefused) {
    exec("UPDATE TaskDB_SchemaInfo SET version = " + std::to_string(kTaskdbSchemaVersion + 1));
    std::string err;
    EXPECT_EQ(DBinitSchema(url, &err), DB_ERR_SCHEMA_NEWER);
    EXPECT_NE(err.find("newer than this library"), std::string::npos) << err;
    EXPECT_EQ(DBreadSchemaVersion(url, &err), kTaskdbSchemaVersion + 1);

    // The first connection of the process to that store refuses it, with the text for the caller.
    dbconfig::setUrl(url);
    DBtran tran;
    EXPECT_EQ(tran.begin(&err), DB_ERR_SCHEMA_NEWER);
    EXPECT_NE(err.find("schema version " + std::to_string(kTaskdbSchemaVersion + 1)), std::string::npos)
        << err;
    EXPECT_FALSE(tran.active());
}

TEST_F(SchemaTest, UrlsChooseTheStoreAndBadOnesAreExplained) {
    std::string err;
    // An empty file has no schema yet: version 0, and it can be used and initialised.
    const std::string other = tempStorePath("other");
    EXPECT_EQ(DBreadSchemaVersion("sqlite:" + other, &err), 0) << err;
    dbconfig::setUrl("sqlite:" + other);
    EXPECT_EQ(DBinitSchema(dbconfig::url(), &err), 0) << err;
    {
        DBtran tran;
        ASSERT_EQ(tran.begin(&err), 0) << err;
        Widget w(&tran);
        EXPECT_NE(w.getErrorStr(w.openCursor()).find("no such table"), std::string::npos);  // not here
    }
    dbconfig::setUrl(url);
    EXPECT_GT(addWidget(1, "here"), 0);
    removeStore(other);

    for (const char* bad : {"nosuch:x", "odbc:Driver={none}"}) {
        dbconfig::setUrl(bad);
        DBtran tran;
        EXPECT_NE(tran.begin(&err), 0) << bad;
        EXPECT_FALSE(err.empty()) << bad;
    }
    dbconfig::setUrl("nosuch:x");
    DBtran tran;
    EXPECT_EQ(tran.begin(&err), DB_ERR_BAD_URL);
    EXPECT_NE(err.find("unknown store URL"), std::string::npos) << err;
    EXPECT_EQ(DBreadSchemaVersion("sqlite:/nonexistent-dir/x.sqlite", &err), -1);
    EXPECT_FALSE(err.empty());
}
