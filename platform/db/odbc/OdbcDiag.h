#pragma once
// ODBC diagnostics turned into the database layer's result codes and texts.
//
// A failure's text is "[SQLSTATE] message" from the driver's first error record. Its code is the
// server's native error number where the driver passes that on (SQL Server), otherwise the SQLSTATE
// read as a base-36 number: psqlODBC's native numbers are its own status numbers (1 for nearly every
// server error), so they would not tell two errors apart. A code is never 0 and never 100.
#include <sql.h>
#include <sqlext.h>

#include <string>

#include "platform/db/Backend.h"

namespace dbl {
namespace odbc {

// Where a failure's code comes from.
enum class NativeCodes { Server, SqlState };

struct Diagnostic {
    std::string state;    // five characters; "HY000" when the driver left no record
    int native = 0;       // the driver's native error number
    std::string message;  // one line
};

// The SQLSTATE as a base-36 number ("42601" -> 6819553). Pure; never 0 or 100 (those two would
// read as success and no-data, so they are moved out of the way).
int sqlstateCode(const std::string& state);

// States after which the session is gone: connection exceptions (class 08) and the server ending
// the session (see isServerEndedState).
bool isConnectionLostState(const std::string& state);
// The server ended the session and said so, so the statement that met it did nothing: 57P01
// (administrator command: the server was stopped), 57P02 (crash), 57P03 (cannot connect now), 57P05
// (idle session timeout).
bool isServerEndedState(const std::string& state);

// The first error record of `handle` (records of class 01, warnings, are passed over when an error
// follows them). Thread safety: as the handle.
Diagnostic readDiagnostic(SQLSMALLINT handleType, SQLHANDLE handle);

// Sets `err` from a diagnostic and returns its code; `connectionLost` is set for the lost states.
int setError(const Diagnostic& d, NativeCodes codes, Error& err);

// Reads the handle's diagnostic and sets `err` (see setError).
int failFrom(SQLSMALLINT handleType, SQLHANDLE handle, NativeCodes codes, Error& err);

inline bool succeeded(SQLRETURN rc) {
    return rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO;
}

}  // namespace odbc
}  // namespace dbl
