#include "PlatformFixture.h"

#include <cstdio>

#include "platform/db/Backend.h"
#include "platform/db/DBconfig.h"
#include "platform/db/DBschema.h"
#include "platform/db/sqlite/Sqlite.h"

namespace {
const DBcolumn kWidgetColumns[kWidgetColumnCount] = {
    {"id", 'i', 0, offsetof(Widget_t, id)},       {"big", 'b', 0, offsetof(Widget_t, big)},
    {"name", 's', 8, offsetof(Widget_t, name)},   {"note", 's', 0, offsetof(Widget_t, note)},
    {"label", 'u', 5, offsetof(Widget_t, label)}, {"whenAt", 't', 0, offsetof(Widget_t, whenAt)},
    {"stamp", 'x', 0, offsetof(Widget_t, stamp)},
};
}  // namespace

Widget::Widget(DBtran* tran) : DBtable("Widget", 0, tran) {
    setKind(kTable);
    setColumnList("id, big, name, note, label, whenAt, stamp");
    setIdentity("id", 0, &rec.id);
    setOrderBy("id");
    setRecord(&rec, kWidgetColumns, kWidgetColumnCount);
    setExtIndicatorArray(indicators);
}

void PlatformTest::SetUp() {
    path = tempStorePath(::testing::UnitTest::GetInstance()->current_test_info()->name());
    removeStore(path);
    url = "sqlite:" + path;
    std::string err;
    ASSERT_EQ(DBinitSchema(url, &err), 0) << err;
    DBschemaColumn cols[kWidgetColumnCount];
    for (int i = 0; i < kWidgetColumnCount; ++i)
        cols[i] = {kWidgetColumns[i].name, kWidgetColumns[i].letter, kWidgetColumns[i].width};
    const DBschemaTable widget{"Widget", cols, kWidgetColumnCount, "id", "id"};
    dbl::Error e;
    auto conn = dbl::sqlite::connect(path, e);
    ASSERT_NE(conn, nullptr) << e.text;
    for (const auto& sql : dbl::sqlite::makeDdl()->createTable(widget))
        ASSERT_EQ(conn->executeNative(sql, e), 0) << e.text;
    dbconfig::setUrl(url);
}

void PlatformTest::TearDown() {
    dbconfig::setUrl("");
    removeStore(path);
}

int PlatformTest::addWidget(long long big, const std::string& name, const std::string& note) {
    Widget w(nullptr);
    w.rec.big = big;
    std::snprintf(w.rec.name, sizeof w.rec.name, "%s", name.c_str());
    w.rec.note = note;
    int rc = w.rowInsert(true);
    EXPECT_EQ(rc, 0) << w.getErrorStr(rc);
    return w.rec.id;
}
