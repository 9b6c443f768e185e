// Opening connections: the URL names the backend; the first connection to each store also checks
// the store's schema version.
#include <mutex>
#include <set>

#include "platform/db/Backend.h"
#include "platform/db/DBerrors.h"
#include "platform/db/DBschema.h"
#include "platform/db/conn/PoolInternal.h"
#include "platform/db/sqlite/Sqlite.h"

// The ODBC backend is compiled exactly when TASKDB_WITH_ODBC is on (platform/CMakeLists.txt).
#if defined(TASKDB_WITH_ODBC)
#include "platform/db/odbc/OdbcConnect.h"
#endif

namespace dbl {

namespace {
std::mutex& checkedMutex() {
    static std::mutex m;
    return m;
}
std::set<std::string>& checkedStores() {
    static std::set<std::string>* s = new std::set<std::string>;
    return *s;
}
}  // namespace

std::unique_ptr<Connection> connectUnchecked(const std::string& url, Error& err) {
    if (url.compare(0, 7, "sqlite:") == 0) return sqlite::connect(url.substr(7), err);
    if (url.compare(0, 5, "odbc:") == 0) {
#if defined(TASKDB_WITH_ODBC)
        return connectOdbc(url, err);
#else
        err.set(DB_ERR_BAD_URL, "this build has no ODBC backend for [" + url + "]");
        return nullptr;
#endif
    }
    err.set(DB_ERR_BAD_URL,
            "unknown store URL [" + url + "] (expected sqlite:PATH or odbc:CONNECTION-STRING)");
    return nullptr;
}

std::unique_ptr<Connection> connect(const std::string& url, Error& err) {
    std::unique_ptr<Connection> conn = connectUnchecked(url, err);
    if (!conn) return nullptr;
    {
        std::lock_guard<std::mutex> lock(checkedMutex());
        if (checkedStores().count(url)) return conn;
    }
    int version = readSchemaVersion(*conn, err);
    if (version < 0) return nullptr;
    if (version > kTaskdbSchemaVersion) {
        err.set(DB_ERR_SCHEMA_NEWER, "the store [" + url + "] has schema version " + std::to_string(version) +
                                         ", newer than this library's version " +
                                         std::to_string(kTaskdbSchemaVersion) + "; refusing to use it");
        return nullptr;
    }
    std::lock_guard<std::mutex> lock(checkedMutex());
    checkedStores().insert(url);
    return conn;
}

void forgetCheckedStores() {
    std::lock_guard<std::mutex> lock(checkedMutex());
    checkedStores().clear();
}

}  // namespace dbl
