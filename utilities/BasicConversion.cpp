#include "utilities/BasicConversion.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace {

// Large enough for "%f" of the largest double (309 integer digits, the point and six decimals).
constexpr size_t kBufferSize = 400;

template <typename T>
void format(std::string& text, const char* fmt, T value) {
    char buffer[kBufferSize];
    std::snprintf(buffer, sizeof buffer, fmt, value);
    text = buffer;
}

// Reads a number as sscanf's "%lld" and "%llu" do (glibc scans those with strtoll and strtoull),
// without starting the scanner: task readers convert a number text on every row.
// EOF for empty or blank text, 0 when no number starts it, 1 when one was stored.
template <typename T>
int scanInteger(T& value, const std::string& text, T (*parse)(const char*, char**, int)) {
    const char* p = text.c_str();
    while (std::isspace(static_cast<unsigned char>(*p))) ++p;
    if (*p == '\0') return EOF;
    char* end = nullptr;
    const T v = parse(p, &end, 10);
    if (end == p) return 0;
    value = v;
    return 1;
}

}  // namespace

int BasicConversion::fromString(short& value, const std::string& text) {
    return std::sscanf(text.c_str(), "%hd", &value);
}
int BasicConversion::fromString(unsigned short& value, const std::string& text) {
    return std::sscanf(text.c_str(), "%hu", &value);
}
int BasicConversion::fromString(int& value, const std::string& text) {
    return std::sscanf(text.c_str(), "%d", &value);
}
int BasicConversion::fromString(unsigned int& value, const std::string& text) {
    return std::sscanf(text.c_str(), "%u", &value);
}
int BasicConversion::fromString(long& value, const std::string& text) {
    return std::sscanf(text.c_str(), "%ld", &value);
}
int BasicConversion::fromString(unsigned long& value, const std::string& text) {
    return std::sscanf(text.c_str(), "%lu", &value);
}
int BasicConversion::fromString(long long& value, const std::string& text) {
    return scanInteger<long long>(value, text, std::strtoll);
}
int BasicConversion::fromString(unsigned long long& value, const std::string& text) {
    return scanInteger<unsigned long long>(value, text, std::strtoull);
}
int BasicConversion::fromString(float& value, const std::string& text) {
    return std::sscanf(text.c_str(), "%f", &value);
}
int BasicConversion::fromString(double& value, const std::string& text) {
    return std::sscanf(text.c_str(), "%lf", &value);
}

bool& BasicConversion::fromString(bool& value, const std::string& text) {
    value = !text.empty() && text[0] != '0' && text != "false";
    return value;
}
char& BasicConversion::fromString(char& value, const std::string& text) {
    value = text.c_str()[0];
    return value;
}
unsigned char& BasicConversion::fromString(unsigned char& value, const std::string& text) {
    value = static_cast<unsigned char>(text.c_str()[0]);
    return value;
}

int BasicConversion::fromHexString(unsigned short& value, const std::string& text) {
    return std::sscanf(text.c_str(), "%hx", &value);
}
int BasicConversion::fromHexString(unsigned int& value, const std::string& text) {
    return std::sscanf(text.c_str(), "%x", &value);
}
int BasicConversion::fromHexString(unsigned long& value, const std::string& text) {
    return std::sscanf(text.c_str(), "%lx", &value);
}
int BasicConversion::fromHexString(long long& value, const std::string& text) {
    unsigned long long bits = 0;
    const int converted = std::sscanf(text.c_str(), "%llx", &bits);
    if (converted == 1) value = static_cast<long long>(bits);
    return converted;
}
int BasicConversion::fromHexString(unsigned long long& value, const std::string& text) {
    return std::sscanf(text.c_str(), "%llx", &value);
}

void BasicConversion::toString(bool value, std::string& text) {
    text = value ? "1" : "0";
}
void BasicConversion::toString(char value, std::string& text) {
    format(text, "%c", value);
}
void BasicConversion::toString(unsigned char value, std::string& text) {
    format(text, "%c", value);
}
void BasicConversion::toString(short value, std::string& text) {
    format(text, "%hd", value);
}
void BasicConversion::toString(unsigned short value, std::string& text) {
    format(text, "%hu", value);
}
void BasicConversion::toString(int value, std::string& text) {
    format(text, "%d", value);
}
void BasicConversion::toString(unsigned int value, std::string& text) {
    format(text, "%u", value);
}
void BasicConversion::toString(long value, std::string& text) {
    format(text, "%ld", value);
}
void BasicConversion::toString(unsigned long value, std::string& text) {
    format(text, "%lu", value);
}
void BasicConversion::toString(long long value, std::string& text) {
    format(text, "%lld", value);
}
void BasicConversion::toString(unsigned long long value, std::string& text) {
    format(text, "%llu", value);
}
void BasicConversion::toString(float value, std::string& text) {
    format(text, "%f", static_cast<double>(value));
}
void BasicConversion::toString(double value, std::string& text) {
    format(text, "%f", value);
}

void BasicConversion::toHexString(unsigned short value, std::string& text) {
    format(text, "0x%hx", value);
}
void BasicConversion::toHexString(unsigned int value, std::string& text) {
    format(text, "0x%x", value);
}
void BasicConversion::toHexString(unsigned long value, std::string& text) {
    format(text, "0x%lx", value);
}
void BasicConversion::toHexString(long long value, std::string& text) {
    format(text, "0x%llx", static_cast<unsigned long long>(value));
}
void BasicConversion::toHexString(unsigned long long value, std::string& text) {
    format(text, "0x%llx", value);
}
