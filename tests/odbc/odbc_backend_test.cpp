// The ODBC backend against a real PostgreSQL server: values in and out, translation, diagnostics,
// no-data, the statement cache.
#include <climits>

#include "odbc/OdbcFixture.h"
#include "platform/db/odbc/OdbcDiag.h"
#include "platform/db/odbc/PostgresMarkers.h"
#include "platform/db/odbc/Utf16.h"

using dbl::odbc::OdbcConnection;
using dbl::odbc::sqlstateCode;
using Text = std::optional<std::string>;

TEST_F(OdbcTest, ConnectsWithOrWithoutThePrefixAndNamesTheServer) {
    auto* odbc = dynamic_cast<OdbcConnection*>(conn.get());
    ASSERT_NE(odbc, nullptr);
    EXPECT_EQ(odbc->dialect(), dbl::Dialect::Postgres);
    dbl::Error err;
    EXPECT_NE(dbl::connectOdbc(url.substr(std::string("odbc:").size()), err), nullptr) << err.text;
}

TEST_F(OdbcTest, LongTextsNullsAndWideIntegersComeBackExactly) {
    exec("CREATE TABLE vals (id bigint, s text)");
    // Every byte but NUL, quotes and SQL comment and statement marks, repeated to 100 KiB.
    std::string big;
    while (big.size() < 100 * 1024) {
        for (int c = 1; c < 256; ++c) big.push_back(static_cast<char>(c));
        big += "'';--/*\"[x]";
    }
    const std::vector<std::pair<long long, Text>> cases = {{LLONG_MIN, big},
                                                           {-1, ""},
                                                           {0, std::nullopt},
                                                           {1LL << 40, "\xc3\xa9t\xc3\xa9"},
                                                           {LLONG_MAX, big + "t"}};
    dbl::Error err;
    std::vector<dbl::Param> none;
    for (const auto& c : cases) {
        dbl::StatementPtr st = conn->prepare("INSERT INTO vals (id, s) VALUES (?, ?)", none, err);
        ASSERT_NE(st, nullptr) << err.text;
        st->bindInt64(1, c.first);
        c.second ? st->bindText(2, *c.second) : st->bindNull(2);
        ASSERT_EQ(st->step(err), 100) << err.text;
        EXPECT_EQ(st->changes(), 1);
    }
    dbl::StatementPtr st = conn->prepare("SELECT id, s FROM vals ORDER BY id", none, err);
    ASSERT_NE(st, nullptr) << err.text;
    for (const auto& c : cases) {
        ASSERT_EQ(st->step(err), 0) << err.text;
        ASSERT_EQ(st->columnCount(), 2);
        // Columns may be read in any order and more than once while the row is current.
        std::string first, second;
        st->columnText(1, first);
        EXPECT_EQ(st->columnInt64(0), c.first);
        st->columnText(1, second);
        EXPECT_EQ(st->columnIsNull(1), !c.second.has_value());
        EXPECT_EQ(first, c.second.value_or("")) << "id " << c.first;
        EXPECT_EQ(second, first);
    }
    EXPECT_EQ(st->step(err), 100);
    EXPECT_EQ(st->step(err), 100) << "stepping past the end stays at no-data";
}

// TOP, hints, brackets and N'' literals reach the server in every store suite; the texts are the
// dialect's tests. Here: integer literals, whose types the server cannot guess alone.
TEST_F(OdbcTest, NegativeAndWideIntegerLiteralsBecomeTypedParameters) {
    exec("CREATE TABLE lits (i integer, b bigint)");
    exec("INSERT INTO lits (i, b) VALUES (-2147483648, -9223372036854775807)");
    exec("UPDATE lits SET i = i + 1, b = b - 1 WHERE i = -2147483648");
    EXPECT_EQ(query(*conn, "SELECT i, b, -1 * 2, 2147483648 + 1 FROM lits"),
              (std::vector<Row>{
                  {Text("-2147483647"), Text("-9223372036854775808"), Text("-2"), Text("2147483649")}}));
}

TEST_F(OdbcTest, NoDataIsOneHundredChangesCountRowsAndFailuresCarryTheSqlState) {
    exec("CREATE TABLE n (id bigint PRIMARY KEY, v bigint)");
    int rc = 0;
    EXPECT_TRUE(query(*conn, "SELECT id FROM n", &rc).empty());
    EXPECT_EQ(rc, 100);
    for (int i = 0; i < 4; ++i) exec("INSERT INTO n (id, v) VALUES (" + std::to_string(i) + ", 0)");
    for (const auto& c :
         std::vector<std::pair<const char*, long long>>{{"UPDATE n SET v = 1 WHERE id > 100", 0},
                                                        {"UPDATE n SET v = 1 WHERE id >= 1", 3},
                                                        {"DELETE FROM n WHERE id < 2", 2}}) {
        std::vector<dbl::Param> params;
        dbl::Error err;
        dbl::StatementPtr st = conn->prepare(c.first, params, err);
        ASSERT_NE(st, nullptr) << err.text;
        dbl::bindParams(*st, params);
        EXPECT_EQ(st->step(err), 100) << c.first << ": " << err.text;
        EXPECT_EQ(st->changes(), c.second) << c.first;
    }

    // The code is the SQLSTATE's own number, the same in every run; the text names the state, on one line.
    EXPECT_EQ(sqlstateCode("42601"), 6819553);
    for (const auto& c :
         std::vector<std::pair<const char*, const char*>>{{"SELEC 1", "42601"},
                                                          {"SELECT * FROM no_such_table", "42P01"},
                                                          {"INSERT INTO n (id) VALUES (3)", "23505"}}) {
        dbl::Error err;
        query(*conn, c.first, &rc, &err);
        EXPECT_EQ(rc, sqlstateCode(c.second)) << c.first << ": " << err.text;
        EXPECT_EQ(err.code, rc);
        EXPECT_EQ(err.text.rfind(std::string("[") + c.second + "] ", 0), 0u) << err.text;
        EXPECT_EQ(err.text.find('\n'), std::string::npos) << "one line";
        EXPECT_FALSE(err.connectionLost);
    }
    EXPECT_FALSE(conn->broken()) << "statement failures leave the connection usable";
    EXPECT_EQ(first("SELECT COUNT(*) FROM n"), Text("2"));
}

TEST_F(OdbcTest, StatementsDifferingOnlyInValuesShareOnePreparedHandle) {
    exec("CREATE TABLE c (id bigint, s text)");
    exec("INSERT INTO c (id, s) VALUES (1, N'one')");
    exec("INSERT INTO c (id, s) VALUES (2, N'two')");
    auto& session = dynamic_cast<OdbcConnection&>(*conn).session();
    const int before = session.preparedCount();
    EXPECT_EQ(first("SELECT s FROM c WHERE id = 1"), Text("one"));
    EXPECT_EQ(first("SELECT s FROM c WHERE id = 2"), Text("two"));
    EXPECT_EQ(session.preparedCount(), before + 1) << "the second run reuses the cached handle";

    // A statement in use is never handed out again: a second one of the same text is prepared anew.
    std::vector<dbl::Param> params;
    dbl::Error err;
    dbl::StatementPtr held = conn->prepare("SELECT s FROM c WHERE id = 1", params, err);
    ASSERT_NE(held, nullptr);
    dbl::bindParams(*held, params);
    ASSERT_EQ(held->step(err), 0);
    EXPECT_EQ(first("SELECT s FROM c WHERE id = 2"), Text("two"));
    EXPECT_EQ(session.preparedCount(), before + 2);
    std::string s;
    held->columnText(0, s);
    EXPECT_EQ(s, "one") << "the held statement's row is untouched";
    // A statement given back mid-result is closed and runs again from the start.
    held.reset();
    EXPECT_EQ(query(*conn, "SELECT s FROM c WHERE id = 1").size(), 1u);
}

TEST(OdbcUtf16, ReplacesWhatIsNotUnicode) {
    using dbl::odbc::utf16ToUtf8;
    using dbl::odbc::utf8ToUtf16;
    // Valid text round-trips on the server (below). Here: a stray continuation byte, an overlong form,
    // a surrogate in UTF-8 and a cut-off sequence.
    EXPECT_EQ(
        utf8ToUtf16("x\x80y\xc0\xafz\xed\xa0\x80\xe2\x82"),
        (std::u16string{u'x', 0xFFFD, u'y', 0xFFFD, 0xFFFD, u'z', 0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}));
    const std::u16string lone{0xD800, u'q', 0xDC00};
    EXPECT_EQ(utf16ToUtf8(lone.data(), lone.size()), "\xef\xbf\xbdq\xef\xbf\xbd");
}

TEST_F(OdbcTest, WideTextRoundTripsAsOnSqlServer) {
    auto& session = dynamic_cast<OdbcConnection&>(*conn).session();
    EXPECT_FALSE(session.wideText()) << "PostgreSQL takes the bytes as they are";
    session.setWideText(true);
    exec("CREATE TABLE wide (id bigint, s text)");
    std::string big;
    while (big.size() < 30000) big += "h\xc3\xa9llo \xe2\x82\xac \xf0\x9f\x98\x80 ";
    exec("INSERT INTO wide (id, s) VALUES (1, N'" + big + "')");  // the literal is bound as a parameter
    exec("INSERT INTO wide (id, s) VALUES (2, N'caf\xc3\xa9')");
    for (bool wide : {true, false}) {  // read back wide, and as the bytes the server stored
        session.setWideText(wide);
        EXPECT_EQ(query(*conn, "SELECT s FROM wide ORDER BY id"),
                  (std::vector<Row>{{big}, {Text("caf\xc3\xa9")}}))
            << "wide " << wide;
    }
}

TEST(PostgresMarkers, IntegerLiteralsGetTheirLiteralTypeAndEverythingElseStaysAsItIs) {
    using P = dbl::Param;
    const P text{P::kText, 0, "?"};
    const std::vector<P> params{{P::kInt, -5, ""}, text, {P::kInt, 3000000000LL, ""}, {P::kInt, INT_MIN, ""}};
    EXPECT_EQ(
        dbl::odbc::typeLiteralMarkers(
            "SELECT - ? FROM t WHERE a = ? AND b = '?' /* ? */ AND c = ?+? AND d = ?", params),
        "SELECT - ?::integer FROM t WHERE a = ? AND b = '?' /* ? */ AND c = ?::bigint+?::integer AND d = ?")
        << "markers in literals and comments are not markers; the caller's own markers follow untouched";
    EXPECT_EQ(dbl::odbc::typeLiteralMarkers("SELECT ?", {text}), "SELECT ?");
}
