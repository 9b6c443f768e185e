#pragma once
// Wide text <-> UTF-8 for values that cross into the database as N'...' literals.
// Reentrant: no shared state; the caller owns all texts.
#include <string>

#include "TaskExport.h"

// The wrappers' failure codes.
constexpr int KO_UTF_NO_MEMORY = -11111;
constexpr int KO_UTF_INVALID = -33333;

// Converts wide text to UTF-8. Each wide character keeps only its low 16 bits (U+1F600 becomes U+F600,
// on purpose), and the units are converted strictly, so a high/low surrogate pair combines while an
// unpaired surrogate fails. A U+0000 ends the output there. Returns 0 with `out` replaced; KO_UTF_NO_MEMORY
// (-11111) when the work buffers cannot be had; KO_UTF_INVALID (-33333) for an unpaired surrogate. On failure
// `out` is left as it was.
TASKDB_API int unicodeToUtf8(const std::wstring& in, std::string& out);

// Converts UTF-8 to wide text, one wide character per UTF-16 unit (a character above U+FFFF becomes two wide
// characters holding its surrogate pair). A zero byte ends the output there. Returns 0 with `out` replaced;
// KO_UTF_NO_MEMORY (-11111) when the work buffers cannot be had; KO_UTF_INVALID (-33333) for ill-formed or
// truncated UTF-8. On failure `out` is left as it was.
TASKDB_API int utf8ToUnicode(const std::string& in, std::wstring& out);

// Returns a copy of `text` unchanged: no widening happens, and callers depend on getting the bytes back as
// they were. Never fails.
TASKDB_API std::string StringToWString(std::string text);
