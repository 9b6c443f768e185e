#include "support/TestStore.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>

#include "TaskInterfaceDB/DefaultOptions.h"
#include "platform/db/Backend.h"
#include "platform/db/Bind.h"
#include "platform/db/DBconfig.h"
#include "platform/db/DBschema.h"

namespace {

class SqliteContext : public BackendContext {
  public:
    std::string prepare() override {
        m_path = tempStorePath("store");
        removeStore(m_path);
        std::string url = "sqlite:" + m_path, err;
        if (DBinitSchema(url, &err) != 0) ADD_FAILURE() << "schema: " << err;
        return url;
    }
    void finish() override {
        dbconfig::setUrl("");
        removeStore(m_path);
    }

  private:
    std::string m_path;
};

}  // namespace

std::string tempStorePath(const std::string& tag) {
    static std::atomic<int> counter{0};
    return (std::filesystem::temp_directory_path() /
            ("taskdb-" + tag + "-" + std::to_string(getpid()) + "-" + std::to_string(counter++) + ".sqlite"))
        .string();
}

void removeStore(const std::string& path) {
    for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(path + suffix);
}

std::string envText(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string postgresSchemaUrl(const std::string& schema) {
    std::string url = envText("TASKDB_TEST_PG_URL");
    if (!url.empty() && url.back() != ';') url += ';';
    return url + "ConnSettings={SET search_path TO " + schema + "};";
}

std::vector<std::string> testBackends() {
    std::vector<std::string> names{"sqlite"};
    if (!envText("TASKDB_TEST_PG_URL").empty()) names.push_back("postgres");
    return names;
}

// Defined by the server backend's test context when that backend is built.
std::unique_ptr<BackendContext> makePostgresContext() __attribute__((weak));

std::unique_ptr<BackendContext> makeBackendContext(const std::string& name) {
    if (name == "sqlite") return std::make_unique<SqliteContext>();
    if (name == "postgres" && makePostgresContext) return makePostgresContext();
    return nullptr;
}

void resetDefaultOptionCache() {
    KoCriticalSectionLock lock(&gDefaultLoadedCS);
    gbDefaultOptions.clear();
    gbDefaultLoaded = false;
}

std::unique_ptr<TaskInterface> openTaskInterface(const std::string& url) {
    dbconfig::setUrl(url);
    resetDefaultOptionCache();
    return std::unique_ptr<TaskInterface>(getTaskInterface(1));
}

void StoreTest::SetUp() {
    m_context = makeBackendContext(GetParam());
    ASSERT_NE(m_context, nullptr) << "backend " << GetParam() << " is not built";
    url = m_context->prepare();
    ti = openTaskInterface(url);
    ASSERT_NE(ti, nullptr);
}

void StoreTest::TearDown() {
    ti.reset();
    if (m_context) m_context->finish();
}

namespace {
// Runs `sql` and hands the first row (if any) to `row`.
template <class F>
void runOne(const std::string& sql, F&& row) {
    dbl::Error err;
    auto conn = dbl::acquire(err);
    ASSERT_NE(conn, nullptr) << err.text;
    ASSERT_EQ(conn->begin(true, err), 0) << err.text;
    {
        std::vector<dbl::Param> params;
        auto st = conn->prepare(sql, params, err);
        ASSERT_NE(st, nullptr) << sql << ": " << err.text;
        dbl::bindParams(*st, params);
        int rc = st->step(err);
        ASSERT_TRUE(rc == 0 || rc == 100) << sql << ": " << err.text;
        if (rc == 0) row(*st);
        while (rc == 0) rc = st->step(err);
        ASSERT_EQ(rc, 100) << sql << ": " << err.text;
    }
    ASSERT_EQ(conn->commit(err), 0) << err.text;
    dbl::giveBack(std::move(conn));
}
}  // namespace

void StoreSql::exec(const std::string& sql) {
    runOne(sql, [](dbl::Statement&) {});
}

long long StoreSql::scalar(const std::string& sql) {
    long long v = 0;
    runOne(sql, [&](dbl::Statement& st) { v = st.columnIsNull(0) ? 0 : st.columnInt64(0); });
    return v;
}

std::string StoreSql::text(const std::string& sql) {
    std::string v;
    runOne(sql, [&](dbl::Statement& st) {
        if (!st.columnIsNull(0)) st.columnText(0, v);
    });
    return v;
}
