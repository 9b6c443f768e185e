#include "platform/db/odbc/Utf16.h"

namespace dbl {
namespace odbc {

namespace {
constexpr char32_t kReplacement = 0xFFFD;

// Decodes one code point at in[i] and advances i; kReplacement (one byte consumed) when invalid.
char32_t decode(const std::string& in, size_t& i) {
    const unsigned char lead = static_cast<unsigned char>(in[i]);
    int extra;
    char32_t cp;
    if (lead < 0x80) {
        ++i;
        return lead;
    } else if (lead >= 0xC2 && lead <= 0xDF) {
        extra = 1;
        cp = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        extra = 2;
        cp = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        extra = 3;
        cp = lead & 0x07;
    } else {
        ++i;
        return kReplacement;
    }
    if (in.size() - i <= static_cast<size_t>(extra)) {  // cut short by the end of the text
        ++i;
        return kReplacement;
    }
    for (int k = 1; k <= extra; ++k) {
        const unsigned char c = static_cast<unsigned char>(in[i + static_cast<size_t>(k)]);
        if ((c & 0xC0) != 0x80) {
            ++i;
            return kReplacement;
        }
        cp = (cp << 6) | (c & 0x3F);
    }
    // Overlong forms, surrogates and values past U+10FFFF are not UTF-8.
    const char32_t minimum = extra == 1 ? 0x80 : extra == 2 ? 0x800 : 0x10000;
    if (cp < minimum || (cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) {
        ++i;
        return kReplacement;
    }
    i += static_cast<size_t>(extra) + 1;
    return cp;
}

void append(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}
}  // namespace

std::u16string utf8ToUtf16(const std::string& in) {
    std::u16string out;
    out.reserve(in.size());
    for (size_t i = 0; i < in.size();) {
        char32_t cp = decode(in, i);
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 | (cp >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 | (cp & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(cp));
        }
    }
    return out;
}

std::string utf16ToUtf8(const char16_t* in, size_t units) {
    std::string out;
    out.reserve(units);
    for (size_t i = 0; i < units; ++i) {
        char32_t cp = in[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < units && in[i + 1] >= 0xDC00 && in[i + 1] <= 0xDFFF) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (in[i + 1] - 0xDC00);
            ++i;
        } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            cp = kReplacement;
        }
        append(out, cp);
    }
    return out;
}

}  // namespace odbc
}  // namespace dbl
