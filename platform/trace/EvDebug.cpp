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
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
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
    std::atomic<bool> capturing{false};
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

// The first byte in [p, stop) below 0x20 or equal to 0x7f, or stop. Eight bytes are tested at a time,
// since nearly every traced text has none.
const char* nextControl(const char* p, const char* stop) {
    constexpr uint64_t kOnes = 0x0101010101010101ULL, kHigh = 0x8080808080808080ULL;
    for (; stop - p >= 8; p += 8) {
        uint64_t x;
        std::memcpy(&x, p, 8);
        uint64_t del = x ^ (0x7f * kOnes);
        // A byte below 0x20 (or a DEL) sets its high bit here; bytes of 0x80 and above are masked out.
        uint64_t hit = ((x - 0x20 * kOnes) | (del - kOnes)) & ~x & kHigh;
        if (hit) break;
    }
    for (; p < stop; ++p) {
        unsigned char c = static_cast<unsigned char>(*p);
        if (c < 0x20 || c == 0x7f) return p;
    }
    return stop;
}

// A line is built in a fixed per-thread array with plain stores: no allocation, one pass per field.
class LineWriter {
  public:
    LineWriter(char* data, size_t room) : p_(data), end_(data + room) {}
    void put(const char* text, size_t size) {
        if (size > static_cast<size_t>(end_ - p_)) size = static_cast<size_t>(end_ - p_);
        std::memcpy(p_, text, size);
        p_ += size;
    }
    void put(char c) {
        if (p_ < end_) *p_++ = c;
    }
    template <class T>
    void number(T value) {
        p_ = std::to_chars(p_, end_, value).ptr;
    }
    // Control characters become \n, \r, \t or \xNN; runs without them are copied whole.
    void escaped(const char* text, size_t size) {
        const char* run = text;
        const char* stop = text + size;
        const char* q = text;
        while (q < stop) {
            q = nextControl(q, stop);
            if (q == stop) break;
            unsigned char c = static_cast<unsigned char>(*q);
            put(run, static_cast<size_t>(q - run));
            static const char kHex[] = "0123456789abcdef";
            char esc[4] = {'\\', 'x', kHex[c >> 4], kHex[c & 15]};
            size_t n = 4;
            if (c == '\n' || c == '\r' || c == '\t') {
                esc[1] = c == '\n' ? 'n' : c == '\r' ? 'r' : 't';
                n = 2;
            }
            put(esc, n);
            run = ++q;
        }
        put(run, static_cast<size_t>(stop - run));
    }
    // `format` with the arguments in `ap` when every conversion is %d, %i, %u (with l or ll), %s, %c or
    // %%: those are written with std::to_chars. False at the first other one (a width, a precision, %x,
    // %f...): the caller then formats with vsnprintf from a copy of the arguments.
    bool formatted(const char* format, va_list ap) {
        const char* run = format;
        for (const char* q = std::strchr(format, '%'); q; q = std::strchr(q + 1, '%')) {
            escaped(run, static_cast<size_t>(q - run));
            int longs = 0;
            while (*++q == 'l' && longs < 2) ++longs;
            switch (*q) {
                case 'd':
                case 'i':
                    if (longs == 0)
                        number(va_arg(ap, int));
                    else if (longs == 1)
                        number(va_arg(ap, long));
                    else
                        number(va_arg(ap, long long));
                    break;
                case 'u':
                    if (longs == 0)
                        number(va_arg(ap, unsigned));
                    else if (longs == 1)
                        number(va_arg(ap, unsigned long));
                    else
                        number(va_arg(ap, unsigned long long));
                    break;
                case 's':
                case 'c':
                case '%':
                    if (longs != 0) return false;
                    if (*q == '%') {
                        put('%');
                    } else if (*q == 'c') {
                        char c = static_cast<char>(va_arg(ap, int));
                        escaped(&c, 1);
                    } else {
                        const char* text = va_arg(ap, const char*);
                        if (!text) text = "(null)";
                        escaped(text, std::strlen(text));
                    }
                    break;
                default:
                    return false;
            }
            run = q + 1;
        }
        escaped(run, std::strlen(run));
        return true;
    }
    char* position() const { return p_; }

  private:
    char* p_;
    char* end_;
};

// What a line starts with that changes at most once a second or once per thread: the local time to
// the second, the UTC offset, and " <pid> <tid> L".
struct ThreadStamp {
    time_t second = -1;
    char date[24];   // "2026-11-21T14:10:13"
    char offset[8];  // "+01:00"
    char ids[48];    // " 4242 4243 L"
    size_t idsLength = 0;
    int generation = -1;
};

const ThreadStamp& stampFor(const timespec& ts) {
    thread_local ThreadStamp stamp;
    int generation = gForkGeneration.load(std::memory_order_relaxed);
    if (stamp.generation != generation) {
        stamp.generation = generation;
        int n = std::snprintf(stamp.ids, sizeof stamp.ids, " %d %ld L", static_cast<int>(getpid()),
                              static_cast<long>(syscall(SYS_gettid)));
        stamp.idsLength = n > 0 ? static_cast<size_t>(n) : 0;
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
    return stamp;
}

// Writes the line's head (time, pid, thread, level, job, name) into `w`.
void writeHead(LineWriter& w, const timespec& ts, int level, long long jobId, const char* name) {
    const ThreadStamp& stamp = stampFor(ts);
    w.put(stamp.date, 19);
    char micro[7] = {'.', '0', '0', '0', '0', '0', '0'};
    long us = ts.tv_nsec / 1000;
    for (int i = 6; i >= 1; --i, us /= 10) micro[i] = static_cast<char>('0' + us % 10);
    w.put(micro, 7);
    w.put(stamp.offset, 6);
    w.put(stamp.ids, stamp.idsLength);
    w.number(level);
    w.put(' ');
    if (jobId >= 0)
        w.number(jobId);
    else
        w.put('-');
    w.put(' ');
    w.escaped(name, std::strlen(name));
    w.put(": ", 2);
}

// Writes the file line into [data, data + room) and returns its length (cut at room, newline kept).
size_t writeLine(char* data, size_t room, const timespec& ts, int level, long long jobId, const char* name,
                 const char* text, size_t size) {
    LineWriter w(data, room - 1);
    writeHead(w, ts, level, jobId, name);
    w.escaped(text, size);
    char* end = w.position();
    *end++ = '\n';
    return static_cast<size_t>(end - data);
}

// As writeLine, formatting `format` in the same pass; 0 when it has a conversion LineWriter::formatted
// leaves to vsnprintf.
size_t writeFormattedLine(char* data, size_t room, const timespec& ts, int level, long long jobId,
                          const char* name, const char* format, va_list ap) {
    LineWriter w(data, room - 1);
    writeHead(w, ts, level, jobId, name);
    if (!w.formatted(format, ap)) return 0;
    char* end = w.position();
    *end++ = '\n';
    return static_cast<size_t>(end - data);
}

// The longest line kept whole: a longer one (a text over about 16 KiB, escapes counted) is cut.
constexpr size_t kLineRoom = 64 * 1024;

void emit(int level, long long jobId, const char* name, const char* format, va_list ap) {
    Sink& s = sink();
    if (!name) name = "";
    thread_local std::unique_ptr<char[]> line(new char[kLineRoom]);
    timespec ts;
    long long now = nowNs(ts);
    size_t length = 0;
    bool capturing = s.capturing.load(std::memory_order_relaxed);
    // Captures keep the text apart from the line, so they take the vsnprintf road.
    thread_local std::string text(1024, '\0');
    int n = 0;
    va_list copy;
    va_copy(copy, ap);
    if (!capturing) length = writeFormattedLine(line.get(), kLineRoom, ts, level, jobId, name, format, ap);
    if (length == 0) {
        va_list again;
        va_copy(again, copy);
        n = std::vsnprintf(&text[0], text.size(), format, again);
        va_end(again);
        if (n < 0) n = 0;
        if (static_cast<size_t>(n) >= text.size()) {
            text.resize(static_cast<size_t>(n) + 1);
            std::vsnprintf(&text[0], text.size(), format, copy);
        }
        length =
            writeLine(line.get(), kLineRoom, ts, level, jobId, name, text.data(), static_cast<size_t>(n));
    }
    va_end(copy);
    std::lock_guard<std::mutex> lock(s.mu);
    openLocked(s);
    if (s.capture && capturing)
        s.capture->push_back(EvTraceLine{level, jobId, name, std::string(text.data(), n)});
    if (!s.toStderr && s.fd < 0) return;
    if (level > s.level.load(std::memory_order_relaxed)) return;  // a fallback lowered the level
    if (s.buffer.empty()) s.oldestBufferedNs = now;
    s.buffer.append(line.get(), length);
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
    out.resize(line.name.size() * 4 + line.text.size() * 4 + 128);
    out.resize(writeLine(&out[0], out.size(), ts, line.level, line.jobId, line.name.c_str(), line.text.data(),
                         line.text.size()));
}

Capture::Capture(int lvl) : savedLevel_(sink().level) {
    Sink& s = sink();
    std::lock_guard<std::mutex> lock(s.mu);
    s.capture = new std::vector<EvTraceLine>;
    s.capturing = true;
    s.level = lvl;
}

Capture::~Capture() {
    Sink& s = sink();
    std::lock_guard<std::mutex> lock(s.mu);
    delete s.capture;
    s.capture = nullptr;
    s.capturing = false;
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
