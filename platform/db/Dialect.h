#pragma once
// Translation of the library's SQL (SQL Server's dialect) for another database. Exactly these
// constructs are rewritten; everything else passes through, outside and inside string literals
// alike untouched, and fails with the database's own error if the database does not know it:
//   SELECT TOP n ...        -> SELECT ... LIMIT n   (at the end of that SELECT's own scope)
//   WITH (READUNCOMMITTED)  -> removed
//   N'text'                 -> 'text'
//   [name]                  -> "name" (SQLite) or name (PostgreSQL)
// With `parameterize`, numeric and string literals (outside TOP counts) become '?' markers and are
// returned in order in `params`, so that statements differing only in values share one prepared form.
#include <string>
#include <vector>

#include "platform/PlatformExport.h"
#include "platform/db/Backend.h"

namespace dbl {
// False (with `err` set) only for text the tokenizer cannot read (an unterminated literal or bracket).
// Literals moved out are appended to `params`. Pure: safe from any thread.
KO_PLATFORM_API bool translate(const std::string& in, Dialect dialect, bool parameterize, std::string& out,
                               std::vector<Param>& params, std::string& err);

// Where a parameter came from: the byte range [begin, end) of its literal in the input.
struct Source {
    size_t begin;
    size_t end;
};
// As above, also giving the input range of every literal moved into `params` (same order).
KO_PLATFORM_API bool translate(const std::string& in, Dialect dialect, bool parameterize, std::string& out,
                               std::vector<Param>& params, std::vector<Source>& sources, std::string& err);
}  // namespace dbl
