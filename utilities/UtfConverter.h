#pragma once
// Conversions between UTF-8 and UTF-16 buffers, with the legality rules of the Unicode reference converter.
// Every function here is reentrant: it touches only the buffers it is given and holds no state.
#include "TaskExport.h"

typedef unsigned int UTF32;
typedef unsigned short UTF16;
typedef unsigned char UTF8;
typedef unsigned char Boolean;

enum ConversionResult {
    conversionOK = 0,  // every source unit was converted
    sourceExhausted,   // the source ends inside a sequence (or on a lone high surrogate)
    targetExhausted,   // the next character does not fit in the target
    sourceIllegal      // the source holds an ill-formed sequence (or, strictly, an unpaired surrogate)
};

enum ConversionFlags {
    strictConversion = 0,  // unpaired surrogates are errors
    lenientConversion      // unpaired UTF-16 surrogates are converted; ill-formed UTF-8 is still refused
};

// Whether the `length` bytes at `source` form one well-formed UTF-8 sequence: lengths 1 to 4 only, no
// overlong form, no surrogate (ED A0..BF), nothing above U+10FFFF, continuation bytes 80..BF. Like the
// reference, the lead byte is not checked against `length`; callers pass the length the lead byte announces.
// Returns 1 when legal, 0 otherwise. Reads exactly `length` bytes, which the caller owns.
TASKDB_API Boolean isLegalUTF8(const UTF8* source, int length);

// Converts UTF-8 in [*sourceStart, sourceEnd) into UTF-16 units in [*targetStart, targetEnd).
// Success: conversionOK, *sourceStart == sourceEnd. Failure: the first problem met is returned, the pointers
// stop after the last whole character converted (*sourceStart at the start of the offending sequence).
// Ill-formed UTF-8 is sourceIllegal in both modes; a sequence cut by sourceEnd is sourceExhausted.
// The caller owns both buffers; nothing is allocated.
TASKDB_API ConversionResult ConvertUTF8toUTF16(const UTF8** sourceStart, const UTF8* sourceEnd,
                                               UTF16** targetStart, UTF16* targetEnd, ConversionFlags flags);

// Converts UTF-16 in [*sourceStart, sourceEnd) into UTF-8 bytes in [*targetStart, targetEnd).
// Success: conversionOK. Strict mode: an unpaired surrogate is sourceIllegal, *sourceStart pointing at it.
// Lenient mode: an unpaired surrogate is written as its own three-byte form. A high surrogate as the last
// unit is sourceExhausted in both modes. On targetExhausted the pointers stop before the character that did
// not fit. The caller owns both buffers; nothing is allocated.
TASKDB_API ConversionResult ConvertUTF16toUTF8(const UTF16** sourceStart, const UTF16* sourceEnd,
                                               UTF8** targetStart, UTF8* targetEnd, ConversionFlags flags);
