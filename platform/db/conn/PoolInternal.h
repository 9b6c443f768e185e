#pragma once
// Internal hooks between the parts of the database layer (connect, pool, configuration, schema).
#include <memory>
#include <string>

#include "platform/db/Backend.h"

namespace dbl {

// Opens a connection without the once-per-store schema version check (used by the schema code itself).
std::unique_ptr<Connection> connectUnchecked(const std::string& url, Error& err);
// Reads the version recorded in the store behind `conn`: 0 when none, -1 with err set on failure.
int readSchemaVersion(Connection& conn, Error& err);
// Closes every idle pooled connection and forgets which stores were checked.
void poolCloseIdle();
// Makes the next connection to every store check its schema version again.
void forgetCheckedStores();

}  // namespace dbl

namespace dbconfig {
// Whether `url` is the URL in force (what url() would return), without copying it.
bool urlIs(const std::string& url);
// 0 while no URL override is set; else a number that changes with every setUrl, so that the URL in
// force is known to be unchanged without comparing texts. Lock-free.
unsigned overrideGeneration();
}  // namespace dbconfig
