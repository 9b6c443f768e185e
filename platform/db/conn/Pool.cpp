// The process-wide pool of idle connections, one list for all URLs (only the configured URL's
// connections are handed out).
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <unordered_set>
#include <utility>
#include <vector>

#include "platform/db/Backend.h"
#include "platform/db/DBconfig.h"
#include "platform/db/conn/PoolInternal.h"

namespace dbl {

namespace {

constexpr size_t kMaxIdle = 16;

struct Pool {
    std::mutex mu;
    std::atomic<bool> forked{false};  // set in a child of fork() until the child's first pool call
    // Every URL seen, by number: connections carry the number, so no text is copied per call.
    std::vector<std::string> urls;
    int current = -1;              // the number of the URL in force when last asked
    unsigned currentOverride = 0;  // the override generation it was taken under (0: none)
    std::vector<std::pair<int, std::unique_ptr<Connection>>> idle;
    std::vector<std::pair<const Connection*, int>> lent;  // URL of every connection handed out
    std::unordered_set<const Connection*> inherited;      // lent by the parent before fork()
};

Pool& pool();

void markForked() {
    pool().forked.store(true, std::memory_order_relaxed);
}

// Never destroyed: connections may be given back while other statics are being destroyed.
Pool& pool() {
    static Pool* p = [] {
        std::atexit(poolCloseIdle);  // checkpoints and closes the stores cleanly
        // Noticing fork() here spares a getpid() system call on every acquire and give-back.
        pthread_atfork(nullptr, nullptr, markForked);
        return new Pool;
    }();
    return *p;
}

// A child of fork() shares the parent's database handles; it must neither use nor close them.
void forgetInheritedLocked(Pool& p) {
    if (!p.forked.load(std::memory_order_relaxed)) return;
    p.forked.store(false, std::memory_order_relaxed);
    for (auto& entry : p.idle) entry.second.release();
    p.idle.clear();
    for (const auto& entry : p.lent) p.inherited.insert(entry.first);
    p.lent.clear();
}

int internLocked(Pool& p, const std::string& url) {
    for (size_t i = 0; i < p.urls.size(); ++i)
        if (p.urls[i] == url) return static_cast<int>(i);
    p.urls.push_back(url);
    return static_cast<int>(p.urls.size() - 1);
}

// Whether URL number `url` is the URL in force: known without a look at the texts while the
// override that made it current is still in place.
bool inForceLocked(const Pool& p, int url) {
    if (url < 0) return false;
    const unsigned generation = dbconfig::overrideGeneration();
    if (generation != 0 && url == p.current && generation == p.currentOverride) return true;
    return dbconfig::urlIs(p.urls[static_cast<size_t>(url)]);
}

// The number of the URL in force; the text is copied only when it has changed.
int currentLocked(Pool& p) {
    if (inForceLocked(p, p.current)) return p.current;
    const unsigned generation = dbconfig::overrideGeneration();
    p.current = internLocked(p, dbconfig::url());
    p.currentOverride = generation;
    return p.current;
}

}  // namespace

std::unique_ptr<Connection> acquire(Error& err) {
    Pool& p = pool();
    std::string url;
    {
        std::lock_guard<std::mutex> lock(p.mu);
        forgetInheritedLocked(p);
        const int current = currentLocked(p);
        for (auto it = p.idle.rbegin(); it != p.idle.rend(); ++it) {
            if (it->first != current) continue;
            std::unique_ptr<Connection> conn = std::move(it->second);
            p.idle.erase(std::next(it).base());
            p.lent.emplace_back(conn.get(), current);
            return conn;
        }
        url = p.urls[static_cast<size_t>(current)];
    }
    std::unique_ptr<Connection> conn = connect(url, err);
    if (!conn) return nullptr;
    std::lock_guard<std::mutex> lock(p.mu);
    p.lent.emplace_back(conn.get(), internLocked(p, url));
    return conn;
}

void giveBack(std::unique_ptr<Connection> conn) {
    if (!conn) return;
    std::unique_ptr<Connection> doomed;  // closed outside the lock
    Pool& p = pool();
    std::lock_guard<std::mutex> lock(p.mu);
    forgetInheritedLocked(p);
    if (p.inherited.erase(conn.get())) {
        conn.release();  // the parent's handle: closing it here could disturb the parent's locks
        return;
    }
    auto it =
        std::find_if(p.lent.begin(), p.lent.end(), [&](const auto& e) { return e.first == conn.get(); });
    if (it == p.lent.end()) {
        doomed = std::move(conn);
        return;
    }
    const int url = it->second;
    *it = p.lent.back();
    p.lent.pop_back();
    if (conn->broken() || !inForceLocked(p, url) || p.idle.size() >= kMaxIdle) {
        doomed = std::move(conn);
        return;
    }
    p.idle.emplace_back(url, std::move(conn));
}

void poolCloseIdle() {
    std::vector<std::pair<int, std::unique_ptr<Connection>>> doomed;  // closed outside the lock
    Pool& p = pool();
    {
        std::lock_guard<std::mutex> lock(p.mu);
        forgetInheritedLocked(p);
        doomed.swap(p.idle);
    }
    forgetCheckedStores();
}

}  // namespace dbl
