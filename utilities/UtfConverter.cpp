#include "utilities/UtfConverter.h"

#include "utilities/UtfUnits.h"

namespace utfunits {

int trailingBytes(UTF8 lead) {
    if (lead < 0xC0) return 0;  // ASCII, or a continuation byte standing where a lead belongs
    if (lead < 0xE0) return 1;
    if (lead < 0xF0) return 2;
    if (lead < 0xF8) return 3;
    if (lead < 0xFC) return 4;
    return 5;
}

ConversionResult putUtf16(UTF32 ch, ConversionFlags flags, UTF16*& target, UTF16* end) {
    if (target >= end) return targetExhausted;
    if (ch <= kMaxBmp) {
        if (isSurrogate(ch)) {
            if (flags == strictConversion) return sourceIllegal;
            ch = kReplacement;
        }
        *target++ = static_cast<UTF16>(ch);
        return conversionOK;
    }
    if (ch > kMaxUtf16) {
        if (flags == strictConversion) return sourceIllegal;
        *target++ = static_cast<UTF16>(kReplacement);
        return conversionOK;
    }
    if (end - target < 2) return targetExhausted;
    ch -= 0x10000;
    *target++ = static_cast<UTF16>(kHighFirst + (ch >> 10));
    *target++ = static_cast<UTF16>(kLowFirst + (ch & 0x3FF));
    return conversionOK;
}

}  // namespace utfunits

using namespace utfunits;

Boolean isLegalUTF8(const UTF8* source, int length) {
    if (length < 1 || length > 4) return 0;
    const UTF8 lead = source[0];
    // C0 and C1 could only start overlong two-byte forms; F5 and above would exceed U+10FFFF.
    if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4) return 0;
    if (length == 1) return 1;
    for (int i = 2; i < length; ++i) {
        if (source[i] < 0x80 || source[i] > 0xBF) return 0;
    }
    // The second byte carries the range limits: overlong three- and four-byte forms, surrogates, > U+10FFFF.
    const UTF8 second = source[1];
    if (second > 0xBF) return 0;
    switch (lead) {
        case 0xE0:
            return second >= 0xA0;
        case 0xED:
            return second <= 0x9F;
        case 0xF0:
            return second >= 0x90;
        case 0xF4:
            return second <= 0x8F;
        default:
            return second >= 0x80;
    }
}

ConversionResult ConvertUTF8toUTF16(const UTF8** sourceStart, const UTF8* sourceEnd, UTF16** targetStart,
                                    UTF16* targetEnd, ConversionFlags flags) {
    ConversionResult result = conversionOK;
    const UTF8* source = *sourceStart;
    UTF16* target = *targetStart;
    while (source < sourceEnd) {
        const int extra = trailingBytes(*source);
        if (extra >= sourceEnd - source) {
            result = sourceExhausted;
            break;
        }
        // Ill-formed input is refused whatever the flags say: lenient mode only forgives surrogates.
        if (!isLegalUTF8(source, extra + 1)) {
            result = sourceIllegal;
            break;
        }
        UTF32 ch = extra == 0 ? source[0] : source[0] & (0x7Fu >> extra);
        for (int i = 1; i <= extra; ++i) ch = (ch << 6) | (source[i] & 0x3Fu);
        result = putUtf16(ch, flags, target, targetEnd);
        if (result != conversionOK) break;
        source += extra + 1;
    }
    *sourceStart = source;
    *targetStart = target;
    return result;
}

ConversionResult ConvertUTF16toUTF8(const UTF16** sourceStart, const UTF16* sourceEnd, UTF8** targetStart,
                                    UTF8* targetEnd, ConversionFlags flags) {
    ConversionResult result = conversionOK;
    const UTF16* source = *sourceStart;
    UTF8* target = *targetStart;
    while (source < sourceEnd) {
        const UTF16* first = source;
        UTF32 ch = *source++;
        if (isHighSurrogate(ch)) {
            if (source == sourceEnd) {  // its partner may be in the caller's next buffer
                source = first;
                result = sourceExhausted;
                break;
            }
            if (isLowSurrogate(*source)) {
                ch = ((ch - kHighFirst) << 10) + (*source++ - kLowFirst) + 0x10000;
            } else if (flags == strictConversion) {
                source = first;
                result = sourceIllegal;
                break;
            }
        } else if (isLowSurrogate(ch) && flags == strictConversion) {
            source = first;
            result = sourceIllegal;
            break;
        }
        const int bytes = ch < 0x80 ? 1 : ch < 0x800 ? 2 : ch < 0x10000 ? 3 : 4;
        if (targetEnd - target < bytes) {
            source = first;
            result = targetExhausted;
            break;
        }
        static const UTF8 kLeadMark[5] = {0x00, 0x00, 0xC0, 0xE0, 0xF0};
        for (int i = bytes - 1; i > 0; --i) {
            target[i] = static_cast<UTF8>(0x80 | (ch & 0x3F));
            ch >>= 6;
        }
        target[0] = static_cast<UTF8>(kLeadMark[bytes] | ch);
        target += bytes;
    }
    *sourceStart = source;
    *targetStart = target;
    return result;
}
