#pragma once
// The reference schema in PostgreSQL's SQL, and the store's procedures as server functions.
#include <memory>
#include <string>
#include <vector>

#include "platform/db/SchemaDdl.h"

namespace dbl {
namespace odbc {

// Names are left unquoted, so the server folds them to lower case; the library's SQL names them
// unquoted (or in brackets, which the translation drops) and meets the same folded names.
std::unique_ptr<SchemaDdl> makePostgresDdl();

// CREATE OR REPLACE FUNCTION statements for the procedures the library calls, each with the same
// meaning as on the embedded store (see PostgresProcedures.cpp). Pure.
std::vector<std::string> postgresProcedures();
// The functions that the job statistics query calls (PostgresJobFunctions.cpp).
std::vector<std::string> postgresJobFunctions();

}  // namespace odbc
}  // namespace dbl
