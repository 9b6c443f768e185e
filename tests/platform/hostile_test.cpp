// Caller text reaches the store through the layer's escaping and comes back byte for byte.
#include <gtest/gtest.h>

#include <cstdarg>

#include "PlatformFixture.h"
#include "platform/db/DBformat.h"
#include "platform/db/DBtran.h"

namespace {

std::vector<std::string> corpus() {
    std::vector<std::string> c = {
        "O'Brien",   "''",
        "'",         "'; DROP TABLE Widget; --",
        "--",        "-- x\n",
        ";",         "/* c */",
        "*/",        "N'x'",
        "[a]",       "\"q\"",
        "?",         "?1",
        "%s %d %%",  "\\'",
        "a\tb\r\nc", "caf\xc3\xa9 \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x98\x80",
        "  lead",    "trail  ",
    };
    std::string bytes;
    for (int b = 1; b < 256; ++b) bytes += static_cast<char>(b);  // binary text without NUL
    c.push_back(bytes);
    std::string longText;
    for (int i = 0; longText.size() < 4000; ++i)
        longText += (i % 7 == 0) ? "'" : (i % 11 == 0 ? "--" : "ab;");
    c.push_back(longText);
    return c;
}

// What an operation does: the where-clause and the update values through DBsprintf.
std::string formatted(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const unsigned long size = DBsizeof(format, args);
    std::string buf((size + 25) * 2, '\0');
    DBsprintf(&buf[0], static_cast<unsigned long>(buf.size()), format, args);
    va_end(args);
    return buf.c_str();
}

}  // namespace

using HostileTextTest = PlatformTest;

TEST_F(HostileTextTest, StoredThroughWhereAndUpdateAndReadBackExactly) {
    const std::vector<std::string> texts = corpus();
    DBtran tran;
    std::string err;
    ASSERT_EQ(tran.begin(&err), 0) << err;
    for (size_t i = 0; i < texts.size(); ++i) {
        const std::string& t = texts[i];
        // Insert from the record, then overwrite through an update set clause.
        Widget w(&tran);
        w.rec.big = static_cast<long long>(i);
        w.rec.note = "placeholder";
        ASSERT_EQ(w.rowInsert(true), 0) << i;
        w.setWhere("id = %d", w.rec.id);
        int rc = w.rowUpdate(formatted("note = N'%s', label = N'%s'", t.c_str(), t.c_str()));
        ASSERT_EQ(rc, 0) << i << ": " << w.getErrorStr(rc);

        // Found by its own text in a where-clause, and read back byte for byte.
        Widget r(&tran);
        r.setWhereText(formatted("note = N'%s' AND big = %lld", t.c_str(), static_cast<long long>(i)));
        ASSERT_EQ(r.openCursor(), 0) << i;
        ASSERT_EQ(r.fetchCursor(), 0) << "text " << i << " not found by its own value";
        EXPECT_EQ(r.rec.note, t) << i;
        EXPECT_EQ(r.fetchCursor(), DB_NO_DATA);
        r.closeCursor();

        // A second row written straight from the record matches the same where-clause.
        Widget copy(&tran);
        copy.rec.big = static_cast<long long>(i);
        copy.rec.note = t;
        ASSERT_EQ(copy.rowInsert(true), 0) << i;
        Widget both(&tran);
        both.setWhereText(formatted("note = N'%s'", t.c_str()));
        int rows = 0, rc2;
        while ((rc2 = getNextRow(&both, &rows, -1, 0)) == 0) EXPECT_EQ(both.rec.note, t);
        EXPECT_EQ(rc2, DB_NO_DATA);
        EXPECT_EQ(rows, 2) << i;
    }
    ASSERT_EQ(tran.commit(&err), 0) << err;
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget"), static_cast<long long>(2 * texts.size()));
}
