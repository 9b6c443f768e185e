#pragma once
// Conversion of database character columns to the library's text type.
#include <string>

class FXString {
  public:
    // A null pointer gives the empty text.
    static std::string ToString(const char* text) { return text ? std::string(text) : std::string(); }
    static std::string ToString(const std::string& text) { return text; }
};
