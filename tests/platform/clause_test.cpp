#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <cstring>
#include <string>
#include <vector>

#include "platform/db/DBclause.h"
#include "platform/db/DBformat.h"
#include "platform/db/Dialect.h"

namespace {

dbl::Clause clause(const char* format, ...) __attribute__((format(printf, 1, 2)));
dbl::Clause clause(const char* format, ...) {
    dbl::Clause c;
    va_list args;
    va_start(args, format);
    c.set(format, args);
    va_end(args);
    return c;
}

// The SQLite text with every marker replaced by its value as a literal, so that a statement sent as
// text and one sent as a template can be compared by what the database would run.
std::string inlined(const std::string& sql, const std::vector<dbl::Param>& params) {
    std::string out;
    size_t next = 0;
    bool quoted = false;
    for (char c : sql) {
        if (c == '\'') quoted = !quoted;
        if (c != '?' || quoted) {
            out += c;
            continue;
        }
        const dbl::Param& p = params.at(next++);
        if (p.type == dbl::Param::kInt) {
            out += std::to_string(p.i);
        } else {
            out += '\'';
            for (char t : p.s) out += t == '\'' ? std::string("''") : std::string(1, t);
            out += '\'';
        }
    }
    EXPECT_EQ(next, params.size()) << sql;
    return out;
}

// What the database runs for the clause's text (every literal bound) and for its template.
void expectSameStatement(const dbl::Clause& c) {
    std::string err, fromText, fromTemplate;
    std::vector<dbl::Param> textParams, templateParams, none;
    ASSERT_TRUE(dbl::translate(c.text(), dbl::Dialect::Sqlite, true, fromText, textParams, err)) << err;
    ASSERT_TRUE(dbl::translate(c.templateText(), dbl::Dialect::Sqlite, false, fromTemplate, none, err))
        << err;
    EXPECT_TRUE(none.empty());
    c.params(templateParams);
    EXPECT_EQ(inlined(fromTemplate, templateParams), inlined(fromText, textParams)) << c.templateText();
}

}  // namespace

TEST(Clause, TemplatesOnlyValuesThatStandAloneAsLiterals) {
    struct Expect {
        dbl::Clause c;
        const char* text;
        const char* templ;  // null: no template
    };
    const Expect cases[] = {
        {clause("jobId = %lld AND optionId = %lld", 5LL, -7LL), "jobId = 5 AND optionId = -7",
         "jobId = ? AND optionId = ?"},
        {clause("value = N'%s' AND note = '%s'", "O'Brien", ""), "value = N'O''Brien' AND note = ''",
         "value = ? AND note = ?"},
        {clause("taskId = %d AND n = %u AND m = %lu", -1, 4000000000u, 12ul),
         "taskId = -1 AND n = 4000000000 AND m = 12", "taskId = ? AND n = ? AND m = ?"},
        // Constant literals stay in the template; a TOP count is never a parameter.
        {clause("subTaskId IN (SELECT TOP 1 subTaskId FROM TM_SubTask WHERE taskId=%lld) AND jobId=0", 9LL),
         "subTaskId IN (SELECT TOP 1 subTaskId FROM TM_SubTask WHERE taskId=9) AND jobId=0",
         "subTaskId IN (SELECT TOP 1 subTaskId FROM TM_SubTask WHERE taskId=?) AND jobId=0"},
        {clause("a = %%%d", 3), "a = %3", "a = %?"},
        {clause("name = N'x%s'", "y"), "name = N'xy'", nullptr},
        {clause("a IN (%s)", "1,2"), "a IN (1,2)", nullptr},
        {clause("id = %d%d", 1, 2), "id = 12", nullptr},
        {clause("SELECT TOP %d a FROM t", 5), "SELECT TOP 5 a FROM t", nullptr},
        {clause("1=1 ORDER BY %d", 2), "1=1 ORDER BY 2", nullptr},
        {clause("x = %5d", 7), "x =     7", nullptr},
        {clause("x = %.1f", 1.5), "x = 1.5", nullptr},
        {clause("x = %hd", 3), "x = 3", nullptr},
        {clause("x = %d AND y = ?", 3), "x = 3 AND y = ?", nullptr},
        // Beyond the signed range a number stays text, as the translation leaves it.
        {clause("a = %llu", ULLONG_MAX), "a = 18446744073709551615", nullptr},
        {clause("%s", ""), "", ""},  // an empty text is the empty clause
    };
    for (const Expect& e : cases) {
        EXPECT_EQ(e.c.text(), e.text);
        if (!e.templ) {
            EXPECT_FALSE(e.c.templated()) << e.text;
            continue;
        }
        ASSERT_TRUE(e.c.templated()) << e.text;
        EXPECT_EQ(e.c.templateText(), e.templ);
        expectSameStatement(e.c);
    }
}

TEST(Clause, TextMatchesDBformatAndTemplatesFollowTheFormatText) {
    const char* volatile name = nullptr;  // hidden from the compiler's format checks
    dbl::Clause nulls = clause("name = N'%s'", name);
    EXPECT_EQ(nulls.text(), "name = N'(null)'");
    ASSERT_TRUE(nulls.templated());
    std::vector<dbl::Param> params;
    nulls.params(params);
    ASSERT_EQ(params.size(), 1u);
    EXPECT_EQ(params[0].s, "(null)");

    dbl::Clause empty;
    EXPECT_TRUE(empty.templated());
    EXPECT_TRUE(empty.empty());
    empty.setText("a = 1");
    EXPECT_FALSE(empty.templated());
    empty.setText("");
    EXPECT_TRUE(empty.templated());

    // A format buffer reused with other contents is analysed again, not taken for the old one.
    char format[64];
    std::strcpy(format, "id = %d");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    dbl::Clause first = clause(format, 1);
    std::strcpy(format, "big IN (%s)");
    dbl::Clause second = clause(format, "1, 2");
#pragma GCC diagnostic pop
    EXPECT_EQ(first.templateText(), "id = ?");
    EXPECT_EQ(second.text(), "big IN (1, 2)");
    EXPECT_FALSE(second.templated());
}
