#pragma once
// The ODBC backend's entry point, called by dbl::connect for "odbc:" URLs.
//
// dbl::connectOdbc(url, err) (declared in Backend.h): `url` is "odbc:CONNECTION-STRING" or the
// connection string alone, a DSN ("DSN=name;UID=...") or a driver connection string
// ("Driver={PostgreSQL Unicode};Server=...;Port=...;Database=...;Uid=...;"). The server must be
// PostgreSQL or Microsoft SQL Server (from the driver's SQL_DBMS_NAME). Returns the connection, owned
// by the caller, or null with err set: the driver's "[SQLSTATE] message" and a code that is neither
// 0 nor 100. Thread-safe; the connection it returns is used by one thread at a time.
#include "platform/db/Backend.h"
