// The reference schema in SQLite's SQL: integers for i/b/x, text for s/u and for dates
// ("YYYY-MM-DD HH:MM:SS"), the identity as an AUTOINCREMENT primary key (ids are never reused).
#include <string>

#include "platform/db/sqlite/Sqlite.h"

namespace dbl {
namespace sqlite {

namespace {

std::string quoted(const std::string& name) {
    std::string out = "\"";
    for (char c : name) {
        out += c;
        if (c == '"') out += '"';
    }
    return out + "\"";
}

class SqliteDdl : public SchemaDdl {
  public:
    std::vector<std::string> createTable(const DBschemaTable& t) const override {
        std::string sql = "CREATE TABLE IF NOT EXISTS " + quoted(t.name) + " (";
        const std::string identity = t.identity ? t.identity : "";
        for (int i = 0; i < t.columnCount; ++i) {
            const DBschemaColumn& c = t.columns[i];
            if (i) sql += ", ";
            sql += quoted(c.name);
            if (!identity.empty() && identity == c.name)
                sql += " INTEGER PRIMARY KEY AUTOINCREMENT";
            else if (c.letter == 's' || c.letter == 'u')
                sql += " TEXT DEFAULT ''";
            else if (c.letter == 't')
                sql += " TEXT";
            else
                sql += " INTEGER DEFAULT 0";
        }
        return {sql + ")"};
    }

    std::string createIndex(const std::string& name, const std::string& table, const std::string& columns,
                            bool unique) const override {
        return std::string(unique ? "CREATE UNIQUE INDEX" : "CREATE INDEX") + " IF NOT EXISTS " +
               quoted(name) + " ON " + quoted(table) + " (" + columns + ")";
    }

    std::string tableExistsQuery() const override {
        return "SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = ?";
    }
};

}  // namespace

std::unique_ptr<SchemaDdl> makeDdl() {
    return std::make_unique<SqliteDdl>();
}

}  // namespace sqlite
}  // namespace dbl
