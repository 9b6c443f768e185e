#pragma once
// Helpers shared by the case files: the library object, per-thread baseline objects, and the loop
// frame that turns failures into benchmark errors.
#include <array>
#include <exception>
#include <memory>
#include <string>

#include "TaskInterface.h"
#include "bench/Cases.h"
#include "bench/Store.h"

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#define TASKDB_BENCH_TOGGLE_COUNT() CALLGRIND_TOGGLE_COLLECT
#else
#define TASKDB_BENCH_TOGGLE_COUNT() \
    do {                            \
    } while (0)
#endif

namespace bench {

// Instruction counting for bench/icount.sh (callgrind started with --collect-atstart=no): only the
// timed work is counted. Without valgrind these cost a few instructions. Single-threaded cases only.
class Counted {
  public:
    explicit Counted(const benchmark::State& state) : m_on(state.threads() == 1) {
        if (m_on) TASKDB_BENCH_TOGGLE_COUNT();
    }
    ~Counted() {
        if (m_on) TASKDB_BENCH_TOGGLE_COUNT();
    }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

  private:
    bool m_on;
};
// Stops, then restarts, the timing and the count around work between timed calls.
inline void pause(benchmark::State& state) {
    TASKDB_BENCH_TOGGLE_COUNT();
    state.PauseTiming();
}
inline void resume(benchmark::State& state) {
    state.ResumeTiming();
    TASKDB_BENCH_TOGGLE_COUNT();
}

// The library object every case calls (stateless, so one serves all threads). Created on first use.
TaskInterface& library();

// A baseline object for the calling benchmark thread, built on the thread's first use and kept for
// the process, so that its statements stay prepared and its page cache warm across runs, as the
// library's pooled connection does.
template <class T>
T& perThread(const benchmark::State& state) {
    static std::array<std::unique_ptr<T>, 16> slots;
    std::unique_ptr<T>& slot = slots.at(static_cast<size_t>(state.thread_index()));
    if (!slot) slot = std::make_unique<T>();
    return *slot;
}

// Runs `body(state)`, turning an exception (a baseline's SQLite failure) into a benchmark error.
template <class F>
void guarded(benchmark::State& state, F&& body) {
    try {
        body();
    } catch (const std::exception& e) {
        failed(state, e.what());
    }
}

// Checks a library result inside the timed loop: false (and the run marked failed) for a non-zero code.
inline bool ok(benchmark::State& state, int rc, const std::string& err, const char* what) {
    if (rc == 0) return true;
    failed(state, std::string(what) + " returned " + std::to_string(rc) + ": " + err);
    return false;
}

}  // namespace bench
