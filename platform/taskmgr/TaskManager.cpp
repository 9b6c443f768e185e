#include "platform/taskmgr/TaskManager.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "platform/taskmgr/Handler.h"
#include "platform/taskmgr/Wire.h"
#include "platform/trace/EvDebug.h"

namespace {
constexpr const char* kTrace = "EvTaskMgr::controlTaskManager";
thread_local std::string t_lastError;
std::atomic<bool> g_stop{false};
}  // namespace

int EvTaskMgr::controlTaskManager(unsigned long, unsigned long localeId, unsigned long userId,
                                  long long sequenceNumber, unsigned long messageType, std::string& xml, bool,
                                  void*, bool, std::string, bool) {
    t_lastError.clear();
    const char* env = std::getenv("TASKDB_TASKMGR");
    taskmgr::Endpoint endpoint;
    if (!taskmgr::parseEndpoint(env ? env : "", &endpoint, &t_lastError)) {
        EvDebug::Error(kTrace, "%s", t_lastError.c_str());
        return KO_TASKMGR_ERR_ENDPOINT;
    }
    taskmgr::Request request{messageType, localeId, userId, sequenceNumber, xml};
    if (endpoint.kind == taskmgr::Endpoint::kInProcess) {
        xml = taskmgr::handle(request);
        return 0;
    }
    std::string reply;
    int rc = taskmgr::exchange(endpoint, request, kTimeoutMs, &reply, &t_lastError);
    if (rc != 0) {
        EvDebug::Error(kTrace, "Request of type [%lu] failed: [%s]", messageType, t_lastError.c_str());
        return rc;
    }
    xml = std::move(reply);
    return 0;
}

std::string EvTaskMgr::getErrorString() {
    return t_lastError;
}

int EvTaskMgr::serve(const std::string& text, std::string* err) {
    taskmgr::Endpoint endpoint;
    std::string why;
    if (!taskmgr::parseEndpoint(text, &endpoint, &why) || endpoint.kind == taskmgr::Endpoint::kInProcess) {
        if (err) *err = why.empty() ? "the service needs unix:PATH or tcp:127.0.0.1:PORT" : why;
        return KO_TASKMGR_ERR_ENDPOINT;
    }
    int fd = taskmgr::listenOn(endpoint, &why);
    if (fd < 0) {
        if (err) *err = why;
        return KO_TASKMGR_ERR_UNREACHABLE;
    }
    EvDebug::DebugLvl(3, "EvTaskMgr::serve", "Serving task manager requests at [%s]", text.c_str());
    g_stop = false;
    std::vector<std::thread> workers;
    while (!g_stop) {
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, 200) <= 0) continue;
        int c = ::accept4(fd, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (c < 0) continue;
        workers.emplace_back(taskmgr::serveConnection, c, kTimeoutMs);
        if (workers.size() >= 64) {
            for (std::thread& t : workers) t.join();
            workers.clear();
        }
    }
    for (std::thread& t : workers) t.join();
    ::close(fd);
    if (endpoint.kind == taskmgr::Endpoint::kUnix) ::unlink(endpoint.path.c_str());
    return 0;
}

void EvTaskMgr::stopService() {
    g_stop = true;
}
