// Translation of the library's SQL for SQLite and PostgreSQL, token by token.
#include "platform/db/Dialect.h"

#include <cerrno>
#include <cstdlib>

#include "platform/db/SqlTokens.h"

namespace dbl {

namespace {

struct PendingLimit {
    int depth;
    std::string count;
};

class Translator {
  public:
    Translator(const std::string& in, const std::vector<Token>& toks, Dialect d, bool param,
               std::vector<Param>& params, std::vector<Source>* sources)
        : m_in(in),
          m_t(toks),
          m_rewrite(d != Dialect::SqlServer),
          m_dialect(d),
          m_param(param),
          m_params(params),
          m_sources(sources) {}

    std::string run() {
        for (size_t i = 0; i < m_t.size(); ++i) i = step(i);
        closeLimits(-1);
        std::string out;
        for (const auto& p : m_out) out += p;
        return out;
    }

  private:
    std::string text(const Token& t) const { return m_in.substr(t.begin, t.end - t.begin); }

    // Index of the next significant token after `i`, or the token count.
    size_t nextSig(size_t i) const {
        for (++i; i < m_t.size(); ++i)
            if (significant(m_t[i])) return i;
        return m_t.size();
    }

    void emit(std::string piece, bool sig) {
        m_out.push_back(std::move(piece));
        if (sig) m_lastSig = m_out.size();
    }

    // Places " LIMIT n" after the last significant text of every pending scope at `depth` or deeper
    // (-1: all of them), innermost first.
    void closeLimits(int depth) {
        while (!m_limits.empty() && m_limits.back().depth >= depth) {
            m_out.insert(m_out.begin() + static_cast<long>(m_lastSig), " LIMIT " + m_limits.back().count);
            ++m_lastSig;
            m_limits.pop_back();
        }
    }

    // SELECT [ALL|DISTINCT] TOP n / TOP (n): drops "TOP n" and the blanks after it (SQL Server:
    // keeps it, unparameterized); returns the last token consumed, or `i` when the SELECT has no
    // plain TOP count.
    size_t selectTop(size_t i) {
        size_t j = nextSig(i);
        std::vector<size_t> keep;
        if (j < m_t.size() && (isWord(m_in, m_t[j], "DISTINCT") || isWord(m_in, m_t[j], "ALL"))) {
            keep.push_back(j);
            j = nextSig(j);
        }
        if (j >= m_t.size() || !isWord(m_in, m_t[j], "TOP")) return i;
        size_t n = nextSig(j);
        bool paren = n < m_t.size() && m_t[n].kind == Token::LParen;
        if (paren) n = nextSig(n);
        if (n >= m_t.size() || m_t[n].kind != Token::Number || !plainInteger(text(m_t[n]))) return i;
        size_t last = n;
        if (paren) {
            last = nextSig(n);
            if (last >= m_t.size() || m_t[last].kind != Token::RParen) return i;
        }
        // TOP n PERCENT and TOP n WITH TIES have no LIMIT form: they pass through.
        size_t after = nextSig(last);
        if (after < m_t.size() && (isWord(m_in, m_t[after], "PERCENT") || isWord(m_in, m_t[after], "WITH")))
            return i;
        if (!m_rewrite) {
            // Kept as written, and the count is never a parameter.
            for (size_t k = i; k <= last; ++k) emit(text(m_t[k]), significant(m_t[k]));
            return last;
        }
        emit(text(m_t[i]), true);
        for (size_t k = i + 1; k < j; ++k)
            emit(text(m_t[k]), significant(m_t[k]));  // DISTINCT with its blanks
        m_limits.push_back({m_depth, text(m_t[n])});
        while (last + 1 < m_t.size() && m_t[last + 1].kind == Token::Space) ++last;
        return last;
    }

    // WITH (READUNCOMMITTED): returns the closing parenthesis, or `i` when it is another WITH.
    size_t readUncommitted(size_t i) {
        size_t open = nextSig(i);
        if (open >= m_t.size() || m_t[open].kind != Token::LParen) return i;
        size_t hint = nextSig(open);
        if (hint >= m_t.size() || !isWord(m_in, m_t[hint], "READUNCOMMITTED")) return i;
        size_t close = nextSig(hint);
        if (close >= m_t.size() || m_t[close].kind != Token::RParen) return i;
        // One blank is enough between the table name and what follows.
        bool spaceFollows = close + 1 >= m_t.size() || m_t[close + 1].kind == Token::Space ||
                            m_t[close + 1].kind == Token::RParen || m_t[close + 1].kind == Token::Comma ||
                            m_t[close + 1].kind == Token::Semicolon;
        if (spaceFollows && !m_out.empty() && m_out.size() > m_lastSig &&
            m_out.back().find_first_not_of(" \t\r\n") == std::string::npos)
            m_out.pop_back();
        return close;
    }

    static bool plainInteger(const std::string& s) {
        for (char c : s)
            if (c < '0' || c > '9') return false;
        return !s.empty();
    }

    bool parameterizing() const { return m_param && !m_ddl && m_orderByDepth != m_depth; }

    size_t step(size_t i) {
        const Token& t = m_t[i];
        if (significant(t) && m_statementStart) {
            m_statementStart = false;
            m_ddl = isWord(m_in, t, "CREATE") || isWord(m_in, t, "ALTER") || isWord(m_in, t, "DROP") ||
                    isWord(m_in, t, "PRAGMA") || isWord(m_in, t, "TRUNCATE");
        }
        switch (t.kind) {
            case Token::Word: {
                if (isWord(m_in, t, "SELECT")) {
                    size_t last = selectTop(i);
                    if (last != i) return last;
                } else if (m_rewrite && isWord(m_in, t, "WITH")) {
                    size_t last = readUncommitted(i);
                    if (last != i) return last;
                }
                if (isWord(m_in, t, "ORDER") || isWord(m_in, t, "GROUP")) {
                    size_t by = nextSig(i);
                    if (by < m_t.size() && isWord(m_in, m_t[by], "BY")) m_orderByDepth = m_depth;
                } else if (m_orderByDepth == m_depth &&
                           (isWord(m_in, t, "HAVING") || isWord(m_in, t, "LIMIT") ||
                            isWord(m_in, t, "UNION") || isWord(m_in, t, "EXCEPT") ||
                            isWord(m_in, t, "INTERSECT") || isWord(m_in, t, "OFFSET") ||
                            isWord(m_in, t, "OPTION") || isWord(m_in, t, "FOR"))) {
                    m_orderByDepth = -1;
                }
                emit(text(t), true);
                break;
            }
            case Token::Number: {
                std::string n = text(t);
                if (parameterizing() && plainInteger(n)) {
                    errno = 0;
                    long long v = std::strtoll(n.c_str(), nullptr, 10);
                    if (errno == 0) {
                        Param p;
                        p.type = Param::kInt;
                        p.i = v;
                        m_params.push_back(p);
                        if (m_sources) m_sources->push_back({t.begin, t.end});
                        emit("?", true);
                        break;
                    }
                }
                emit(n, true);
                break;
            }
            case Token::String:
            case Token::NString:
                if (parameterizing()) {
                    Param p;
                    p.type = Param::kText;
                    p.s = tokenValue(m_in, t);
                    m_params.push_back(std::move(p));
                    if (m_sources) m_sources->push_back({t.begin, t.end});
                    emit("?", true);
                } else {
                    emit(m_rewrite && t.kind == Token::NString ? text(t).substr(1) : text(t), true);
                }
                break;
            case Token::BracketName:
                emit(bracketName(t), true);
                break;
            case Token::LParen:
                ++m_depth;
                emit("(", true);
                break;
            case Token::RParen:
                closeLimits(m_depth);
                if (m_orderByDepth == m_depth) m_orderByDepth = -1;
                if (m_depth > 0) --m_depth;
                emit(")", true);
                break;
            case Token::Semicolon:
                closeLimits(m_depth);
                m_orderByDepth = -1;
                m_statementStart = true;
                emit(";", true);
                break;
            default:
                emit(text(t), significant(t));
                break;
        }
        return i;
    }

    std::string bracketName(const Token& t) const {
        if (!m_rewrite) return text(t);
        std::string name = tokenValue(m_in, t);
        if (m_dialect == Dialect::Postgres) return name;
        std::string out = "\"";
        for (char c : name) {
            out += c;
            if (c == '"') out += '"';
        }
        return out + "\"";
    }

    const std::string& m_in;
    const std::vector<Token>& m_t;
    bool m_rewrite;
    Dialect m_dialect;
    bool m_param;
    std::vector<Param>& m_params;
    std::vector<Source>* m_sources;
    std::vector<std::string> m_out;
    size_t m_lastSig = 0;
    int m_depth = 0;
    int m_orderByDepth = -1;
    bool m_statementStart = true;
    bool m_ddl = false;
    std::vector<PendingLimit> m_limits;
};

}  // namespace

namespace {
bool translateWith(const std::string& in, Dialect dialect, bool parameterize, std::string& out,
                   std::vector<Param>& params, std::vector<Source>* sources, std::string& err) {
    std::vector<Token> tokens;
    if (!tokenize(in, tokens, err)) return false;
    if (dialect == Dialect::SqlServer && !parameterize) {
        out = in;
        return true;
    }
    out = Translator(in, tokens, dialect, parameterize, params, sources).run();
    return true;
}
}  // namespace

bool translate(const std::string& in, Dialect dialect, bool parameterize, std::string& out,
               std::vector<Param>& params, std::string& err) {
    return translateWith(in, dialect, parameterize, out, params, nullptr, err);
}

bool translate(const std::string& in, Dialect dialect, bool parameterize, std::string& out,
               std::vector<Param>& params, std::vector<Source>& sources, std::string& err) {
    return translateWith(in, dialect, parameterize, out, params, &sources, err);
}

}  // namespace dbl
