#pragma once
// Keeps the mean wall time of each run, in milliseconds, for the table a benchmark program prints at the end.
#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace bench {

class Collector : public benchmark::ConsoleReporter {
  public:
    std::map<std::string, double> ms;
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs)
            if (!r.error_occurred && r.iterations > 0)
                ms[r.benchmark_name()] =
                    r.GetAdjustedRealTime() * 1e3 / benchmark::GetTimeUnitMultiplier(r.time_unit);
        ConsoleReporter::ReportRuns(runs);
    }
};

}  // namespace bench
