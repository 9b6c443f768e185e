#pragma once
// Collects Google Benchmark's runs and prints the comparison table: case, library time, baseline
// time, ratio, the cost per row and what the layer adds per row, the target and whether it was met;
// then what tracing at the default level costs. Used on the main thread only.
#include <benchmark/benchmark.h>

#include <map>
#include <ostream>
#include <string>

namespace bench {

class TableReporter : public benchmark::ConsoleReporter {
  public:
    // `smoke`: Google Benchmark's own lines are replaced by one short line per run.
    explicit TableReporter(bool smoke) : m_smoke(smoke) {}

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    // The tables for every case whose library and baseline runs both reported. Returns how many
    // cases missed their target.
    int printTables(std::ostream& out) const;
    // Runs that ended with an error (the smoke test fails on any).
    int errors() const { return m_errors; }

  private:
    struct Result {
        double ns = -1;  // per call: CPU time of the calling thread, wall time for threaded runs
        std::string error;
    };
    const Result* find(const std::string& name) const;

    bool m_smoke;
    int m_errors = 0;
    std::map<std::string, Result> m_results;  // by run name without its suffixes: "lookup/library"
};

}  // namespace bench
