#include "platform/trace/EvDebug.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>

namespace {

struct Sink {
    std::mutex mu;
    std::atomic<int> level{5};
    int fd = -1;  // -1: not open yet or discarded
    bool toStderr = false;
    bool configured = false;
    std::string path;
    std::vector<EvTraceLine>* capture = nullptr;  // guarded by mu
};

Sink& sink() {
    static Sink* s = [] {
        auto* x = new Sink;  // never destroyed: trace may run during static destruction
        const char* lvl = std::getenv("TASKDB_LOG_LEVEL");
        if (lvl && *lvl) x->level = std::atoi(lvl);
        const char* file = std::getenv("TASKDB_LOG");
        x->path = file ? file : "taskdb.log";
        return x;
    }();
    return *s;
}

// Opens the file lazily so that a process that never traces creates no file.
void openLocked(Sink& s) {
    if (s.configured) return;
    s.configured = true;
    if (s.path == "-") {
        s.toStderr = true;
    } else if (!s.path.empty()) {
        s.fd = ::open(s.path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    }
}

void emit(int level, long long jobId, const char* name, const char* format, va_list ap) {
    Sink& s = sink();
    EvTraceLine line{level, jobId, name ? name : "", std::string()};
    char buf[1024];
    va_list copy;
    va_copy(copy, ap);
    int n = std::vsnprintf(buf, sizeof buf, format, copy);
    va_end(copy);
    if (n < 0) n = 0;
    if (static_cast<size_t>(n) < sizeof buf) {
        line.text.assign(buf, static_cast<size_t>(n));
    } else {
        line.text.resize(static_cast<size_t>(n) + 1);
        std::vsnprintf(&line.text[0], line.text.size(), format, ap);
        line.text.resize(static_cast<size_t>(n));
    }
    std::string out;
    evtrace::formatLine(line, out);
    std::lock_guard<std::mutex> lock(s.mu);
    openLocked(s);
    if (s.capture) s.capture->push_back(line);
    if (s.toStderr) {
        (void)!::write(2, out.data(), out.size());
    } else if (s.fd >= 0) {
        (void)!::write(s.fd, out.data(), out.size());
    }
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
    if (s.fd >= 0) ::close(s.fd);
    s.fd = -1;
    s.toStderr = false;
    s.configured = false;
    s.path = path;
}

void formatLine(const EvTraceLine& line, std::string& out) {
    timeval tv;
    gettimeofday(&tv, nullptr);
    tm t;
    localtime_r(&tv.tv_sec, &t);
    char head[160];
    char job[32] = "-";
    if (line.jobId >= 0) std::snprintf(job, sizeof job, "%lld", line.jobId);
    int n = std::snprintf(head, sizeof head, "%04d-%02d-%02d %02d:%02d:%02d.%06ld %d %ld L%d %s ",
                          t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec,
                          static_cast<long>(tv.tv_usec), static_cast<int>(getpid()),
                          static_cast<long>(syscall(SYS_gettid)), line.level, job);
    out.assign(head, n > 0 ? static_cast<size_t>(n) : 0);
    out += line.name;
    out += ": ";
    out += line.text;
    out += '\n';
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
