// The reference schema on PostgreSQL: created by `taskdb init` and by init, columns as the catalogue
// lists them, and a second init harmless. The procedures' answers are checked on every backend.
#include <cctype>
#include <cstdlib>

#include "odbc/OdbcFixture.h"
#include "platform/db/DBcatalog.h"
#include "platform/db/DBschema.h"

namespace {
std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}
}  // namespace

TEST_F(OdbcTest, TheToolAndInitCreateTheCatalogueTablesAndRunAgainHarmlessly) {
    const std::string command = std::string(TASKDB_TOOL_PATH) + " init --url '" + url + "' >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    std::string err;
    EXPECT_EQ(DBreadSchemaVersion(url, &err), kTaskdbSchemaVersion) << err;
    exec("INSERT INTO TM_PatternAssoc (patternId, subTaskId) VALUES (1, 2)");
    ASSERT_EQ(DBinitSchema(url, &err), 0) << err;
    EXPECT_EQ(DBreadSchemaVersion(url, &err), kTaskdbSchemaVersion) << err;
    EXPECT_EQ(first("SELECT COUNT(*) FROM TM_PatternAssoc"), std::optional<std::string>("1"))
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
            const char* type = col.letter == 'i'                        ? "integer"
                               : col.letter == 'b' || col.letter == 'x' ? "bigint"
                                                                        : "text";
            EXPECT_EQ(rows[c], (Row{lower(col.name), std::string(type),
                                    std::string(std::string(tables[t].identity) == col.name ? "YES" : "NO")}))
                << tables[t].name << "." << col.name;
        }
    }
}
