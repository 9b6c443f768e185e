#pragma once
// Which store the database layer talks to.
//   TASKDB_URL=sqlite:PATH            the embedded store (created on first use, WAL mode)
//   TASKDB_URL=odbc:CONNECTION-STRING a server database through ODBC
// Unset: sqlite:taskdb.sqlite in the working directory.
#include <string>

#include "platform/PlatformExport.h"

namespace dbconfig {
// The URL in force: the override when one is set, else TASKDB_URL, else the default.
KO_PLATFORM_API std::string url();
// Overrides the URL for connections made from now on ("" removes the override). Idle pooled
// connections are closed, so the next connection checks its store's schema version again.
// Both are thread-safe; connections in use keep their store until they are given back.
KO_PLATFORM_API void setUrl(const std::string& url);
}  // namespace dbconfig
