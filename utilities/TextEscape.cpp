#include "utilities/TextEscape.h"

#include <cctype>

namespace {

// Bytes of multi-byte UTF-8 characters are never handed to the classifier: in some locales it calls them
// blank.
bool isWhite(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x80 && std::isspace(byte);
}

}  // namespace

void trimWhiteSpace(std::string& text) {
    size_t first = 0;
    while (first < text.size() && isWhite(text[first])) ++first;
    size_t last = text.size();
    while (last > first && isWhite(text[last - 1])) --last;
    text = text.substr(first, last - first);
}

std::string& transform_string_encode(std::string& text, char hidden, char escape) {
    if (text.empty()) {
        text = "`";
        return text;
    }
    if (text[0] == '`') text.insert(1, 1, '`');
    std::string out;
    out.reserve(text.size() + 8);
    for (const char c : text) {
        if (c == hidden) {
            out += escape;
            out += '1';
        } else if (c == escape) {
            out += escape;
            out += '2';
        } else {
            out += c;
        }
    }
    text.swap(out);
    return text;
}

std::string& transform_string_decode(std::string& text, char hidden, char escape) {
    const size_t from = !text.empty() && text[0] == '`' ? 1 : 0;
    std::string out;
    out.reserve(text.size());
    for (size_t i = from; i < text.size(); ++i) {
        if (text[i] == escape && i + 1 < text.size()) {
            out += text[i + 1] == '1' ? hidden : escape;
            ++i;
        } else {
            out += text[i];
        }
    }
    text.swap(out);
    return text;
}
