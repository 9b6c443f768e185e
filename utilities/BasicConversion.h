#pragma once
// Number <-> text conversions through the C library's scanner and formatter, so the texts match what other
// modules of the server read and write with the same formats.
// All members are static and reentrant; the caller owns every value and text.
#include <string>

#include "TaskExport.h"

class TASKDB_API BasicConversion {
  public:
    // Readers. Success: the scanner's count of converted fields (1). Failure: 0 when the text does not start
    // with a number, EOF (-1) for empty or all-blank text; the value is then left as it was. Out-of-range
    // numbers get whatever the C library scanner gives.
    static int fromString(short& value, const std::string& text);               // "%hd"
    static int fromString(unsigned short& value, const std::string& text);      // "%hu"
    static int fromString(int& value, const std::string& text);                 // "%d"
    static int fromString(unsigned int& value, const std::string& text);        // "%u"
    static int fromString(long& value, const std::string& text);                // "%ld"
    static int fromString(unsigned long& value, const std::string& text);       // "%lu"
    static int fromString(long long& value, const std::string& text);           // "%lld"
    static int fromString(unsigned long long& value, const std::string& text);  // "%llu"
    static int fromString(float& value, const std::string& text);               // "%f"
    static int fromString(double& value, const std::string& text);              // "%lf"

    // Reads a flag: false for empty text, for text whose first character is '0' and for exactly "false";
    // true for anything else ("no", "False", "2" included). Never fails; returns `value`.
    static bool& fromString(bool& value, const std::string& text);
    // Reads the first character (the terminating zero for empty text). Never fails; returns `value`.
    static char& fromString(char& value, const std::string& text);
    static unsigned char& fromString(unsigned char& value, const std::string& text);

    // Hexadecimal readers: an optional 0x/0X prefix is accepted. Results as for fromString.
    static int fromHexString(unsigned short& value, const std::string& text);      // "%hx"
    static int fromHexString(unsigned int& value, const std::string& text);        // "%x"
    static int fromHexString(unsigned long& value, const std::string& text);       // "%lx"
    static int fromHexString(long long& value, const std::string& text);           // "%llx", two's complement
    static int fromHexString(unsigned long long& value, const std::string& text);  // "%llx"

    // Writers: replace `text` with the formatted value. Never fail. A char of zero gives the empty text.
    static void toString(bool value, std::string& text);  // "1" or "0"
    static void toString(char value, std::string& text);  // "%c"
    static void toString(unsigned char value, std::string& text);
    static void toString(short value, std::string& text);
    static void toString(unsigned short value, std::string& text);
    static void toString(int value, std::string& text);
    static void toString(unsigned int value, std::string& text);
    static void toString(long value, std::string& text);
    static void toString(unsigned long value, std::string& text);
    static void toString(long long value, std::string& text);
    static void toString(unsigned long long value, std::string& text);
    static void toString(float value, std::string& text);   // "%f": six decimals
    static void toString(double value, std::string& text);  // "%f": six decimals

    // Hexadecimal writers: always a lower-case "0x" prefix and lower-case digits; long long is written as its
    // two's complement (-1 gives 0xffffffffffffffff).
    static void toHexString(unsigned short value, std::string& text);
    static void toHexString(unsigned int value, std::string& text);
    static void toHexString(unsigned long value, std::string& text);
    static void toHexString(long long value, std::string& text);
    static void toHexString(unsigned long long value, std::string& text);
};
