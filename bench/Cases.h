#pragma once
// The registry of benchmark cases: each case is a library body and a baseline body doing the same work
// with the raw SQLite C API, optionally a third run of the library body with tracing on.
//
// Registration happens on the main thread before benchmarks run; the bodies run on Google Benchmark's
// threads (several at once only for a case registered with threads > 1).
#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace bench {

enum class Kind {
    Read,    // judged by ratio: at most 1.2 times the baseline
    Write,   // at most 1.3 times the baseline
    Memory,  // no database work: judged by rows per second (at least 10 million)
};

using Body = std::function<void(benchmark::State&)>;

struct Case {
    std::string name;  // as the table shows it
    long rows = 1;     // rows one call handles (its cost per row is shown when more than 1)
    Kind kind = Kind::Read;
    int threads = 1;      // > 1: both bodies run on that many threads at once; times are wall time per call
    bool traced = false;  // also run the library body with tracing at the default level to a file
    Body library, baseline;
    bool wallTime = false;  // times are wall time per call (the work runs on another thread or process)
};

// Whether the case of a registered run name ("<name>/library", ...) is timed by wall time.
bool timedByWall(const std::string& runName);

// Adds a case (call before registerCases).
void addCase(Case c);
const std::vector<Case>& cases();

// Registers every added case with Google Benchmark as "<name>/library", "<name>/baseline" and
// "<name>/traced". `iterations` > 0: each runs exactly that many (1 for the smoke run, a fixed count
// for bench/icount.sh); else Google Benchmark chooses. `traceFile` receives the traced runs' lines.
void registerCases(long iterations, const std::string& traceFile);

// The ratio a case must stay under (Read, Write), or the rows per second it must reach (Memory).
double targetOf(Kind kind);

// Each file registers its cases through one of these (called by main, in this order).
void addReadCases();
void addWriteCases();
void addRecordCases();
void addXmlCases();
void addTaskManagerCases();
void addServerCases();
void addPlatformCases();

// Ends the run of a body with an error that the table shows, instead of a time.
void failed(benchmark::State& state, const std::string& what);

}  // namespace bench
