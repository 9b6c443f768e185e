#include "tools/taskdb/Output.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

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
    std::cout << value.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

int reportFailure(const std::string& what, int code, const std::string& err) {
    std::cerr << "taskdb: " << what << " failed (code " << code << ")" << (err.empty() ? "" : ": " + err)
              << '\n';
    return 1;
}
