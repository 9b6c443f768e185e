#include "platform/trace/EvDebug.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>

namespace {

constexpr size_t kFlushBytes = 32 * 1024;
constexpr long long kFlushIntervalNs = 1000000000LL;
constexpr long long kDefaultMaxBytes = 10LL * 1024 * 1024;
constexpr int kDefaultKeep = 5;
constexpr int kDefaultLevel = 5;

struct Sink {
    std::mutex mu;
    std::atomic<int> level{kDefaultLevel};
    int fd = -1;  // -1: not open yet or discarded
    bool toStderr = false;
    bool configured = false;
    std::string path;
    std::string buffer;              // lines not written yet
    long long oldestBufferedNs = 0;  // when the first line of `buffer` came
    long long maxBytes = kDefaultMaxBytes;
    int keep = kDefaultKeep;
    std::vector<EvTraceLine>* capture = nullptr;  // guarded by mu
};

std::atomic<int> gForkGeneration{0};

void warn(const std::string& text) {
    std::string line = "trace: " + text + "\n";
    (void)!::write(2, line.data(), line.size());
}

int levelFromEnvironment() {
    const char* text = std::getenv("TASKDB_LOG_LEVEL");
    if (!text || !*text) return kDefaultLevel;
    int value = 0;
    const char* end = text + std::strlen(text);
    auto [ptr, ec] = std::from_chars(text, end, value);
    if (ec == std::errc() && ptr == end && value >= -1 && value <= 10) return value;
    warn(std::string("TASKDB_LOG_LEVEL '") + text + "' is not a whole number from -1 to 10; using " +
         std::to_string(kDefaultLevel));
    return kDefaultLevel;
}

void flushLocked(Sink& s);
void atForkPrepare();
void atForkParent();
void atForkChild();

Sink& sink() {
    static Sink* s = [] {
        auto* x = new Sink;  // never destroyed: trace may run during static destruction
        x->level = levelFromEnvironment();
        const char* file = std::getenv("TASKDB_LOG");
        x->path = file ? file : "taskdb.log";
        x->buffer.reserve(kFlushBytes * 2);
        std::atexit([] { evtrace::flush(); });
        pthread_atfork(atForkPrepare, atForkParent, atForkChild);
        return x;
    }();
    return *s;
}

// Buffered lines are written before fork() so that the child does not write them a second time.
void atForkPrepare() {
    Sink& s = sink();
    s.mu.lock();
    flushLocked(s);
}
void atForkParent() {
    sink().mu.unlock();
}
void atForkChild() {
    ++gForkGeneration;
    sink().mu.unlock();
}

long long nowNs(timespec& ts) {
    clock_gettime(CLOCK_REALTIME, &ts);
    return static_cast<long long>(ts.tv_sec) * 1000000000LL + ts.tv_nsec;
}

// Opens the file lazily so that a process that never traces creates no file.
void openLocked(Sink& s) {
    if (s.configured) return;
    s.configured = true;
    if (s.path == "-") {
        s.toStderr = true;
    } else if (!s.path.empty()) {
        s.fd = ::open(s.path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        if (s.fd < 0) {
            warn("cannot open TASKDB_LOG '" + s.path + "' (" + std::strerror(errno) +
                 "); errors and refusals go to standard error");
            s.toStderr = true;
            if (s.level > EvDebug::kDebugLevel) s.level = EvDebug::kDebugLevel;
        }
    }
}

// PATH -> PATH.1 -> ... -> PATH.keep (dropped), then a fresh PATH.
void rotateLocked(Sink& s) {
    for (int i = s.keep; i >= 1; --i) {
        std::string from = i == 1 ? s.path : s.path + "." + std::to_string(i - 1);
        std::string to = s.path + "." + std::to_string(i);
        ::rename(from.c_str(), to.c_str());
    }
    if (s.keep == 0) ::unlink(s.path.c_str());
    ::close(s.fd);
    s.fd = ::open(s.path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
}

void writeAll(int fd, const char* data, size_t size) {
    while (size > 0) {
        ssize_t n = ::write(fd, data, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;
        data += n;
        size -= static_cast<size_t>(n);
    }
}

void flushLocked(Sink& s) {
    if (s.buffer.empty()) return;
    if (s.toStderr) {
        writeAll(2, s.buffer.data(), s.buffer.size());
    } else if (s.fd >= 0) {
        struct stat open, named;
        // Another process may have rotated the file: write to the one that now has the name.
        if (::stat(s.path.c_str(), &named) != 0 ||
            (::fstat(s.fd, &open) == 0 && open.st_ino != named.st_ino)) {
            ::close(s.fd);
            s.fd = ::open(s.path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
            if (s.fd >= 0) ::fstat(s.fd, &named);
        }
        if (s.fd >= 0 && named.st_size > 0 &&
            named.st_size + static_cast<long long>(s.buffer.size()) > s.maxBytes)
            rotateLocked(s);
        if (s.fd >= 0) writeAll(s.fd, s.buffer.data(), s.buffer.size());
    }
    s.buffer.clear();
}

void appendEscaped(std::string& out, const char* text, size_t size) {
    const char* run = text;
    const char* end = text + size;
    for (const char* p = text; p < end; ++p) {
        unsigned char c = static_cast<unsigned char>(*p);
        if (c >= 0x20 && c != 0x7f) continue;
        out.append(run, p);
        char esc[5] = {'\\', 0, 0, 0, 0};
        if (c == '\n') {
            esc[1] = 'n';
        } else if (c == '\r') {
            esc[1] = 'r';
        } else if (c == '\t') {
            esc[1] = 't';
        } else {
            static const char kHex[] = "0123456789abcdef";
            esc[1] = 'x';
            esc[2] = kHex[c >> 4];
            esc[3] = kHex[c & 15];
        }
        out.append(esc);
        run = p + 1;
    }
    out.append(run, end);
}

template <class T>
void appendNumber(std::string& out, T value) {
    char digits[24];
    auto r = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, r.ptr);
}

// The part of a line before the pid: the local time to the second and the UTC offset, cached per thread
// for the current second.
struct ThreadStamp {
    time_t second = -1;
    char date[24];   // "2026-11-21T14:10:13"
    char offset[8];  // "+01:00"
    long tid = 0;
    int generation = -1;
};

void appendHead(std::string& out, const timespec& ts, int level, long long jobId) {
    thread_local ThreadStamp stamp;
    int generation = gForkGeneration.load(std::memory_order_relaxed);
    if (stamp.generation != generation) {
        stamp.generation = generation;
        stamp.tid = static_cast<long>(syscall(SYS_gettid));
    }
    if (stamp.second != ts.tv_sec) {
        tm t;
        localtime_r(&ts.tv_sec, &t);
        std::strftime(stamp.date, sizeof stamp.date, "%Y-%m-%dT%H:%M:%S", &t);
        long off = t.tm_gmtoff;
        char sign = off < 0 ? '-' : '+';
        off = off < 0 ? -off : off;
        int hours = static_cast<int>(off / 3600 % 100), minutes = static_cast<int>(off / 60 % 60);
        const char text[7] = {
            sign, static_cast<char>('0' + hours / 10),   static_cast<char>('0' + hours % 10),
            ':',  static_cast<char>('0' + minutes / 10), static_cast<char>('0' + minutes % 10),
            0};
        std::memcpy(stamp.offset, text, sizeof text);
        stamp.second = ts.tv_sec;
    }
    out.append(stamp.date);
    char micro[8] = {'.', '0', '0', '0', '0', '0', '0', 0};
    long us = ts.tv_nsec / 1000;
    for (int i = 6; i >= 1; --i, us /= 10) micro[i] = static_cast<char>('0' + us % 10);
    out.append(micro, 7);
    out.append(stamp.offset);
    out += ' ';
    appendNumber(out, static_cast<int>(getpid()));
    out += ' ';
    appendNumber(out, stamp.tid);
    out.append(" L", 2);
    appendNumber(out, level);
    out += ' ';
    if (jobId >= 0)
        appendNumber(out, jobId);
    else
        out += '-';
    out += ' ';
}

void appendLine(std::string& out, const timespec& ts, int level, long long jobId, const char* name,
                const char* text, size_t size) {
    appendHead(out, ts, level, jobId);
    appendEscaped(out, name, std::strlen(name));
    out.append(": ", 2);
    appendEscaped(out, text, size);
    out += '\n';
}

void emit(int level, long long jobId, const char* name, const char* format, va_list ap) {
    Sink& s = sink();
    if (!name) name = "";
    // The text is formatted once, into a per-thread buffer that grows only for long texts.
    thread_local std::string text(1024, '\0');
    va_list copy;
    va_copy(copy, ap);
    int n = std::vsnprintf(&text[0], text.size(), format, copy);
    va_end(copy);
    if (n < 0) n = 0;
    if (static_cast<size_t>(n) >= text.size()) {
        text.resize(static_cast<size_t>(n) + 1);
        std::vsnprintf(&text[0], text.size(), format, ap);
    }
    timespec ts;
    long long now = nowNs(ts);
    std::lock_guard<std::mutex> lock(s.mu);
    openLocked(s);
    if (s.capture) s.capture->push_back(EvTraceLine{level, jobId, name, std::string(text.data(), n)});
    if (!s.toStderr && s.fd < 0) return;
    if (level > s.level.load(std::memory_order_relaxed)) return;  // a fallback lowered the level
    if (s.buffer.empty()) s.oldestBufferedNs = now;
    appendLine(s.buffer, ts, level, jobId, name, text.data(), static_cast<size_t>(n));
    if (level <= EvDebug::kDebugLevel || s.buffer.size() >= kFlushBytes ||
        now - s.oldestBufferedNs >= kFlushIntervalNs)
        flushLocked(s);
}

}  // namespace

bool EvDebug::enabled(int level) {
    return level <= sink().level.load(std::memory_order_relaxed);
}

void EvDebug::DebugLvl(int level, const char* name, const char* format, ...) {
    if (!enabled(level)) return;
    va_list ap;
    va_start(ap, format);
    emit(level, -1, name, format, ap);
    va_end(ap);
}

void EvDebug::DebugLvl(long long jobId, int level, const char* name, const char* format, ...) {
    if (!enabled(level)) return;
    va_list ap;
    va_start(ap, format);
    emit(level, jobId, name, format, ap);
    va_end(ap);
}

void EvDebug::Debug(const char* name, const char* format, ...) {
    if (!enabled(kDebugLevel)) return;
    va_list ap;
    va_start(ap, format);
    emit(kDebugLevel, -1, name, format, ap);
    va_end(ap);
}

void EvDebug::Error(const char* name, const char* format, ...) {
    if (!enabled(kErrorLevel)) return;
    va_list ap;
    va_start(ap, format);
    emit(kErrorLevel, -1, name, format, ap);
    va_end(ap);
}

void EvEventWrapper::Debug(int level, const char* format, ...) {
    if (!EvDebug::enabled(level)) return;
    va_list ap;
    va_start(ap, format);
    emit(level, -1, name_, format, ap);
    va_end(ap);
}

namespace evtrace {

void setLevel(int level) {
    sink().level = level;
}
int level() {
    return sink().level;
}

void setFile(const std::string& path) {
    Sink& s = sink();
    std::lock_guard<std::mutex> lock(s.mu);
    flushLocked(s);
    if (s.fd >= 0) ::close(s.fd);
    s.fd = -1;
    s.toStderr = false;
    s.configured = false;
    s.path = path;
}

std::string file() {
    Sink& s = sink();
    std::lock_guard<std::mutex> lock(s.mu);
    return s.path;
}

void setRotation(long long maxBytes, int keep) {
    Sink& s = sink();
    std::lock_guard<std::mutex> lock(s.mu);
    s.maxBytes = maxBytes;
    s.keep = keep < 0 ? 0 : keep;
}

void flush() {
    Sink& s = sink();
    std::lock_guard<std::mutex> lock(s.mu);
    flushLocked(s);
}

void formatLine(const EvTraceLine& line, std::string& out) {
    timespec ts;
    nowNs(ts);
    out.clear();
    appendLine(out, ts, line.level, line.jobId, line.name.c_str(), line.text.data(), line.text.size());
}

Capture::Capture(int lvl) : savedLevel_(sink().level) {
    Sink& s = sink();
    std::lock_guard<std::mutex> lock(s.mu);
    s.capture = new std::vector<EvTraceLine>;
    s.level = lvl;
}

Capture::~Capture() {
    Sink& s = sink();
    std::lock_guard<std::mutex> lock(s.mu);
    delete s.capture;
    s.capture = nullptr;
    s.level = savedLevel_;
}

std::vector<EvTraceLine> Capture::lines() const {
    Sink& s = sink();
    std::lock_guard<std::mutex> lock(s.mu);
    return s.capture ? *s.capture : std::vector<EvTraceLine>{};
}

std::vector<EvTraceLine> Capture::find(const std::string& needle, const std::string& name) const {
    std::vector<EvTraceLine> hits;
    for (const auto& l : lines())
        if (l.text.find(needle) != std::string::npos && (name.empty() || l.name == name)) hits.push_back(l);
    return hits;
}

void Capture::clear() {
    Sink& s = sink();
    std::lock_guard<std::mutex> lock(s.mu);
    if (s.capture) s.capture->clear();
}

}  // namespace evtrace
