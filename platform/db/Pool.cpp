// The process-wide pool of idle connections, one list for all URLs (only the configured URL's
// connections are handed out).
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "platform/db/Backend.h"
#include "platform/db/DBconfig.h"
#include "platform/db/PoolInternal.h"

namespace dbl {

namespace {

constexpr size_t kMaxIdle = 16;

struct Pool {
    std::mutex mu;
    pid_t pid = getpid();
    std::vector<std::pair<std::string, std::unique_ptr<Connection>>> idle;
    std::unordered_map<const Connection*, std::string> lent;  // URL of every connection handed out
    std::unordered_set<const Connection*> inherited;          // lent by the parent before fork()
};

// Never destroyed: connections may be given back while other statics are being destroyed.
Pool& pool() {
    static Pool* p = [] {
        std::atexit(poolCloseIdle);  // checkpoints and closes the stores cleanly
        return new Pool;
    }();
    return *p;
}

// A child of fork() shares the parent's database handles; it must neither use nor close them.
void forgetInheritedLocked(Pool& p) {
    if (p.pid == getpid()) return;
    for (auto& entry : p.idle) entry.second.release();
    p.idle.clear();
    for (const auto& entry : p.lent) p.inherited.insert(entry.first);
    p.lent.clear();
    p.pid = getpid();
}

}  // namespace

std::unique_ptr<Connection> acquire(Error& err) {
    const std::string url = dbconfig::url();
    Pool& p = pool();
    {
        std::lock_guard<std::mutex> lock(p.mu);
        forgetInheritedLocked(p);
        for (auto it = p.idle.rbegin(); it != p.idle.rend(); ++it) {
            if (it->first != url) continue;
            std::unique_ptr<Connection> conn = std::move(it->second);
            p.idle.erase(std::next(it).base());
            p.lent[conn.get()] = url;
            return conn;
        }
    }
    std::unique_ptr<Connection> conn = connect(url, err);
    if (!conn) return nullptr;
    std::lock_guard<std::mutex> lock(p.mu);
    p.lent[conn.get()] = url;
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
    auto it = p.lent.find(conn.get());
    if (it == p.lent.end() || conn->broken() || it->second != dbconfig::url() || p.idle.size() >= kMaxIdle) {
        if (it != p.lent.end()) p.lent.erase(it);
        doomed = std::move(conn);
        return;
    }
    p.idle.emplace_back(it->second, std::move(conn));
    p.lent.erase(it);
}

void poolCloseIdle() {
    std::vector<std::pair<std::string, std::unique_ptr<Connection>>> doomed;  // closed outside the lock
    Pool& p = pool();
    {
        std::lock_guard<std::mutex> lock(p.mu);
        forgetInheritedLocked(p);
        doomed.swap(p.idle);
    }
    forgetCheckedStores();
}

}  // namespace dbl
