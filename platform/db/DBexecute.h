#pragma once
// Runs one statement that returns no rows (the library's SQL dialect, used exactly as given: callers
// pass fixed text, never text built from caller data) on `tran`, or, with a null `tran`, on a
// connection of its own in autocommit. 0, or the failure's code with its text in *err.
#include <string>

#include "platform/PlatformExport.h"

class DBtran;

KO_PLATFORM_API int DBexecute(DBtran* tran, const std::string& sql, std::string* err);
