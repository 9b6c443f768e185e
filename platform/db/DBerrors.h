#pragma once
// Result codes that the database layer itself returns (the backends' own codes pass through
// unchanged). None of them is 0 or 100; all are outside the ranges SQLite and ODBC drivers use.
constexpr int DB_ERR_NOT_ACTIVE = 0xDB0001;     // "transaction is not active"
constexpr int DB_ERR_BAD_URL = 0xDB0002;        // the store URL names no known backend
constexpr int DB_ERR_SCHEMA_NEWER = 0xDB0003;   // the store was made by a newer library
constexpr int DB_ERR_NOT_OPEN = 0xDB0004;       // fetch without an open cursor
constexpr int DB_ERR_BAD_ARGUMENTS = 0xDB0005;  // procedure argument text that cannot be read
constexpr int DB_ERR_UNKNOWN_PROCEDURE = 0xDB0006;
constexpr int DB_ERR_NO_STATEMENT = 0xDB0007;    // nothing to run (no name, no statement text)
constexpr int DB_ERR_SQL_TEXT = 0xDB0008;        // SQL the translator cannot read
constexpr int DB_ERR_PARTIAL_RECORD = 0xDB0009;  // a record write on a binding that reads a column subset
constexpr int DB_ERR_TRAN_ABORTED = 0xDB000A;    // the database ended the transaction by itself
