// printf formatting with the layer's escaping. The format is parsed here, one conversion at a time, so
// that each argument is taken with the right type and every %s text can have its quotes doubled before
// it is placed; everything else is formatted by snprintf with the same conversion.
#include "platform/db/DBformat.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <string>

namespace {

// One parsed conversion: "%<flags><width>.<precision><length><conversion>".
struct Conversion {
    std::string flags;
    int width = -1;      // -1: none
    int precision = -1;  // -1: none
    std::string length;  // "", hh, h, l, ll, z, j, t, L
    char conversion = 0;
};

// The conversion as snprintf reads it, with any '*' already resolved to numbers.
std::string conversionText(const Conversion& s, const char* lengthOverride = nullptr) {
    std::string out = "%" + s.flags;
    if (s.width >= 0) out += std::to_string(s.width);
    if (s.precision >= 0) out += "." + std::to_string(s.precision);
    out += lengthOverride ? lengthOverride : s.length;
    out += s.conversion;
    return out;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
template <class T>
void appendValue(std::string& out, const std::string& conv, T value) {
    char small[128];
    int n = std::snprintf(small, sizeof small, conv.c_str(), value);
    if (n < 0) return;
    if (static_cast<size_t>(n) < sizeof small) {
        out.append(small, static_cast<size_t>(n));
        return;
    }
    std::string big(static_cast<size_t>(n) + 1, '\0');
    std::snprintf(&big[0], big.size(), conv.c_str(), value);
    out.append(big.data(), static_cast<size_t>(n));
}
#pragma GCC diagnostic pop

// UTF-8 form of a wide text (for %ls); code points outside Unicode become '?'.
std::string narrow(const wchar_t* w, int precision) {
    std::string out;
    for (; *w && (precision < 0 || static_cast<int>(out.size()) < precision); ++w) {
        uint32_t c = static_cast<uint32_t>(*w);
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x110000) {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += '?';
        }
    }
    return out;
}

// A %s argument: cut to the precision, quotes doubled, then padded to the width.
void appendText(std::string& out, const Conversion& s, const std::string& text) {
    std::string escaped;
    escaped.reserve(text.size() + 8);
    for (char c : text) {
        escaped += c;
        if (c == '\'') escaped += '\'';
    }
    size_t pad = s.width > 0 && static_cast<size_t>(s.width) > escaped.size()
                     ? static_cast<size_t>(s.width) - escaped.size()
                     : 0;
    bool left = s.flags.find('-') != std::string::npos;
    if (!left) out.append(pad, ' ');
    out += escaped;
    if (left) out.append(pad, ' ');
}

void appendSigned(std::string& out, const Conversion& s, va_list& ap) {
    const std::string conv = conversionText(s);
    if (s.length == "l")
        appendValue(out, conv, va_arg(ap, long));
    else if (s.length == "ll" || s.length == "L")
        appendValue(out, conversionText(s, "ll"), va_arg(ap, long long));
    else if (s.length == "z")
        appendValue(out, conv, va_arg(ap, ptrdiff_t));  // the signed size type
    else if (s.length == "j")
        appendValue(out, conv, va_arg(ap, intmax_t));
    else if (s.length == "t")
        appendValue(out, conv, va_arg(ap, ptrdiff_t));
    else
        appendValue(out, conv, va_arg(ap, int));  // hh and h arrive promoted; snprintf narrows them
}

void appendUnsigned(std::string& out, const Conversion& s, va_list& ap) {
    const std::string conv = conversionText(s);
    if (s.length == "l")
        appendValue(out, conv, va_arg(ap, unsigned long));
    else if (s.length == "ll" || s.length == "L")
        appendValue(out, conversionText(s, "ll"), va_arg(ap, unsigned long long));
    else if (s.length == "z")
        appendValue(out, conv, va_arg(ap, size_t));
    else if (s.length == "j")
        appendValue(out, conv, va_arg(ap, uintmax_t));
    else if (s.length == "t")
        appendValue(out, conv, static_cast<size_t>(va_arg(ap, ptrdiff_t)));
    else
        appendValue(out, conv, va_arg(ap, unsigned int));
}

// Reads flags, width, precision and length at `p`; '*' takes an int argument. Returns the
// position of the conversion character.
const char* parseSpec(const char* p, Conversion& s, va_list& ap) {
    while (*p == '-' || *p == '+' || *p == ' ' || *p == '#' || *p == '0' || *p == '\'') s.flags += *p++;
    if (*p == '*') {
        s.width = va_arg(ap, int);
        if (s.width < 0) {
            s.flags += '-';
            s.width = -s.width;
        }
        ++p;
    } else if (*p >= '0' && *p <= '9') {
        s.width = 0;
        while (*p >= '0' && *p <= '9') s.width = s.width * 10 + (*p++ - '0');
    }
    if (*p == '.') {
        ++p;
        s.precision = 0;
        if (*p == '*') {
            s.precision = va_arg(ap, int);
            if (s.precision < 0) s.precision = -1;  // a negative precision counts as none
            ++p;
        } else {
            while (*p >= '0' && *p <= '9') s.precision = s.precision * 10 + (*p++ - '0');
        }
    }
    if ((p[0] == 'h' && p[1] == 'h') || (p[0] == 'l' && p[1] == 'l')) {
        s.length.assign(p, 2);
        p += 2;
    } else if (*p == 'h' || *p == 'l' || *p == 'z' || *p == 'j' || *p == 't' || *p == 'L') {
        s.length.assign(p, 1);
        ++p;
    }
    return p;
}

void formatInto(std::string& out, const char* format, va_list args) {
    if (!format) return;
    va_list ap;
    va_copy(ap, args);
    for (const char* p = format; *p;) {
        if (*p != '%') {
            const char* next = p;
            while (*next && *next != '%') ++next;
            out.append(p, static_cast<size_t>(next - p));
            p = next;
            continue;
        }
        const char* start = p++;
        if (*p == '%') {
            out += '%';
            ++p;
            continue;
        }
        Conversion s;
        p = parseSpec(p, s, ap);
        s.conversion = *p;
        switch (*p) {
            case 'd':
            case 'i':
                appendSigned(out, s, ap);
                break;
            case 'u':
            case 'o':
            case 'x':
            case 'X':
                appendUnsigned(out, s, ap);
                break;
            case 'c':
                if (s.length == "l")
                    appendValue(out, conversionText(s), static_cast<wint_t>(va_arg(ap, wint_t)));
                else
                    appendValue(out, conversionText(s), va_arg(ap, int));
                break;
            case 's':
                if (s.length == "l") {
                    const wchar_t* w = va_arg(ap, const wchar_t*);
                    appendText(out, s, w ? narrow(w, s.precision) : std::string("(null)"));
                } else {
                    const char* text = va_arg(ap, const char*);
                    std::string value = text ? std::string(text) : std::string("(null)");
                    if (s.precision >= 0 && value.size() > static_cast<size_t>(s.precision))
                        value.resize(static_cast<size_t>(s.precision));
                    appendText(out, s, value);
                }
                break;
            case 'p':
                appendValue(out, conversionText(s), va_arg(ap, void*));
                break;
            case 'f':
            case 'F':
            case 'e':
            case 'E':
            case 'g':
            case 'G':
            case 'a':
            case 'A':
                if (s.length == "L")
                    appendValue(out, conversionText(s), va_arg(ap, long double));
                else
                    appendValue(out, conversionText(s, ""), va_arg(ap, double));
                break;
            case 'n':
                (void)va_arg(ap, void*);  // never writes through caller memory
                break;
            default:
                // Not a conversion: the text stands as written (and the end of the format ends it).
                out.append(start, static_cast<size_t>(p - start));
                if (*p) out += *p;
                break;
        }
        if (*p) ++p;
    }
    va_end(ap);
}

}  // namespace

unsigned long DBsizeof(const char* format, va_list args) {
    std::string out;
    formatInto(out, format, args);
    return static_cast<unsigned long>(out.size());
}

unsigned long DBsprintf(char* buffer, unsigned long length, const char* format, va_list args) {
    std::string out;
    formatInto(out, format, args);
    if (buffer && length > 0) {
        size_t n = out.size() < length - 1 ? out.size() : length - 1;
        out.copy(buffer, n);
        buffer[n] = '\0';
    }
    return static_cast<unsigned long>(out.size());
}

std::string DBvformat(const char* format, va_list args) {
    std::string out;
    formatInto(out, format, args);
    return out;
}

std::string DBformat(const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::string out = DBvformat(format, args);
    va_end(args);
    return out;
}
