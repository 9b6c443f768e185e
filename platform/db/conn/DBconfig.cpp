#include "platform/db/DBconfig.h"

#include <atomic>
#include <cstdlib>
#include <mutex>

#include "platform/db/conn/PoolInternal.h"

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
// Changed with the override, under mu(): 0 while there is none, else a number no earlier override had.
std::atomic<unsigned> g_overrideGeneration{0};
unsigned g_lastGeneration = 0;
}  // namespace

unsigned overrideGeneration() {
    return g_overrideGeneration.load(std::memory_order_acquire);
}

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
    if (overrideGeneration() != 0) {
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
        g_overrideGeneration.store(u.empty() ? 0 : ++g_lastGeneration, std::memory_order_release);
    }
    dbl::poolCloseIdle();
}

}  // namespace dbconfig
