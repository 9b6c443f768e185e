#include "utilities/StringParser.h"

bool NthDelimiter::operator()(char c) {
    if (n == 0) return true;
    if (c != delimiter) return false;
    return ++count == n;
}

namespace {

// Where `pred` first holds, searching from the start of `text`; the end when it never does.
std::string::const_iterator findWith(const std::string& text, NthDelimiter pred) {
    auto it = text.begin();
    while (it != text.end() && !pred(*it)) ++it;
    return it;
}

}  // namespace

std::vector<std::string>& StringParser::getComponents(int n) {
    int made = 0;
    auto start = findWith(m_text, NthDelimiter(0, m_delimiter));
    // Each stop is searched from the beginning again; lists here are short, so the quadratic cost is
    // accepted.
    while (start != m_text.end()) {
        ++made;
        const auto stop = findWith(m_text, NthDelimiter(made, m_delimiter));
        const auto from = made == 1 ? start : start + 1;  // later components begin on their delimiter
        m_components.emplace_back(from, stop);
        start = stop;
    }
    for (; n != 0 && made < n; ++made) m_components.emplace_back();
    return m_components;
}
