#pragma once
// The library's stored procedures as the SQLite backend runs them: one SELECT each, in SQLite's own
// SQL, with the procedure's inputs as the numbered parameters ?1, ?2, ... in argument order.
namespace dbl {
namespace sqlite {

struct Procedure {
    const char* name;
    int argCount;
    const char* sql;
};

// The procedure named `name` (exact spelling), or null when SQLite has none of that name.
const Procedure* findProcedure(const char* name);

}  // namespace sqlite
}  // namespace dbl
