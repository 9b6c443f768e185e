// Procedure and cursor inputs: bound value objects or argument text, turned into parameters.
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "platform/db/DBerrors.h"
#include "platform/db/DBformat.h"
#include "platform/db/SqlTokens.h"
#include "platform/db/table/DBtableImpl.h"

namespace {

// The parameter for one value object, through its virtual interface only.
dbl::Param paramFor(const KODBDataTypeBase& v) {
    dbl::Param p;
    if (v.isNull) return p;
    v.setString();
    const std::string text = v.getStr();
    const int type = static_cast<int>(v.getDataType());
    if (type == 1 || type == 4) {
        p.type = dbl::Param::kInt;
        p.i = std::strtoll(text.c_str(), nullptr, 10);
        return p;
    }
    p.type = dbl::Param::kText;
    DB_DATETIME date;
    p.s = type == 5 && DBparseDate(text, date) ? DBodbcDate(date) : text;
    return p;
}

// Reads "5,-1,N'x',NULL" into parameters; false with `err` set for anything else.
bool parseArguments(const std::string& text, std::vector<dbl::Param>& out, std::string& err) {
    std::vector<dbl::Token> all, toks;
    if (!dbl::tokenize(text, all, err)) return false;
    for (const dbl::Token& t : all)
        if (dbl::significant(t)) toks.push_back(t);
    for (size_t i = 0; i < toks.size(); ++i) {
        std::string sign;
        if (toks[i].kind == dbl::Token::Other && (text[toks[i].begin] == '-' || text[toks[i].begin] == '+')) {
            sign = text.substr(toks[i].begin, 1);
            if (++i >= toks.size() || toks[i].kind != dbl::Token::Number) break;
        }
        const dbl::Token& t = toks[i];
        dbl::Param p;
        if (t.kind == dbl::Token::Number) {
            std::string n = sign + text.substr(t.begin, t.end - t.begin);
            char* end = nullptr;
            errno = 0;
            long long v = std::strtoll(n.c_str(), &end, 10);
            if (errno == 0 && end && *end == '\0') {
                p.type = dbl::Param::kInt;
                p.i = v;
            } else {
                p.type = dbl::Param::kText;  // decimals and out-of-range numbers keep their text
                p.s = n;
            }
        } else if (t.kind == dbl::Token::String || t.kind == dbl::Token::NString) {
            p.type = dbl::Param::kText;
            p.s = dbl::tokenValue(text, t);
        } else if (!dbl::isWord(text, t, "NULL")) {
            break;
        }
        out.push_back(std::move(p));
        if (i + 1 == toks.size()) return true;
        if (toks[++i].kind != dbl::Token::Comma || i + 1 == toks.size()) break;
    }
    if (toks.empty()) return true;
    err = "cannot read the argument text [" + text + "]";
    return false;
}

// The statement text with each printf placeholder replaced by the next value. `asSql`: texts are
// SQL fragments, placed as they are (%w: a condition in parentheses, 1=1 when blank); otherwise
// texts have their quotes doubled.
std::string fillPlaceholders(const std::string& format, const std::vector<dbl::Param>& values,
                             bool asSql = false) {
    std::string out;
    size_t next = 0;
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%') {
            out += format[i];
            continue;
        }
        if (i + 1 < format.size() && format[i + 1] == '%') {
            out += '%';
            ++i;
            continue;
        }
        size_t j = i + 1;
        while (j < format.size() && std::strchr("-+ #0'123456789.*hlzjtL", format[j])) ++j;
        if (j >= format.size()) {
            out += format.substr(i);
            break;
        }
        const dbl::Param* p = next < values.size() ? &values[next++] : nullptr;
        if (asSql && format[j] == 'w') {
            const bool blank =
                !p || p->type != dbl::Param::kText || p->s.find_first_not_of(" \t\r\n") == std::string::npos;
            out += blank ? "1=1" : "(" + p->s + ")";
        } else if (!p || p->type == dbl::Param::kNull) {
            out += format[j] == 's' ? "" : "NULL";
        } else if (p->type == dbl::Param::kInt) {
            out += std::to_string(p->i);
        } else {
            out += asSql ? p->s : DBformat("%s", p->s.c_str());
        }
        i = j;
    }
    return out;
}

}  // namespace

void DBtable::BindInput(KODBDataTypeBase* value) {
    if (value) m_impl->inputs.emplace_back(value);
}

void DBtable::ClearBoundInputs() {
    m_impl->inputs.clear();
}

void DBtable::valuesClauseCheck(unsigned long room) {
    Impl& m = *m_impl;
    if (m.valuesUsed) {
        m.valuesText.clear();
        m.valuesPending = false;
        m.valuesUsed = false;
    }
    m.valuesText.reserve(m.valuesText.size() + room);
}

void DBtable::querySizeCheck(unsigned long room, bool) {
    m_impl->where.reserve(room);
}

// The first text after an open is kept as format and arguments, so that an open can bind the values
// without writing and reading back the text; a second text joins them as text.
void DBtable::CallDBsprintfWrapper(const char* format, ...) {
    Impl& m = *m_impl;
    if (m.valuesUsed) {
        m.valuesText.clear();
        m.valuesPending = false;
        m.valuesUsed = false;
    }
    va_list args;
    va_start(args, format);
    if (m.valuesText.empty() && !m.valuesPending) {
        m.valuesClause.set(format, args);
        m.valuesPending = true;
    } else {
        m.valuesTextNow();
        m.valuesText += DBvformat(format, args);
    }
    va_end(args);
}

const std::string& DBtable::getValuesText() const {
    return m_impl->valuesTextNow();
}
void DBtable::setValuesBound(bool bound) {
    m_impl->valuesBound = bound;
}
bool DBtable::valuesBound() const {
    return m_impl->valuesBound;
}

const std::string& DBtable::Impl::valuesTextNow() {
    if (valuesPending) {
        valuesText += valuesClause.text();
        valuesPending = false;
    }
    return valuesText;
}

namespace {
// True for a template that is nothing but its markers: "?", "?,?", "?, ?, ?".
bool onlyMarkers(const std::string& templ) {
    for (char c : templ)
        if (c != '?' && c != ',' && c != ' ') return false;
    return true;
}
}  // namespace

int DBtable::Impl::inputParams(std::vector<dbl::Param>& params) {
    if (valuesBound) {
        for (const auto& v : inputs) params.push_back(paramFor(*v));
        return 0;
    }
    // Arguments that are all values need no round trip through their text.
    if (valuesPending && valuesText.empty() && valuesClause.templated() &&
        onlyMarkers(valuesClause.templateText())) {
        valuesClause.params(params);
        return 0;
    }
    std::string why;
    if (!parseArguments(valuesTextNow(), params, why)) return fail(DB_ERR_BAD_ARGUMENTS, why);
    return 0;
}

int DBtable::Impl::cursorText(std::string& sql, dbl::Dialect dialect) {
    const std::string& own = dialect == dbl::Dialect::Sqlite     ? sqliteText
                             : dialect == dbl::Dialect::Postgres ? postgresText
                                                                 : statementText;
    const bool perDialect = !sqliteText.empty() || !postgresText.empty();
    if (!valuesTextNow().empty() && !valuesBound && !perDialect) {
        sql = valuesText;
    } else if (valuesBound || !valuesText.empty()) {
        std::vector<dbl::Param> values;
        if (valuesBound) {
            for (const auto& v : inputs) values.push_back(paramFor(*v));
        } else {
            std::string why;
            if (!parseArguments(valuesText, values, why)) return fail(DB_ERR_BAD_ARGUMENTS, why);
        }
        if (&own != &statementText && !own.empty())
            sql = fillPlaceholders(own, values, true);
        else
            sql = fillPlaceholders(statementText, values);
    } else {
        sql = statementText;
    }
    if (sql.empty()) return fail(DB_ERR_NO_STATEMENT, "no statement text for [" + name + "]");
    return 0;
}
