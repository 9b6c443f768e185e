#pragma once
// Levelled trace of the services: one line per call, written to the file named by TASKDB_LOG
// (default "taskdb.log" in the working directory, "-" for standard error) when the call's level is at
// most TASKDB_LOG_LEVEL (default 5; -1 writes nothing). Error lines are level 0 and Debug lines level 1,
// so they are written at every level but a negative one.
//
// Line format (fields separated by one blank; the time is local, ISO 8601 with the UTC offset):
//   2026-11-21T14:10:13.123456+01:00 <pid> <tid> L<level> <job id or -> <trace name>: <text>
// Control characters in the name and the text are written as \n, \r, \t or \xNN, so a traced value
// cannot start a line of its own.
//
// Fallbacks: a TASKDB_LOG_LEVEL that is not a whole number from -1 to 10 gives one warning on standard
// error and level 5; a TASKDB_LOG that cannot be opened gives one warning and the trace goes to
// standard error, errors and refusals only (level 1).
//
// Writing: lines are kept in a buffer and written with one write() per flush, on a file opened for
// appending: at once for error and refusal lines (levels 0 and 1), otherwise when the buffer holds
// 32 KiB, when a line comes 1 s or more after the oldest buffered one, before fork() and at exit. A
// crash loses the buffered lines: those of the last second of tracing.
//
// Rotation: before a write that would take the file over 10 MiB, the file is renamed to PATH.1 (PATH.1
// to PATH.2 and so on; PATH.5 is dropped), so the trace takes at most 60 MiB. A process that finds its
// file renamed by another one reopens PATH.
//
// Thread safety: every function may be called from any thread.
#include <string>
#include <vector>

#include "platform/PlatformExport.h"

class KO_PLATFORM_API EvDebug {
  public:
    static constexpr int kErrorLevel = 0;
    static constexpr int kDebugLevel = 1;

    // Trace at `level`; the line is dropped without formatting when the level is filtered out.
    static void DebugLvl(int level, const char* name, const char* format, ...) KO_PRINTF(3, 4);
    // The job-id form: the line is filed under `jobId`.
    static void DebugLvl(long long jobId, int level, const char* name, const char* format, ...)
        KO_PRINTF(4, 5);
    // Refusals and database errors.
    static void Debug(const char* name, const char* format, ...) KO_PRINTF(2, 3);
    // Hard failures.
    static void Error(const char* name, const char* format, ...) KO_PRINTF(2, 3);

    // Whether a line of `level` would be written (to a file or to a capture).
    static bool enabled(int level);
};

// One captured trace line (tests assert on these instead of reading the file).
struct EvTraceLine {
    int level;
    long long jobId;  // -1 when the line names no job
    std::string name;
    std::string text;
};

namespace evtrace {
// Settings are read from the environment on first use; these override them (tests, the tool).
KO_PLATFORM_API void setLevel(int level);
KO_PLATFORM_API int level();
KO_PLATFORM_API void setFile(const std::string& path);  // "-" is standard error, "" discards
KO_PLATFORM_API std::string file();                     // the trace file in force ("-", "" as above)
// Rotation limits (tests): a file is rotated before it would exceed `maxBytes`; `keep` old files stay.
KO_PLATFORM_API void setRotation(long long maxBytes, int keep);
// Writes the buffered lines now.
KO_PLATFORM_API void flush();
// The file line of `line` at the current time, escaped as the file has it.
KO_PLATFORM_API void formatLine(const EvTraceLine& line, std::string& out);

// While a capture lives, every line that passes the level filter is also kept in memory.
// Only one capture may be active at a time; it is not meant for production use.
class KO_PLATFORM_API Capture {
  public:
    explicit Capture(int level = 10);
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;
    std::vector<EvTraceLine> lines() const;
    // Lines whose text contains `needle` (and whose name equals `name` when it is not empty).
    std::vector<EvTraceLine> find(const std::string& needle, const std::string& name = "") const;
    void clear();

  private:
    int savedLevel_;
};
}  // namespace evtrace

// A levelled trace tagged with one operation name (the wrappers log through it).
class KO_PLATFORM_API EvEventWrapper {
  public:
    explicit EvEventWrapper(const char* name) : name_(name) {}
    void Debug(int level, const char* format, ...) KO_PRINTF(3, 4);
    const char* name() const { return name_; }

  private:
    const char* name_;
};
