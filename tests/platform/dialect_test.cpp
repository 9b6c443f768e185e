#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/db/Dialect.h"

namespace {

struct Case {
    const char* in;
    const char* sqlite;    // also the PostgreSQL result unless `postgres` is given
    const char* postgres;  // null: same as sqlite
};

std::string tr(const std::string& in, dbl::Dialect d) {
    std::string out, err;
    std::vector<dbl::Param> params;
    EXPECT_TRUE(dbl::translate(in, d, false, out, params, err)) << err;
    EXPECT_TRUE(params.empty());
    return out;
}

}  // namespace

TEST(Dialect, RewritesExactlyTheKnownConstructs) {
    const Case cases[] = {
        // TOP goes to the end of its own SELECT: the subquery's parenthesis or the statement's end.
        {"subTaskId IN (SELECT TOP 1 subTaskId FROM TM_SubTask WHERE taskId=7)",
         "subTaskId IN (SELECT subTaskId FROM TM_SubTask WHERE taskId=7 LIMIT 1)", nullptr},
        {"select distinct top (3) a from t", "select distinct a from t LIMIT 3", nullptr},
        {"SELECT TOP 1 a FROM t -- trailing note", "SELECT a FROM t LIMIT 1 -- trailing note", nullptr},
        {"SELECT TOP 2 a FROM t; SELECT TOP 3 b FROM u", "SELECT a FROM t LIMIT 2; SELECT b FROM u LIMIT 3",
         nullptr},
        {"SELECT TOP 1 x FROM (SELECT TOP 5 x FROM t ORDER BY x) s",
         "SELECT x FROM (SELECT x FROM t ORDER BY x LIMIT 5) s LIMIT 1", nullptr},
        {"SELECT TOP 10 PERCENT a FROM t", "SELECT TOP 10 PERCENT a FROM t", nullptr},
        // The read-uncommitted hint disappears, with any spelling of case and blanks.
        {"FROM t with ( readuncommitted )) x", "FROM t) x", nullptr},
        {"FROM t WITH (NOLOCK)", "FROM t WITH (NOLOCK)", nullptr},
        {"WITH x AS (SELECT 1) SELECT * FROM x", "WITH x AS (SELECT 1) SELECT * FROM x", nullptr},
        // N'' literals lose the N; brackets become the database's quoting.
        {"value = N'a''b'", "value = 'a''b'", nullptr},
        {"[jobId]=5 AND [we\"ird]]name]=1", "\"jobId\"=5 AND \"we\"\"ird]name\"=1",
         "jobId=5 AND we\"ird]name=1"},
        {"(flags & 128) = 128 AND\tx IN (\t\tSELECT y FROM t)",
         "(flags & 128) = 128 AND\tx IN (\t\tSELECT y FROM t)", nullptr},
        // Literals, quoted names and comments are never rewritten inside.
        {"x = 'SELECT TOP 1 [a] WITH (READUNCOMMITTED) N''b'''",
         "x = 'SELECT TOP 1 [a] WITH (READUNCOMMITTED) N''b'''", nullptr},
        {"x = N'-- not a comment' AND \"TOP\" = 1 /* SELECT TOP 1 [c] */",
         "x = '-- not a comment' AND \"TOP\" = 1 /* SELECT TOP 1 [c] */", nullptr},
        {"x = 'caf\xc3\xa9 \xe6\x97\xa5' AND [n\xc3\xa9]=1",
         "x = 'caf\xc3\xa9 \xe6\x97\xa5' AND \"n\xc3\xa9\"=1",
         "x = 'caf\xc3\xa9 \xe6\x97\xa5' AND n\xc3\xa9=1"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(tr(c.in, dbl::Dialect::Sqlite), c.sqlite) << c.in;
        EXPECT_EQ(tr(c.in, dbl::Dialect::Postgres), c.postgres ? c.postgres : c.sqlite) << c.in;
        EXPECT_EQ(tr(c.in, dbl::Dialect::SqlServer), c.in);
    }
}

TEST(Dialect, ParameterizeMovesLiteralsOutInOrder) {
    std::string out, err;
    std::vector<dbl::Param> params;
    ASSERT_TRUE(dbl::translate(
        "jobId = 12345678901 AND value = N'it''s' AND type = -3 AND x IN (SELECT TOP 2 y FROM t "
        "WHERE z = 'q')",
        dbl::Dialect::Sqlite, true, out, params, err));
    EXPECT_EQ(out, "jobId = ? AND value = ? AND type = -? AND x IN (SELECT y FROM t WHERE z = ? LIMIT 2)");
    ASSERT_EQ(params.size(), 4u);
    EXPECT_EQ(params[0].type, dbl::Param::kInt);
    EXPECT_EQ(params[0].i, 12345678901LL);
    EXPECT_EQ(params[1].type, dbl::Param::kText);
    EXPECT_EQ(params[1].s, "it's");
    EXPECT_EQ(params[2].i, 3);
    EXPECT_EQ(params[3].s, "q");

    // Sort positions, decimals, out-of-range numbers, NULL and DDL stay in the text.
    for (const char* kept :
         {"SELECT a FROM t WHERE b = 1.5 AND c = 99999999999999999999 AND d IS NULL ORDER BY 2, 1",
          "CREATE TABLE t (a INTEGER DEFAULT 0, b TEXT DEFAULT '')"}) {
        params.clear();
        ASSERT_TRUE(dbl::translate(kept, dbl::Dialect::Postgres, true, out, params, err));
        EXPECT_EQ(out, kept);
        EXPECT_TRUE(params.empty()) << kept;
    }

    // SQL Server keeps its text but still parameterizes when asked.
    params.clear();
    ASSERT_TRUE(dbl::translate("SELECT TOP 1 a FROM [t] WHERE b = N'x'", dbl::Dialect::SqlServer, true, out,
                               params, err));
    EXPECT_EQ(out, "SELECT TOP 1 a FROM [t] WHERE b = ?");
    ASSERT_EQ(params.size(), 1u);
    EXPECT_EQ(params[0].s, "x");
}

TEST(Dialect, LongAndHostileLiteralsSurviveParameterization) {
    std::string longText(4000, 'x');
    longText[10] = '\'';
    longText[3999] = '-';
    std::string escaped = longText;
    escaped.insert(10, "'");
    std::string out, err;
    std::vector<dbl::Param> params;
    ASSERT_TRUE(dbl::translate("UPDATE t SET v = N'" + escaped + "' WHERE k = '--;' AND j = 'caf\xc3\xa9'",
                               dbl::Dialect::Sqlite, true, out, params, err));
    EXPECT_EQ(out, "UPDATE t SET v = ? WHERE k = ? AND j = ?");
    ASSERT_EQ(params.size(), 3u);
    EXPECT_EQ(params[0].s, longText);
    EXPECT_EQ(params[1].s, "--;");
    EXPECT_EQ(params[2].s, "caf\xc3\xa9");
}

TEST(Dialect, UnreadableTextIsRefused) {
    for (const char* bad : {"x = 'open", "x = N'open", "[open", "\"open", "/* open"}) {
        std::string out, err;
        std::vector<dbl::Param> params;
        EXPECT_FALSE(dbl::translate(bad, dbl::Dialect::Sqlite, false, out, params, err)) << bad;
        EXPECT_NE(err.find("unterminated"), std::string::npos) << err;
    }
}
