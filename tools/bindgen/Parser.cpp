// Reading and checking schema/objects.def.
#include <cctype>
#include <fstream>
#include <iterator>
#include <set>

#include "Model.h"

namespace bindgen {
namespace {

// Splits a line at blanks; "..." is one token without its quotes (blanks kept).
bool tokenize(const std::string& line, std::vector<std::string>& out) {
    out.clear();
    size_t i = 0;
    while (i < line.size()) {
        if (std::isspace(static_cast<unsigned char>(line[i]))) {
            ++i;
        } else if (line[i] == '"') {
            size_t end = line.find('"', i + 1);
            if (end == std::string::npos) return false;
            out.push_back(line.substr(i + 1, end - i - 1));
            i = end + 1;
        } else {
            size_t end = i;
            while (end < line.size() && !std::isspace(static_cast<unsigned char>(line[end]))) ++end;
            out.push_back(line.substr(i, end - i));
            i = end;
        }
    }
    return true;
}

bool parseColumn(const std::string& name, const std::string& type, Column& column) {
    if (type.empty() || std::string("ibxtsu").find(type[0]) == std::string::npos) return false;
    column.name = name;
    column.letter = type[0];
    std::string width = type.substr(1);
    if (!width.empty()) {
        if (column.letter != 's' && column.letter != 'u') return false;
        for (char c : width)
            if (!std::isdigit(static_cast<unsigned char>(c))) return false;
        column.width = std::stoi(width);
        if (column.width < 2) return false;
    }
    return true;
}

std::string formatOf(const std::vector<Column>& columns) {
    std::string out;
    for (const Column& c : columns) out += c.letter + (c.width ? std::to_string(c.width) : "") + "|";
    return out;
}

int indexOf(const Object& o, const std::string& name) {
    for (size_t i = 0; i < o.columns.size(); ++i)
        if (o.columns[i].name == name) return static_cast<int>(i);
    return -1;
}

// The argument letters that `format`'s conversions stand for (%d i, %lld b, %s s); "?" for others.
std::string conversionsOf(const std::string& format) {
    std::string out;
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%') continue;
        std::string rest = format.substr(i + 1);
        if (rest.rfind("lld", 0) == 0)
            out += 'b';
        else if (rest.rfind("d", 0) == 0)
            out += 'i';
        else if (rest.rfind("s", 0) == 0)
            out += 's';
        else
            out += '?';
    }
    return out;
}

// Each of the index's comma-separated columns must be a column, optionally followed by DESC or ASC.
std::string checkIndex(const Object& o, const Index& ix) {
    size_t start = 0;
    while (start <= ix.columns.size()) {
        size_t end = ix.columns.find(',', start);
        if (end == std::string::npos) end = ix.columns.size();
        std::vector<std::string> words;
        tokenize(ix.columns.substr(start, end - start), words);
        bool ok = !words.empty() && words.size() <= 2 && indexOf(o, words[0]) >= 0 &&
                  (words.size() == 1 || words[1] == "DESC" || words[1] == "ASC");
        if (!ok) return "index " + ix.name + " has a bad column list \"" + ix.columns + "\"";
        start = end + 1;
    }
    return "";
}

// An empty answer means the object is consistent.
std::string check(const Object& o) {
    if (o.format != formatOf(o.columns))
        return "format " + o.format + " does not match the columns " + formatOf(o.columns);
    std::set<std::string> seen;
    for (const Column& c : o.columns)
        if (!seen.insert(c.name).second) return "column " + c.name + " appears twice";
    if (o.kind == Kind::Table) {
        if (o.version.empty()) return "a table needs a version";
        if (!o.identity.empty()) {
            int at = indexOf(o, o.identity);
            if (at != o.identityIndex)
                return "identity " + o.identity + " is not column " + std::to_string(o.identityIndex);
            if (o.columns[at].letter != 'i') return "identity " + o.identity + " must be an int column";
        }
        if (indexOf(o, o.orderBy) < 0) return "order-by column " + o.orderBy + " is not a column";
        if (o.keys.empty()) return "a table needs a key";
        for (const std::string& k : o.keys) {
            std::string trimmed = k.substr(0, k.find_last_not_of(' ') + 1);
            if (indexOf(o, trimmed) < 0) return "key " + k + " is not a column";
        }
        for (const Index& ix : o.indexes) {
            std::string why = checkIndex(o, ix);
            if (!why.empty()) return why;
        }
        return "";
    }
    if (o.kind == Kind::Procedure) {
        if (o.signature.size() != 20 || o.signature.find_first_not_of("0123456789") != std::string::npos)
            return "a procedure needs a 20-digit signature";
        if (conversionsOf(o.argFormat) != o.args) return "argformat does not match args " + o.args;
    }
    if (o.args.empty() || o.args.find_first_not_of("ibs") != std::string::npos)
        return "args must be letters i, b, s";
    if (o.room <= 0) return "room must be positive";
    return "";
}

}  // namespace

bool parseObjects(const std::string& path, std::vector<Object>& objects, std::string& error) {
    std::ifstream in(path);
    if (!in) {
        error = path + ": cannot be read";
        return false;
    }
    std::string line;
    std::vector<std::string> t;
    Object* cur = nullptr;
    int n = 0;
    auto fail = [&](const std::string& why) {
        error = path + ":" + std::to_string(n) + ": " + why;
        return false;
    };
    while (std::getline(in, line)) {
        ++n;
        size_t first = line.find_first_not_of(" \t");
        if (first == std::string::npos || line[first] == '#') continue;
        if (!tokenize(line, t)) return fail("unterminated quote");
        const std::string& word = t[0];
        if (!cur) {
            if (t.size() != 2 || (word != "table" && word != "procedure" && word != "cursor"))
                return fail("expected: table|procedure|cursor NAME");
            objects.emplace_back();
            cur = &objects.back();
            cur->kind = word == "table" ? Kind::Table : word == "procedure" ? Kind::Procedure : Kind::Cursor;
            cur->name = t[1];
            cur->line = n;
            continue;
        }
        if (word == "end") {
            std::string why = check(*cur);
            if (!why.empty()) return fail(cur->name + ": " + why);
            cur = nullptr;
        } else if (word == "column" && t.size() == 3) {
            cur->columns.emplace_back();
            if (!parseColumn(t[1], t[2], cur->columns.back())) return fail("bad column type " + t[2]);
        } else if (word == "key" && t.size() >= 2) {
            cur->keys.assign(t.begin() + 1, t.end());
        } else if ((word == "index" || word == "unique") && t.size() == 3 && cur->kind == Kind::Table) {
            cur->indexes.push_back(Index{t[1], t[2], word == "unique"});
        } else if (word == "identity" && t.size() == 2 && t[1] == "none") {
            cur->identity.clear();
        } else if (word == "identity" && t.size() == 3) {
            cur->identity = t[1];
            cur->identityIndex = std::stoi(t[2]);
        } else if (word == "args" && t.size() >= 2) {
            cur->args.clear();
            for (size_t i = 1; i < t.size(); ++i) cur->args += t[i];
        } else if (word == "statement" && t.size() == 3) {
            // statement sqlserver|sqlite|postgres FILE: the text of a file beside objects.def.
            std::string* field = t[1] == "sqlserver"  ? &cur->statement
                                 : t[1] == "sqlite"   ? &cur->sqliteStatement
                                 : t[1] == "postgres" ? &cur->postgresStatement
                                                      : nullptr;
            if (!field) return fail("statement dialect must be sqlserver, sqlite or postgres");
            std::string dir = path.substr(0, path.find_last_of('/') + 1);
            std::ifstream sql(dir + t[2], std::ios::binary);
            if (!sql) return fail(dir + t[2] + ": cannot be read");
            field->assign(std::istreambuf_iterator<char>(sql), std::istreambuf_iterator<char>());
        } else if (word == "room" && t.size() == 2) {
            cur->room = std::stoi(t[1]);
        } else if (t.size() == 2 && (word == "version" || word == "orderby" || word == "format" ||
                                     word == "signature" || word == "argformat" || word == "statement")) {
            std::string& field = word == "version"     ? cur->version
                                 : word == "orderby"   ? cur->orderBy
                                 : word == "format"    ? cur->format
                                 : word == "signature" ? cur->signature
                                 : word == "argformat" ? cur->argFormat
                                                       : cur->statement;
            field = t[1];
        } else {
            return fail("unknown line: " + line);
        }
    }
    if (cur) return fail(cur->name + " has no end");
    return true;
}

}  // namespace bindgen
