#include "bench/Cases.h"

#include "platform/trace/EvDebug.h"

namespace bench {

namespace {

std::vector<Case>& registry() {
    static std::vector<Case> all;
    return all;
}

// Level 0 lets only error lines through: the library's operation traces (levels 1 to 10) are filtered
// before they are formatted, which is how a production service runs it.
constexpr int kFilteredLevel = 0;
constexpr int kDefaultLevel = 5;

// Tracing at the default level to a file for the life of the object.
class TraceOn {
  public:
    explicit TraceOn(const std::string& file) {
        evtrace::setFile(file);
        evtrace::setLevel(kDefaultLevel);
    }
    ~TraceOn() { evtrace::setLevel(kFilteredLevel); }
};

void tune(benchmark::internal::Benchmark* b, const Case& c, long iterations) {
    b->Unit(benchmark::kNanosecond);
    if (c.threads > 1) b->Threads(c.threads);
    if (c.threads > 1 || c.wallTime) b->UseRealTime();
    if (iterations > 0) b->Iterations(iterations);
}

}  // namespace

bool timedByWall(const std::string& runName) {
    const std::string name = runName.substr(0, runName.rfind('/'));
    for (const Case& c : registry())
        if (c.name == name) return c.threads > 1 || c.wallTime;
    return false;
}

void addCase(Case c) {
    registry().push_back(std::move(c));
}

const std::vector<Case>& cases() {
    return registry();
}

double targetOf(Kind kind) {
    switch (kind) {
        case Kind::Read:
            return 1.2;
        case Kind::Write:
            return 1.3;
        case Kind::Memory:
            return 10e6;
    }
    return 0;
}

void registerCases(long iterations, const std::string& traceFile) {
    evtrace::setLevel(kFilteredLevel);
    for (const Case& c : registry()) {
        tune(benchmark::RegisterBenchmark((c.name + "/library").c_str(), c.library), c, iterations);
        tune(benchmark::RegisterBenchmark((c.name + "/baseline").c_str(), c.baseline), c, iterations);
        if (!c.traced) continue;
        Body body = c.library;
        tune(benchmark::RegisterBenchmark((c.name + "/traced").c_str(),
                                          [body, traceFile](benchmark::State& state) {
                                              TraceOn on(traceFile);
                                              body(state);
                                          }),
             c, iterations);
    }
}

void failed(benchmark::State& state, const std::string& what) {
    state.SkipWithError(what.c_str());
}

}  // namespace bench
