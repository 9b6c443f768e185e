#pragma once
// The database objects as schema/objects.def describes them.
#include <string>
#include <vector>

namespace bindgen {

struct Column {
    std::string name;
    char letter = 'i';  // i b x t s u
    int width = 0;      // n of s<n>/u<n>; 0 when unbounded
};

// An index of a table: created with it; `columns` is comma-separated, each may end in DESC or ASC.
struct Index {
    std::string name;
    std::string columns;
    bool unique = false;
};

enum class Kind { Table = 1, Procedure = 2, Cursor = 3 };

struct Object {
    Kind kind = Kind::Table;
    std::string name;
    int line = 0;  // where the block starts in objects.def
    std::vector<Column> columns;
    std::string format;
    // tables
    std::string version;
    std::string identity;  // "" when none
    int identityIndex = 0;
    std::string orderBy;
    std::vector<std::string> keys;
    std::vector<Index> indexes;
    // procedures and the cursor
    std::string signature;
    std::string args;  // one letter per argument: i int, b long long, s const char*
    std::string argFormat;
    int room = 0;
    std::string statement;
    // The cursor's statement for SQLite and for PostgreSQL ("" : the statement above, translated).
    std::string sqliteStatement;
    std::string postgresStatement;
};

// Reads objects.def; on failure returns false with "file:line: reason" in `error`.
bool parseObjects(const std::string& path, std::vector<Object>& objects, std::string& error);

// The C++ text of one binding header, and of the table catalogue.
std::string bindingHeader(const Object& object);
// The raw record's own header (include/platform/records/<Name>.h): needs the platform's DBtypes.h only.
std::string recordHeader(const Object& object);
std::string catalogSource(const std::vector<Object>& objects);
// "Tbl", "Proc" or "Cursor": the folder of the object's header under include/Db.
const char* headerFolder(Kind kind);
// A C++ string literal (with quotes) holding `text`.
std::string cLiteral(const std::string& text);

}  // namespace bindgen
