#pragma once
// printf-style formatting with the database layer's escaping: the text of every %s argument has its
// single quotes doubled, so N'%s' with O'Brien yields N'O''Brien' and no caller text is executed as SQL.
// All other conversions behave as in printf; a null %s argument gives "(null)". The va_list given is
// not consumed (each call works on its own copy), so one list may be sized and then formatted.
// All functions are pure and thread-safe; the caller owns every buffer.
#include <cstdarg>
#include <string>

#include "platform/PlatformExport.h"
#include "platform/db/DBtypes.h"

// The length of the formatted text, without the terminating zero.
KO_PLATFORM_API unsigned long DBsizeof(const char* format, va_list args);
// Formats into `buffer` of `length` bytes (always zero-terminated when length > 0); returns the full length.
KO_PLATFORM_API unsigned long DBsprintf(char* buffer, unsigned long length, const char* format, va_list args);
// Convenience over the two: the whole formatted text.
KO_PLATFORM_API std::string DBformat(const char* format, ...) KO_PRINTF(1, 2);
KO_PLATFORM_API std::string DBvformat(const char* format, va_list args);

// The text form of a date-time column: "YYYY-MM-DD HH:MM:SS" ("" for an all-zero value).
KO_PLATFORM_API std::string DBodbcDate(const DB_DATETIME& value);
// Parses "YYYY-MM-DD[ HH:MM:SS[.fff]]"; false (value cleared) when the text is not of that form.
KO_PLATFORM_API bool DBparseDate(const std::string& text, DB_DATETIME& value);
