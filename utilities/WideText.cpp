#include "utilities/WideText.h"

#include <memory>
#include <new>

#include "utilities/UtfConverter.h"

int unicodeToUtf8(const std::wstring& in, std::string& out) {
    const size_t n = in.size();
    std::unique_ptr<UTF16[]> units(new (std::nothrow) UTF16[n + 1]);
    std::unique_ptr<UTF8[]> bytes(new (std::nothrow) UTF8[4 * n + 1]);
    if (!units || !bytes) return KO_UTF_NO_MEMORY;
    for (size_t i = 0; i < n; ++i) units[i] = static_cast<UTF16>(static_cast<UTF32>(in[i]) & 0xFFFF);
    units[n] = 0;

    const UTF16* source = units.get();
    UTF8* target = bytes.get();
    if (ConvertUTF16toUTF8(&source, units.get() + n, &target, bytes.get() + 4 * n, strictConversion) !=
        conversionOK)
        return KO_UTF_INVALID;
    *target = 0;
    out = reinterpret_cast<const char*>(bytes.get());
    return 0;
}

int utf8ToUnicode(const std::string& in, std::wstring& out) {
    const size_t n = in.size();
    std::unique_ptr<UTF16[]> units(new (std::nothrow) UTF16[n + 1]);
    std::unique_ptr<wchar_t[]> wide(new (std::nothrow) wchar_t[n + 1]);
    if (!units || !wide) return KO_UTF_NO_MEMORY;

    const UTF8* source = reinterpret_cast<const UTF8*>(in.data());
    UTF16* target = units.get();
    if (ConvertUTF8toUTF16(&source, source + n, &target, units.get() + n, strictConversion) != conversionOK)
        return KO_UTF_INVALID;
    *target = 0;
    size_t count = 0;
    while (units[count] != 0) {
        wide[count] = static_cast<wchar_t>(units[count]);
        ++count;
    }
    wide[count] = 0;
    out.assign(wide.get(), count);
    return 0;
}

std::string StringToWString(std::string text) {
    return text;
}
