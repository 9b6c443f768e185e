#include "platform/db/DBconfig.h"

#include <cstdlib>
#include <mutex>

#include "platform/db/PoolInternal.h"

namespace dbconfig {

namespace {
std::mutex& mu() {
    static std::mutex m;
    return m;
}
std::string& overrideUrl() {
    static std::string* u = new std::string;  // read by connections closed during static destruction
    return *u;
}
}  // namespace

std::string url() {
    {
        std::lock_guard<std::mutex> lock(mu());
        if (!overrideUrl().empty()) return overrideUrl();
    }
    const char* env = std::getenv("TASKDB_URL");
    if (env && *env) return env;
    return "sqlite:taskdb.sqlite";
}

bool urlIs(const std::string& candidate) {
    {
        std::lock_guard<std::mutex> lock(mu());
        if (!overrideUrl().empty()) return overrideUrl() == candidate;
    }
    const char* env = std::getenv("TASKDB_URL");
    if (env && *env) return candidate == env;
    return candidate == "sqlite:taskdb.sqlite";
}

void setUrl(const std::string& u) {
    {
        std::lock_guard<std::mutex> lock(mu());
        overrideUrl() = u;
    }
    dbl::poolCloseIdle();
}

}  // namespace dbconfig
