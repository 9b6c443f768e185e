#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/db/Dialect.h"

namespace {
std::string tr(const std::string& in, dbl::Dialect d, std::vector<dbl::Param>* params = nullptr) {
    std::string out, err;
    std::vector<dbl::Param> none;
    EXPECT_TRUE(dbl::translate(in, d, params != nullptr, out, params ? *params : none, err))
        << in << ": " << err;
    EXPECT_TRUE(none.empty()) << in;
    return out;
}
}  // namespace

TEST(Dialect, RewritesExactlyTheKnownConstructs) {
    const struct {
        const char* in;
        const char* sqlite;
        const char* postgres;  // null: as sqlite
    } cases[] = {
        // TOP goes to the end of its own SELECT: the subquery's parenthesis or the statement's end.
        {"subTaskId IN (SELECT TOP 1 subTaskId FROM TM_SubTask WHERE taskId=7)",
         "subTaskId IN (SELECT subTaskId FROM TM_SubTask WHERE taskId=7 LIMIT 1)", nullptr},
        {"select distinct top (3) a from t -- note", "select distinct a from t LIMIT 3 -- note", nullptr},
        {"SELECT TOP 2 a FROM t; SELECT TOP 3 b FROM u", "SELECT a FROM t LIMIT 2; SELECT b FROM u LIMIT 3",
         nullptr},
        {"SELECT TOP 1 x FROM (SELECT TOP 5 x FROM t ORDER BY x) s",
         "SELECT x FROM (SELECT x FROM t ORDER BY x LIMIT 5) s LIMIT 1", nullptr},
        {"SELECT TOP 10 PERCENT a FROM t", "SELECT TOP 10 PERCENT a FROM t", nullptr},
        // The read-uncommitted hint disappears, with any spelling of case and blanks; other hints stay.
        {"FROM t with ( readuncommitted )) x", "FROM t) x", nullptr},
        {"FROM t WITH (NOLOCK)", "FROM t WITH (NOLOCK)", nullptr},
        {"WITH x AS (SELECT 1) SELECT * FROM x", "WITH x AS (SELECT 1) SELECT * FROM x", nullptr},
        // N'' literals lose the N; brackets become the database's quoting.
        {"value = N'a''b'", "value = 'a''b'", nullptr},
        {"[jobId]=5 AND [we\"ird]]name]=1", "\"jobId\"=5 AND \"we\"\"ird]name\"=1",
         "jobId=5 AND we\"ird]name=1"},
        // Literals, quoted names and comments are never rewritten inside.
        {"x = 'SELECT TOP 1 [a] WITH (READUNCOMMITTED) N''b'''",
         "x = 'SELECT TOP 1 [a] WITH (READUNCOMMITTED) N''b'''", nullptr},
        {"x = N'-- not a comment' AND \"TOP\" = 1 /* SELECT TOP 1 [c] */",
         "x = '-- not a comment' AND \"TOP\" = 1 /* SELECT TOP 1 [c] */", nullptr},
        {"x = 'caf\xc3\xa9 \xe6\x97\xa5' AND [n\xc3\xa9]=1",
         "x = 'caf\xc3\xa9 \xe6\x97\xa5' AND \"n\xc3\xa9\"=1",
         "x = 'caf\xc3\xa9 \xe6\x97\xa5' AND n\xc3\xa9=1"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(tr(c.in, dbl::Dialect::Sqlite), c.sqlite) << c.in;
        EXPECT_EQ(tr(c.in, dbl::Dialect::Postgres), c.postgres ? c.postgres : c.sqlite) << c.in;
        EXPECT_EQ(tr(c.in, dbl::Dialect::SqlServer), c.in);
    }
}

TEST(Dialect, ParameterizeMovesLiteralsOutInOrderHostileOnesIntact) {
    std::string longText(4000, 'x');
    longText[10] = '\'';
    std::string escaped = longText;
    escaped.insert(10, "'");
    std::vector<dbl::Param> params;
    EXPECT_EQ(tr("jobId = 12345678901 AND value = N'" + escaped +
                     "' AND type = -3 AND x IN (SELECT TOP 2 y FROM t WHERE z = '--;caf\xc3\xa9')",
                 dbl::Dialect::Sqlite, &params),
              "jobId = ? AND value = ? AND type = -? AND x IN (SELECT y FROM t WHERE z = ? LIMIT 2)");
    ASSERT_EQ(params.size(), 4u);
    EXPECT_EQ(params[0].type, dbl::Param::kInt);
    EXPECT_EQ(params[0].i, 12345678901LL);
    EXPECT_EQ(params[1].type, dbl::Param::kText);
    EXPECT_EQ(params[1].s, longText);
    EXPECT_EQ(params[2].i, 3);
    EXPECT_EQ(params[3].s, "--;caf\xc3\xa9");

    // Sort positions, decimals, out-of-range numbers, NULL and DDL stay in the text.
    for (const char* kept :
         {"SELECT a FROM t WHERE b = 1.5 AND c = 99999999999999999999 AND d IS NULL ORDER BY 2, 1",
          "CREATE TABLE t (a INTEGER DEFAULT 0, b TEXT DEFAULT '')"}) {
        params.clear();
        EXPECT_EQ(tr(kept, dbl::Dialect::Postgres, &params), kept);
        EXPECT_TRUE(params.empty()) << kept;
    }
    // SQL Server keeps its text but still parameterizes when asked.
    params.clear();
    EXPECT_EQ(tr("SELECT TOP 1 a FROM [t] WHERE b = N'x'", dbl::Dialect::SqlServer, &params),
              "SELECT TOP 1 a FROM [t] WHERE b = ?");
    ASSERT_EQ(params.size(), 1u);
    EXPECT_EQ(params[0].s, "x");
}

TEST(Dialect, UnreadableTextIsRefused) {
    for (const char* bad : {"x = 'open", "x = N'open", "[open", "\"open", "/* open"}) {
        std::string out, err;
        std::vector<dbl::Param> params;
        EXPECT_FALSE(dbl::translate(bad, dbl::Dialect::Sqlite, false, out, params, err)) << bad;
        EXPECT_NE(err.find("unterminated"), std::string::npos) << err;
    }
}
