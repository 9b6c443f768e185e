#pragma once
// Levelled trace of the services: one line per call, written to the file named by TASKDB_LOG
// (default "taskdb.log" in the working directory, "-" for standard error) when the call's level is at
// most TASKDB_LOG_LEVEL (default 5). Error lines are level 0 and Debug lines level 1, so they are
// written at every level but a negative one.
//
// Line format (fields separated by one blank):
//   2026-11-21 14:10:13.123456 <pid> <tid> L<level> <job id or -> <trace name>: <text>
//
// Thread safety: every function may be called from any thread; each line is written with one
// write() on a file opened for appending, so lines of several processes never interleave.
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
