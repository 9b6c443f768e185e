// taskdb_bench: every store operation against a raw-SQLite baseline doing the same work, in one process
// on one store file, then a table of the ratios against their targets.
//
//   taskdb_bench                 every case three times (shuffled, fastest kept), Google Benchmark's
//                                output, then the tables
//   taskdb_bench --smoke         every case once, one line per run; exit 1 when any run failed
//   taskdb_bench --iterations=N  every run exactly N calls (for counting instructions: bench/icount.sh)
//   taskdb_bench --benchmark_filter=getOptions ...   any Google Benchmark flag
//
// Exit status: 0; 1 when a run failed (smoke) or a target was missed (full run, with --strict).
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <vector>

#include "bench/Cases.h"
#include "bench/Store.h"
#include "bench/Table.h"

int main(int argc, char** argv) {
    bool smoke = false, strict = false;
    long iterations = 0;
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--smoke") == 0)
            smoke = true;
        else if (std::strncmp(argv[i], "--iterations=", 13) == 0)
            iterations = std::atol(argv[i] + 13);
        else if (std::strcmp(argv[i], "--strict") == 0)
            strict = true;
        else
            args.push_back(argv[i]);
    }
    // A timed run measures each case three times, library and baseline runs shuffled together, and
    // keeps the fastest of each: the ratio then compares runs the machine disturbed alike.
    static char repetitions[] = "--benchmark_repetitions=3";
    static char interleaved[] = "--benchmark_enable_random_interleaving=true";
    const bool ownRepetitions = std::any_of(args.begin(), args.end(), [](const char* a) {
        return std::strncmp(a, "--benchmark_repetitions", 23) == 0;
    });
    if (!smoke && iterations == 0 && !ownRepetitions) {
        args.push_back(repetitions);
        args.push_back(interleaved);
    }
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data())) return 2;

    const bench::Store& store = bench::store();
    bench::addReadCases();
    bench::addWriteCases();
    bench::addRecordCases();
    bench::addXmlCases();
    bench::addTaskManagerCases();
    bench::addServerCases();
    bench::addPlatformCases();
    bench::registerCases(smoke ? 1 : iterations, store.dir + "/trace.log");

    bench::TableReporter reporter(smoke);
    const size_t ran = benchmark::RunSpecifiedBenchmarks(&reporter);
    int status = 0;
    if (smoke) {
        std::cout << "smoke: " << ran << " runs, " << reporter.errors() << " failed\n";
        status = reporter.errors() ? 1 : 0;
    } else {
        const int missed = reporter.printTables(std::cout);
        std::cout << "\n" << missed << " case(s) missed their target\n";
        if (strict && (missed || reporter.errors())) status = 1;
    }
    benchmark::Shutdown();
    bench::removeStore();
    return status;
}
