#pragma once
// The SQLite backend as the rest of the database layer sees it.
#include <memory>
#include <string>

#include "platform/db/Backend.h"
#include "platform/db/SchemaDdl.h"

namespace dbl {
namespace sqlite {

// Opens (creating when missing) the database file at `path` in WAL mode with a 10 s busy timeout,
// foreign keys off and synchronous NORMAL. Null with err set on failure. Thread-safe.
std::unique_ptr<Connection> connect(const std::string& path, Error& err);

// SQLite's schema statements (see SchemaDdl).
std::unique_ptr<SchemaDdl> makeDdl();

}  // namespace sqlite
}  // namespace dbl
