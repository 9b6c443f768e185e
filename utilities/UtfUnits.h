#pragma once
// Internal pieces of the UTF converters, kept apart so each rule can be checked on its own.
#include "utilities/UtfConverter.h"

namespace utfunits {

constexpr UTF32 kReplacement = 0xFFFD;
constexpr UTF32 kMaxBmp = 0xFFFF;
constexpr UTF32 kMaxUtf16 = 0x10FFFF;
constexpr UTF32 kHighFirst = 0xD800;
constexpr UTF32 kHighLast = 0xDBFF;
constexpr UTF32 kLowFirst = 0xDC00;
constexpr UTF32 kLowLast = 0xDFFF;

inline bool isHighSurrogate(UTF32 c) {
    return c >= kHighFirst && c <= kHighLast;
}
inline bool isLowSurrogate(UTF32 c) {
    return c >= kLowFirst && c <= kLowLast;
}
inline bool isSurrogate(UTF32 c) {
    return c >= kHighFirst && c <= kLowLast;
}

// How many continuation bytes a lead byte announces, counting the old five- and six-byte forms (F8..FF).
int trailingBytes(UTF8 lead);

// Writes one code point as one or two UTF-16 units at `target` (advanced past them).
// conversionOK when written; targetExhausted (nothing written) when it does not fit before `end`;
// sourceIllegal for a surrogate value or a value above U+10FFFF in strict mode, which lenient mode writes
// as U+FFFD instead.
ConversionResult putUtf16(UTF32 ch, ConversionFlags flags, UTF16*& target, UTF16* end);

}  // namespace utfunits
