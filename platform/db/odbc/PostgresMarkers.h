#pragma once
// Parameter markers of translated SQL on PostgreSQL.
#include <string>
#include <vector>

#include "platform/db/Backend.h"

namespace dbl {
namespace odbc {

// Gives the markers of the integer literals that translation moved into `params` (the first
// params.size() markers of `sql`, in order) the type the server gives such a literal: integer when
// the value fits 32 bits, else bigint. The driver sends parameters untyped, and the server cannot
// type an untyped parameter where the context does not decide ("- ?", "? + 1"). Text literals stay
// untyped, as a quoted literal is. Returns `sql` unchanged when it cannot be tokenized. Pure.
std::string typeLiteralMarkers(const std::string& sql, const std::vector<Param>& params);

}  // namespace odbc
}  // namespace dbl
