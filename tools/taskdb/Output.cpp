#include "tools/taskdb/Output.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "utilities/UtfConverter.h"

namespace {

bool startsWithNoCase(const std::string& text, size_t at, const char* word) {
    for (size_t i = 0; word[i]; ++i)
        if (at + i >= text.size() || std::tolower(static_cast<unsigned char>(text[at + i])) != word[i])
            return false;
    return true;
}

// The end of an attribute value starting at `at`: a braced value ends after its closing brace ("}}" is
// a brace inside it), a plain one at the next ';' or the end of an enclosing bracket.
size_t valueEnd(const std::string& text, size_t at) {
    if (at < text.size() && text[at] == '{') {
        for (size_t i = at + 1; i < text.size(); ++i) {
            if (text[i] != '}') continue;
            if (i + 1 < text.size() && text[i + 1] == '}') {
                ++i;
                continue;
            }
            return i + 1;
        }
        return text.size();
    }
    size_t end = text.find_first_of(";]\n", at);
    return end == std::string::npos ? text.size() : end;
}

// Replaces bytes that are not UTF-8 in every string of `value` by the text \xNN; true when any was.
bool escapeInvalidUtf8(Json& value) {
    bool changed = false;
    if (value.is_string()) {
        const std::string& s = value.get_ref<const std::string&>();
        std::string out;
        size_t i = 0;
        bool bad = false;
        while (i < s.size()) {
            unsigned char c = static_cast<unsigned char>(s[i]);
            int len = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
            bool ok = len != 0 && i + len <= s.size() &&
                      isLegalUTF8(reinterpret_cast<const UTF8*>(s.data() + i), len);
            if (ok) {
                out.append(s, i, len);
                i += len;
            } else {
                char hex[5];
                std::snprintf(hex, sizeof hex, "\\x%02x", c);
                out += hex;
                ++i;
                bad = true;
            }
        }
        if (bad) value = out;
        return bad;
    }
    if (value.is_structured())
        for (auto& item : value) changed = escapeInvalidUtf8(item) || changed;
    return changed;
}

}  // namespace

std::string maskSecrets(const std::string& text) {
    std::string out;
    size_t i = 0;
    while (i < text.size()) {
        bool boundary = i == 0 || std::string(";{[ '\"\t:").find(text[i - 1]) != std::string::npos;
        size_t keyLen = !boundary                                ? 0
                        : startsWithNoCase(text, i, "password=") ? 9
                        : startsWithNoCase(text, i, "pwd=")      ? 4
                                                                 : 0;
        if (keyLen == 0) {
            out += text[i++];
            continue;
        }
        out.append(text, i, keyLen);
        out += "****";
        i = valueEnd(text, i + keyLen);
    }
    return out;
}

void printTable(const std::vector<std::string>& header, const std::vector<std::vector<std::string>>& rows) {
    std::vector<size_t> width(header.size());
    for (size_t c = 0; c < header.size(); ++c) width[c] = header[c].size();
    for (const auto& r : rows)
        for (size_t c = 0; c < r.size() && c < width.size(); ++c) width[c] = std::max(width[c], r[c].size());
    auto line = [&](const std::vector<std::string>& cells) {
        std::string out;
        for (size_t c = 0; c < width.size(); ++c) {
            std::string cell = c < cells.size() ? cells[c] : "";
            out += cell;
            if (c + 1 < width.size()) out += std::string(width[c] - cell.size() + 2, ' ');
        }
        std::cout << out << '\n';
    };
    line(header);
    std::vector<std::string> rule;
    for (size_t w : width) rule.push_back(std::string(w, '-'));
    line(rule);
    for (const auto& r : rows) line(r);
    if (rows.empty()) std::cout << "(none)\n";
}

void printRecord(const std::vector<std::pair<std::string, std::string>>& fields) {
    size_t w = 0;
    for (const auto& f : fields) w = std::max(w, f.first.size());
    for (const auto& f : fields)
        std::cout << f.first << ':' << std::string(w - f.first.size() + 1, ' ') << f.second << '\n';
}

void printJson(const Json& value) {
    Json copy = value;
    if (escapeInvalidUtf8(copy))
        std::cerr << "taskdb: some values are not valid UTF-8; their bytes are shown as \\xNN\n";
    std::cout << copy.dump(2) << '\n';
}

int reportFailure(const std::string& what, int code, const std::string& err) {
    std::cerr << "taskdb: " << what << " failed (code " << code << ")"
              << (err.empty() ? "" : ": " + maskSecrets(err)) << '\n';
    return kExitFailure;
}

int checkCall(const std::string& what, int rc, const std::string& err) {
    if (rc == 0 && err.empty()) return kExitOk;
    return reportFailure(what, rc, err);
}

int reportNotFound(const std::string& what) {
    std::cerr << "taskdb: " << what << " not found\n";
    return kExitFailure;
}
