#pragma once
// The reference schema of the store: every table of the library's bindings, TM_PatternAssoc, the
// indexes that the operations' where-clauses need, the procedures (as the backend runs them) and a
// recorded schema version.
#include <string>

#include "platform/PlatformExport.h"

constexpr int kTaskdbSchemaVersion = 1;

// Creates what is missing in the store at `url` and records the version; running it again changes
// nothing. Fails (non-zero, text in *err) for a store whose recorded version is newer than ours.
// Works on a connection of its own in one write transaction, so concurrent calls (also from other
// processes) are serialised by the store. Thread-safe.
KO_PLATFORM_API int DBinitSchema(const std::string& url, std::string* err);
// The version recorded in the store at `url` (0 when none), or -1 with *err set when it cannot be read.
// Thread-safe.
KO_PLATFORM_API int DBreadSchemaVersion(const std::string& url, std::string* err);
