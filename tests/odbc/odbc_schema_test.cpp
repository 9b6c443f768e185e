// The reference schema on PostgreSQL: created by init (and by `taskdb init`), columns as the
// catalogue lists them, and procedures that answer exactly as the embedded store's.
#include <cctype>
#include <cstdlib>
#include <filesystem>

#include "odbc/OdbcFixture.h"
#include "platform/db/DBcatalog.h"
#include "platform/db/DBschema.h"

namespace {

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

std::string pgType(char letter) {
    if (letter == 'i') return "integer";
    if (letter == 'b' || letter == 'x') return "bigint";
    return "text";
}

const char* const kProcedures[] = {"TM_GetAllJobOptions", "TM_GetAllFileOptions",
                                   "TM_GetXMLJobOptions", "TM_GetJobListFromTaskId",
                                   "TM_GetBitwiseOption", "TM_GetExtendedOptionString"};

}  // namespace

TEST_F(OdbcTest, InitCreatesTheCatalogueTablesAndProceduresAndRunsAgainHarmlessly) {
    std::string err;
    ASSERT_EQ(DBinitSchema(url, &err), 0) << err;
    exec("INSERT INTO TM_PatternAssoc (patternId, subTaskId) VALUES (1, 2)");
    ASSERT_EQ(DBinitSchema(url, &err), 0) << err;
    EXPECT_EQ(DBreadSchemaVersion(url, &err), kTaskdbSchemaVersion) << err;
    EXPECT_EQ(query(*conn, "SELECT COUNT(*) FROM TM_PatternAssoc")[0][0], std::optional<std::string>("1"))
        << "a second init keeps the rows";

    int count = 0;
    const DBschemaTable* tables = DBcatalogTables(&count);
    for (int t = 0; t < count; ++t) {
        auto rows = query(*conn,
                          "SELECT column_name, data_type, is_identity FROM information_schema.columns "
                          "WHERE table_schema = current_schema() AND table_name = N'" +
                              lower(tables[t].name) + "' ORDER BY ordinal_position");
        ASSERT_EQ(rows.size(), static_cast<size_t>(tables[t].columnCount)) << tables[t].name;
        for (int c = 0; c < tables[t].columnCount; ++c) {
            const DBschemaColumn& col = tables[t].columns[c];
            EXPECT_EQ(*rows[c][0], lower(col.name)) << tables[t].name;
            EXPECT_EQ(*rows[c][1], pgType(col.letter)) << tables[t].name << "." << col.name;
            EXPECT_EQ(*rows[c][2] == "YES", std::string(tables[t].identity) == col.name)
                << tables[t].name << "." << col.name;
        }
    }
    std::string names;
    for (const char* p : kProcedures) names += std::string(names.empty() ? "" : ", ") + "N'" + lower(p) + "'";
    EXPECT_EQ(query(*conn,
                    "SELECT COUNT(*) FROM pg_proc p JOIN pg_namespace n ON n.oid = p.pronamespace "
                    "WHERE n.nspname = current_schema() AND p.proname IN (" +
                        names + ")")[0][0],
              std::optional<std::string>(std::to_string(std::size(kProcedures))));
}

TEST_F(OdbcTest, TheToolInitialisesAServerStore) {
    std::string command = std::string(TASKDB_TOOL_PATH) + " init --url '" + url + "' >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    std::string err;
    EXPECT_EQ(DBreadSchemaVersion(url, &err), kTaskdbSchemaVersion) << err;
}
