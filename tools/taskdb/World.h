#pragma once
// The management server's world as one JSON document (see the README, "The management server's world"):
// installations, application types, client groups, clients, instances, backup sets, subclients, users,
// disabled activities, running and finished jobs, and event messages.
#include <string>

#include "tools/taskdb/Output.h"

// Loads the document into the configured store in one transaction: everything or, on any fault,
// nothing. With `replace` the world's tables are emptied first (in the same transaction). Returns 0
// with the number of rows written, 2 for a document fault (err: "line N: /path: why"), or the store's
// code (err: its text).
int importWorld(const std::string& text, bool replace, long long& rows, std::string& err);
// The world in the store, in the import format (sections and rows in key order): 0 or the store's code.
int exportWorld(Json& world, std::string& err);
// The sample world (examples/world.json), compiled into the tool.
extern const char* const kSampleWorld;
