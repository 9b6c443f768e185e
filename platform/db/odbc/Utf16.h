#pragma once
// UTF-8 <-> UTF-16 for the drivers' wide character data (SQL_C_WCHAR), which carries text to and
// from servers whose Unicode columns the narrow API would pass through a code page.
#include <string>

namespace dbl {
namespace odbc {

// A byte that does not start a valid UTF-8 sequence becomes U+FFFD. Pure; thread-safe.
std::u16string utf8ToUtf16(const std::string& in);
// An unpaired surrogate becomes U+FFFD. Pure; thread-safe.
std::string utf16ToUtf8(const char16_t* in, size_t units);

}  // namespace odbc
}  // namespace dbl
