// The ODBC backend against a real PostgreSQL server: values in and out, translation, diagnostics,
// no-data, the statement cache.
#include <climits>

#include "odbc/OdbcFixture.h"
#include "platform/db/odbc/OdbcDiag.h"
#include "platform/db/odbc/PostgresMarkers.h"
#include "platform/db/odbc/Utf16.h"

using dbl::odbc::OdbcConnection;
using dbl::odbc::sqlstateCode;

namespace {
// Every byte but NUL, the quote characters and SQL comment and statement marks, repeated to `size`.
std::string hostileText(size_t size) {
    std::string unit;
    for (int c = 1; c < 256; ++c) unit.push_back(static_cast<char>(c));
    unit += "'';--/*\"[x]";
    std::string out;
    while (out.size() < size) out += unit;
    out.resize(size);
    return out;
}
}  // namespace

TEST_F(OdbcTest, ConnectsWithOrWithoutThePrefixAndNamesTheServer) {
    auto* odbc = dynamic_cast<OdbcConnection*>(conn.get());
    ASSERT_NE(odbc, nullptr);
    EXPECT_EQ(odbc->dialect(), dbl::Dialect::Postgres);
    EXPECT_STREQ(conn->backendName(), "odbc");
    EXPECT_FALSE(conn->broken());

    dbl::Error err;
    std::string bare = url.substr(std::string("odbc:").size());
    EXPECT_NE(dbl::connectOdbc(bare, err), nullptr) << err.text;

    // Nothing listens on port 1: a clear connect failure, not a success or a no-data code.
    auto refused =
        dbl::connectOdbc("odbc:Driver={PostgreSQL Unicode};Server=127.0.0.1;Port=1;Database=x;", err);
    EXPECT_EQ(refused, nullptr);
    EXPECT_NE(err.code, 0);
    EXPECT_NE(err.code, 100);
    EXPECT_EQ(err.text.rfind("[08001] ", 0), 0u) << err.text;
}

TEST_F(OdbcTest, LongTextsNullsAndWideIntegersComeBackExactly) {
    exec("CREATE TABLE vals (id bigint, s text)");
    const std::string big = hostileText(100 * 1024);
    struct Case {
        long long id;
        std::optional<std::string> text;
    };
    const std::vector<Case> cases = {{LLONG_MIN, big},
                                     {-1, std::string()},
                                     {0, std::nullopt},
                                     {1LL << 40, std::string("\xc3\xa9t\xc3\xa9")},
                                     {LLONG_MAX, big + "tail"}};
    dbl::Error err;
    std::vector<dbl::Param> none;
    for (const Case& c : cases) {
        dbl::StatementPtr st = conn->prepare("INSERT INTO vals (id, s) VALUES (?, ?)", none, err);
        ASSERT_NE(st, nullptr) << err.text;
        st->bindInt64(1, c.id);
        if (c.text)
            st->bindText(2, *c.text);
        else
            st->bindNull(2);
        ASSERT_EQ(st->step(err), 100) << err.text;
        EXPECT_EQ(st->changes(), 1);
    }

    dbl::StatementPtr st = conn->prepare("SELECT id, s FROM vals ORDER BY id", none, err);
    ASSERT_NE(st, nullptr) << err.text;
    for (const Case& c : cases) {
        ASSERT_EQ(st->step(err), 0) << err.text;
        ASSERT_EQ(st->columnCount(), 2);
        // Columns may be read in any order and more than once while the row is current.
        std::string first, second;
        st->columnText(1, first);
        EXPECT_EQ(st->columnInt64(0), c.id);
        st->columnText(1, second);
        EXPECT_EQ(st->columnIsNull(1), !c.text.has_value());
        EXPECT_EQ(first, c.text.value_or("")) << "id " << c.id;
        EXPECT_EQ(second, first);
    }
    EXPECT_EQ(st->step(err), 100);
    EXPECT_EQ(st->step(err), 100) << "stepping past the end stays at no-data";
}

TEST_F(OdbcTest, LibrarySqlIsTranslatedAndItsLiteralsBecomeParameters) {
    exec("CREATE TABLE [people] ([id] bigint, [name] text)");
    for (int i = 1; i <= 5; ++i)
        exec("INSERT INTO people (id, name) VALUES (" + std::to_string(i) + ", N'p" + std::to_string(i) +
             "')");
    exec("INSERT INTO people (id, name) VALUES (6, N'O''Brien -- ; /* \xc3\xa9')");

    std::vector<dbl::Param> params;
    dbl::Error err;
    dbl::StatementPtr st =
        conn->prepare("SELECT name FROM people WHERE id = 6 AND name <> N'x'", params, err);
    ASSERT_NE(st, nullptr) << err.text;
    ASSERT_EQ(params.size(), 2u) << "both literals are moved out of the text";
    st.reset();

    auto rows = query(*conn, "SELECT name FROM people WITH (READUNCOMMITTED) WHERE id = 6");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0], std::optional<std::string>("O'Brien -- ; /* \xc3\xa9"));

    rows = query(*conn, "SELECT TOP 2 [id] FROM [people] WHERE id < 6 ORDER BY [id] DESC");
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0][0], std::optional<std::string>("5"));
    EXPECT_EQ(rows[1][0], std::optional<std::string>("4"));
}

TEST_F(OdbcTest, FailuresCarryTheSqlStateAndAStableCode) {
    EXPECT_EQ(sqlstateCode("42601"), 6819553);
    EXPECT_NE(sqlstateCode("42P01"), sqlstateCode("42601"));
    EXPECT_NE(sqlstateCode("00000"), 0);

    exec("CREATE TABLE uniq (id bigint PRIMARY KEY)");
    exec("INSERT INTO uniq (id) VALUES (1)");
    struct Case {
        const char* sql;
        const char* state;
    };
    for (const Case& c : {Case{"SELEC 1", "42601"}, Case{"SELECT * FROM no_such_table", "42P01"},
                          Case{"INSERT INTO uniq (id) VALUES (1)", "23505"}}) {
        int rc = 0;
        dbl::Error err;
        query(*conn, c.sql, &rc, &err);
        EXPECT_EQ(rc, sqlstateCode(c.state)) << c.sql << ": " << err.text;
        EXPECT_EQ(err.code, rc);
        EXPECT_NE(rc, 100);
        EXPECT_EQ(err.text.rfind(std::string("[") + c.state + "] ", 0), 0u) << err.text;
        EXPECT_EQ(err.text.find('\n'), std::string::npos) << "one line";
        EXPECT_FALSE(err.connectionLost);
    }
    EXPECT_FALSE(conn->broken()) << "statement failures leave the connection usable";
    EXPECT_EQ(query(*conn, "SELECT COUNT(*) FROM uniq")[0][0], std::optional<std::string>("1"));
}

TEST_F(OdbcTest, NoDataIsOneHundredAndChangesCountRows) {
    exec("CREATE TABLE n (id bigint, v bigint)");
    int rc = 0;
    EXPECT_TRUE(query(*conn, "SELECT id FROM n", &rc).empty());
    EXPECT_EQ(rc, 100);
    for (int i = 0; i < 4; ++i) exec("INSERT INTO n (id, v) VALUES (" + std::to_string(i) + ", 0)");

    std::vector<dbl::Param> params;
    dbl::Error err;
    auto changed = [&](const std::string& sql) {
        params.clear();
        dbl::StatementPtr st = conn->prepare(sql, params, err);
        EXPECT_NE(st, nullptr) << err.text;
        if (!st) return -1LL;
        bindAll(*st, params);
        EXPECT_EQ(st->step(err), 100) << sql << ": " << err.text;
        return st->changes();
    };
    EXPECT_EQ(changed("UPDATE n SET v = 1 WHERE id > 100"), 0);
    EXPECT_EQ(changed("UPDATE n SET v = 1 WHERE id >= 1"), 3);
    EXPECT_EQ(changed("DELETE FROM n WHERE id < 2"), 2);
    EXPECT_EQ(changed("DELETE FROM n WHERE id < 2"), 0);
}

TEST_F(OdbcTest, StatementsDifferingOnlyInValuesShareOnePreparedHandle) {
    exec("CREATE TABLE c (id bigint, s text)");
    exec("INSERT INTO c (id, s) VALUES (1, N'one')");
    exec("INSERT INTO c (id, s) VALUES (2, N'two')");
    auto* odbc = dynamic_cast<OdbcConnection*>(conn.get());
    ASSERT_NE(odbc, nullptr);

    int before = odbc->session().preparedCount();
    EXPECT_EQ(query(*conn, "SELECT s FROM c WHERE id = 1")[0][0], std::optional<std::string>("one"));
    EXPECT_EQ(query(*conn, "SELECT s FROM c WHERE id = 2")[0][0], std::optional<std::string>("two"));
    EXPECT_EQ(odbc->session().preparedCount(), before + 1) << "the second run reuses the cached handle";

    // A statement in use is never handed out again: a second one of the same text is prepared anew.
    std::vector<dbl::Param> params;
    dbl::Error err;
    dbl::StatementPtr held = conn->prepare("SELECT s FROM c WHERE id = 1", params, err);
    ASSERT_NE(held, nullptr);
    bindAll(*held, params);
    ASSERT_EQ(held->step(err), 0);
    EXPECT_EQ(query(*conn, "SELECT s FROM c WHERE id = 2")[0][0], std::optional<std::string>("two"));
    EXPECT_EQ(odbc->session().preparedCount(), before + 2);
    std::string s;
    held->columnText(0, s);
    EXPECT_EQ(s, "one") << "the held statement's row is untouched";

    // A statement given back mid-result is closed and runs again from the start.
    held.reset();
    EXPECT_EQ(query(*conn, "SELECT s FROM c WHERE id = 1").size(), 1u);
}

TEST(OdbcUtf16, ConvertsEveryPlaneAndReplacesWhatIsNotUnicode) {
    using dbl::odbc::utf16ToUtf8;
    using dbl::odbc::utf8ToUtf16;
    const std::string text = "a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80z";  // 1, 2, 3 and 4 byte forms
    const std::u16string wide = utf8ToUtf16(text);
    EXPECT_EQ(wide, (std::u16string{u'a', 0x00E9, 0x20AC, 0xD83D, 0xDE00, u'z'}));
    EXPECT_EQ(utf16ToUtf8(wide.data(), wide.size()), text);

    // A stray continuation byte, an overlong form, a surrogate in UTF-8 and a cut-off sequence.
    EXPECT_EQ(
        utf8ToUtf16("x\x80y\xc0\xafz\xed\xa0\x80\xe2\x82"),
        (std::u16string{u'x', 0xFFFD, u'y', 0xFFFD, 0xFFFD, u'z', 0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}));
    const std::u16string lone{0xD800, u'q', 0xDC00};
    EXPECT_EQ(utf16ToUtf8(lone.data(), lone.size()), "\xef\xbf\xbdq\xef\xbf\xbd");
}

TEST_F(OdbcTest, WideTextRoundTripsAsOnSqlServer) {
    auto* odbc = dynamic_cast<OdbcConnection*>(conn.get());
    ASSERT_NE(odbc, nullptr);
    EXPECT_FALSE(odbc->session().wideText()) << "PostgreSQL takes the bytes as they are";
    odbc->session().setWideText(true);
    exec("CREATE TABLE wide (id bigint, s text)");
    std::string big;
    while (big.size() < 30000) big += "h\xc3\xa9llo \xe2\x82\xac \xf0\x9f\x98\x80 ";
    dbl::Error err;
    std::vector<dbl::Param> none;
    dbl::StatementPtr st = conn->prepare("INSERT INTO wide (id, s) VALUES (1, ?)", none, err);
    ASSERT_NE(st, nullptr) << err.text;
    st->bindInt64(1, none.at(0).i);
    st->bindText(2, big);
    ASSERT_EQ(st->step(err), 100) << err.text;
    st.reset();
    exec("INSERT INTO wide (id, s) VALUES (2, N'caf\xc3\xa9')");
    for (bool wide : {true, false}) {  // read back wide, and as the bytes the server stored
        odbc->session().setWideText(wide);
        auto rows = query(*conn, "SELECT s FROM wide ORDER BY id");
        ASSERT_EQ(rows.size(), 2u);
        EXPECT_EQ(rows[0][0], std::optional<std::string>(big)) << "wide " << wide;
        EXPECT_EQ(rows[1][0], std::optional<std::string>("caf\xc3\xa9")) << "wide " << wide;
    }
}

TEST(PostgresMarkers, IntegerLiteralsGetTheirLiteralTypeAndEverythingElseStaysAsItIs) {
    using dbl::Param;
    auto num = [](long long v) {
        Param p;
        p.type = Param::kInt;
        p.i = v;
        return p;
    };
    Param text;
    text.type = Param::kText;
    text.s = "?";
    const std::vector<Param> params{num(-5), text, num(3000000000LL), num(INT_MIN)};
    EXPECT_EQ(
        dbl::odbc::typeLiteralMarkers(
            "SELECT - ? FROM t WHERE a = ? AND b = '?' /* ? */ AND c = ?+? AND d = ?", params),
        "SELECT - ?::integer FROM t WHERE a = ? AND b = '?' /* ? */ AND c = ?::bigint+?::integer AND d = ?")
        << "markers in literals and comments are not markers; the caller's own markers follow untouched";
    EXPECT_EQ(dbl::odbc::typeLiteralMarkers("SELECT ?", {text}), "SELECT ?");
}

TEST_F(OdbcTest, NegativeAndWideLiteralsWorkWhereTheServerCannotGuessATypeAlone) {
    exec("CREATE TABLE lits (i integer, b bigint, s text)");
    exec("INSERT INTO lits (i, b, s) VALUES (-2147483648, -9223372036854775807, N'x')");
    exec("UPDATE lits SET i = i + 1, b = b - 1 WHERE i = -2147483648");
    auto rows = query(*conn, "SELECT i, b, -1 * 2, 2147483648 + 1 FROM lits");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0], (Row{std::string("-2147483647"), std::string("-9223372036854775808"),
                            std::string("-2"), std::string("2147483649")}));
}
