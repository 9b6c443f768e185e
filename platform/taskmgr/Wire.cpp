#include "platform/taskmgr/Wire.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <sstream>
#include <vector>

#include "platform/taskmgr/TaskManager.h"
#include "platform/trace/EvDebug.h"

namespace taskmgr {

namespace {

constexpr const char* kMagic = "TASKMGR 1";
constexpr size_t kMaxHeader = 256;
constexpr size_t kMaxBody = 64u << 20;

struct Fd {
    int fd = -1;
    ~Fd() {
        if (fd >= 0) ::close(fd);
    }
};

int msLeft(Deadline deadline) {
    auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

// Waits for `events` on fd until the deadline: true when ready.
bool waitFor(int fd, short events, Deadline deadline) {
    for (;;) {
        pollfd p{fd, events, 0};
        int r = ::poll(&p, 1, msLeft(deadline));
        if (r > 0) return true;
        if (r == 0 || errno != EINTR) return false;
    }
}

// 0, or KO_TASKMGR_ERR_TIMEOUT / KO_TASKMGR_ERR_PROTOCOL with *err set.
int sendAll(int fd, const std::string& data, Deadline deadline, std::string* err) {
    size_t done = 0;
    while (done < data.size()) {
        if (!waitFor(fd, POLLOUT, deadline)) {
            *err = "timed out sending to the task manager";
            return KO_TASKMGR_ERR_TIMEOUT;
        }
        ssize_t n = ::send(fd, data.data() + done, data.size() - done, MSG_NOSIGNAL);
        if (n < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (n <= 0) {
            *err = std::string("sending to the task manager failed: ") + std::strerror(errno);
            return KO_TASKMGR_ERR_PROTOCOL;
        }
        done += static_cast<size_t>(n);
    }
    return 0;
}

// Reads exactly `size` bytes, or up to and including a newline when `line` (at most `size` bytes).
int receive(int fd, size_t size, bool line, Deadline deadline, std::string* out, std::string* err) {
    out->clear();
    char buffer[4096];
    while (out->size() < size) {
        if (!waitFor(fd, POLLIN, deadline)) {
            *err = "timed out waiting for the task manager";
            return KO_TASKMGR_ERR_TIMEOUT;
        }
        size_t want = line ? 1 : std::min(sizeof buffer, size - out->size());
        ssize_t n = ::recv(fd, buffer, want, 0);
        if (n < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (n <= 0) {
            *err = n == 0 ? "the task manager closed the connection before answering"
                          : std::string("reading from the task manager failed: ") + std::strerror(errno);
            return KO_TASKMGR_ERR_PROTOCOL;
        }
        out->append(buffer, static_cast<size_t>(n));
        if (line && out->back() == '\n') return 0;
    }
    if (line) {
        *err = "the task manager sent a malformed header";
        return KO_TASKMGR_ERR_PROTOCOL;
    }
    return 0;
}

// The numbers after the magic of a header line.
bool parseHeader(const std::string& header, std::vector<long long>& numbers, size_t expected) {
    std::istringstream in(header);
    std::string magic, version, word;
    in >> magic >> version;
    if (magic + " " + version != kMagic) return false;
    while (in >> word) {
        long long v = 0;
        auto [p, ec] = std::from_chars(word.data(), word.data() + word.size(), v);
        if (ec != std::errc() || p != word.data() + word.size()) return false;
        numbers.push_back(v);
    }
    return numbers.size() == expected && numbers.back() >= 0 &&
           static_cast<size_t>(numbers.back()) <= kMaxBody;
}

// A socket of the endpoint's family with its address; -1 with *err on failure.
int makeSocket(const Endpoint& e, sockaddr_storage& addr, socklen_t& len, std::string* err) {
    std::memset(&addr, 0, sizeof addr);
    if (e.kind == Endpoint::kUnix) {
        auto* un = reinterpret_cast<sockaddr_un*>(&addr);
        if (e.path.size() >= sizeof un->sun_path) {
            *err = "socket path too long: " + e.path;
            return -1;
        }
        un->sun_family = AF_UNIX;
        std::memcpy(un->sun_path, e.path.c_str(), e.path.size() + 1);
        len = sizeof(sockaddr_un);
    } else {
        auto* in = reinterpret_cast<sockaddr_in*>(&addr);
        in->sin_family = AF_INET;
        in->sin_port = htons(static_cast<uint16_t>(e.port));
        inet_pton(AF_INET, e.host.c_str(), &in->sin_addr);
        len = sizeof(sockaddr_in);
    }
    int fd = ::socket(addr.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) *err = std::string("socket: ") + std::strerror(errno);
    return fd;
}

std::string describe(const Endpoint& e) {
    return e.kind == Endpoint::kUnix ? "unix:" + e.path : "tcp:" + e.host + ":" + std::to_string(e.port);
}

}  // namespace

bool parseEndpoint(const std::string& text, Endpoint* out, std::string* why) {
    *out = Endpoint{};
    if (text.empty() || text == "inprocess") return true;
    if (text.rfind("unix:", 0) == 0 && text.size() > 5) {
        out->kind = Endpoint::kUnix;
        out->path = text.substr(5);
        return true;
    }
    if (text.rfind("tcp:", 0) == 0) {
        size_t colon = text.rfind(':');
        std::string host = text.substr(4, colon - 4), port = text.substr(colon + 1);
        int p = 0;
        auto [end, ec] = std::from_chars(port.data(), port.data() + port.size(), p);
        in_addr a{};
        if (colon > 4 && ec == std::errc() && end == port.data() + port.size() && p > 0 && p < 65536 &&
            inet_pton(AF_INET, host.c_str(), &a) == 1 && (ntohl(a.s_addr) >> 24) == 127) {
            out->kind = Endpoint::kTcp;
            out->host = host;
            out->port = p;
            return true;
        }
        *why = "TASKDB_TASKMGR [" + text + "]: expected tcp:127.x.x.x:PORT (a loopback address)";
        return false;
    }
    *why = "TASKDB_TASKMGR [" + text + "]: expected inprocess, unix:PATH or tcp:127.0.0.1:PORT";
    return false;
}

int exchange(const Endpoint& endpoint, const Request& request, int timeoutMs, std::string* reply,
             std::string* err) {
    Deadline deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    sockaddr_storage addr;
    socklen_t len = 0;
    Fd s;
    if ((s.fd = makeSocket(endpoint, addr, len, err)) < 0) return KO_TASKMGR_ERR_UNREACHABLE;
    if (::connect(s.fd, reinterpret_cast<sockaddr*>(&addr), len) != 0) {
        int error = errno;
        if (error == EINPROGRESS || error == EAGAIN) {
            socklen_t l = sizeof error;
            error = waitFor(s.fd, POLLOUT, deadline)
                        ? (getsockopt(s.fd, SOL_SOCKET, SO_ERROR, &error, &l), error)
                        : ETIMEDOUT;
        }
        if (error != 0) {
            *err = "no task manager answers at " + describe(endpoint) + ": " + std::strerror(error);
            return KO_TASKMGR_ERR_UNREACHABLE;
        }
    }
    std::string header = std::string(kMagic) + " " + std::to_string(request.messageType) + " " +
                         std::to_string(request.localeId) + " " + std::to_string(request.userId) + " " +
                         std::to_string(request.sequenceNumber) + " " + std::to_string(request.xml.size()) +
                         "\n";
    int rc = sendAll(s.fd, header + request.xml, deadline, err);
    if (rc == 0) rc = receive(s.fd, kMaxHeader, true, deadline, &header, err);
    std::vector<long long> numbers;
    if (rc == 0 && !parseHeader(header, numbers, 1)) {
        *err = "the task manager sent a malformed header";
        rc = KO_TASKMGR_ERR_PROTOCOL;
    }
    if (rc == 0) rc = receive(s.fd, static_cast<size_t>(numbers[0]), false, deadline, reply, err);
    return rc;
}

int listenOn(const Endpoint& endpoint, std::string* err) {
    sockaddr_storage addr;
    socklen_t len = 0;
    if (endpoint.kind == Endpoint::kUnix) {
        // A socket file nobody answers on is left over from a service that died: take its place.
        std::string probe, ignored;
        if (exchange(endpoint, Request{}, 1000, &probe, &ignored) != KO_TASKMGR_ERR_UNREACHABLE) {
            *err = "a task manager already serves " + describe(endpoint);
            return -1;
        }
        ::unlink(endpoint.path.c_str());
    }
    int fd = makeSocket(endpoint, addr, len, err);
    if (fd < 0) return -1;
    int one = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    if (::bind(fd, reinterpret_cast<sockaddr*>(&addr), len) != 0 || ::listen(fd, 64) != 0) {
        *err = "cannot listen at " + describe(endpoint) + ": " + std::strerror(errno);
        ::close(fd);
        return -1;
    }
    return fd;
}

void serveConnection(int fd, int timeoutMs) {
    Fd s{fd};
    Deadline deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::string header, body, err;
    std::vector<long long> n;
    if (receive(fd, kMaxHeader, true, deadline, &header, &err) != 0) return;
    if (!parseHeader(header, n, 5)) {
        EvDebug::Debug("EvTaskMgr::serve", "Malformed request header [%s]", header.c_str());
        return;
    }
    if (receive(fd, static_cast<size_t>(n[4]), false, deadline, &body, &err) != 0) {
        EvDebug::Debug("EvTaskMgr::serve", "Request not received: [%s]", err.c_str());
        return;
    }
    Request r;
    r.messageType = static_cast<unsigned long>(n[0]);
    r.localeId = static_cast<unsigned long>(n[1]);
    r.userId = static_cast<unsigned long>(n[2]);
    r.sequenceNumber = n[3];
    r.xml = std::move(body);
    std::string reply = handle(r);
    sendAll(fd, std::string(kMagic) + " " + std::to_string(reply.size()) + "\n" + reply, deadline, &err);
}

}  // namespace taskmgr
