#include "platform/db/odbc/PostgresMarkers.h"

#include <climits>

#include "platform/db/SqlTokens.h"

namespace dbl {
namespace odbc {

std::string typeLiteralMarkers(const std::string& sql, const std::vector<Param>& params) {
    bool anyInt = false;
    for (const Param& p : params) anyInt = anyInt || p.type == Param::kInt;
    if (!anyInt) return sql;
    std::vector<Token> tokens;
    std::string err;
    if (!tokenize(sql, tokens, err)) return sql;

    std::string out;
    out.reserve(sql.size() + 16 * params.size());
    size_t marker = 0;
    for (const Token& t : tokens) {
        out.append(sql, t.begin, t.end - t.begin);
        if (t.kind != Token::Other || sql[t.begin] != '?' || marker >= params.size()) continue;
        const Param& p = params[marker++];
        if (p.type != Param::kInt) continue;
        out += p.i >= INT_MIN && p.i <= INT_MAX ? "::integer" : "::bigint";
    }
    return out;
}

}  // namespace odbc
}  // namespace dbl
