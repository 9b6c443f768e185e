#include "bench/Table.h"

#include <cstdarg>
#include <cstdio>

#include "bench/Cases.h"

namespace bench {

namespace {

std::string fixed(double value, int decimals) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*f", decimals, value);
    return buf;
}

// 1234567 -> "1,234,567"
std::string grouped(double value) {
    std::string digits = fixed(value, 0), out;
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i && (digits.size() - i) % 3 == 0 && digits[i - 1] != '-') out += ',';
        out += digits[i];
    }
    return out;
}

void row(std::ostream& out, const char* format, ...) __attribute__((format(printf, 2, 3)));
void row(std::ostream& out, const char* format, ...) {
    char buf[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buf, sizeof buf, format, args);
    va_end(args);
    out << buf << '\n';
}

}  // namespace

bool TableReporter::ReportContext(const Context& context) {
    if (m_smoke) return true;
    return ConsoleReporter::ReportContext(context);
}

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration) continue;
        Result& r = m_results[run.run_name.function_name];
        if (run.error_occurred) {
            ++m_errors;
            r.error = run.error_message;
        } else {
            const double ns = timedByWall(run.run_name.function_name) ? run.GetAdjustedRealTime()
                                                                      : run.GetAdjustedCPUTime();
            if (r.ns < 0 || ns < r.ns) r.ns = ns;  // the least disturbed repetition
        }
        if (m_smoke)
            GetOutputStream() << (run.error_occurred ? "FAILED " : "ok     ") << run.benchmark_name()
                              << (run.error_occurred ? ": " + run.error_message : std::string()) << '\n';
    }
    if (!m_smoke) ConsoleReporter::ReportRuns(runs);
}

const TableReporter::Result* TableReporter::find(const std::string& name) const {
    auto it = m_results.find(name);
    return it == m_results.end() ? nullptr : &it->second;
}

int TableReporter::printTables(std::ostream& out) const {
    int missed = 0;
    out << "\nLibrary against raw SQLite (ns per call: CPU time of the calling thread; threaded and service "
           "cases: wall"
           " time per call)\n";
    row(out, "%-24s %6s %12s %12s %7s %10s %10s %10s %s", "case", "rows", "library ns", "baseline ns",
        "ratio", "ns/row", "layer/row", "target", "met");
    for (const Case& c : cases()) {
        const Result* lib = find(c.name + "/library");
        const Result* raw = find(c.name + "/baseline");
        if (!lib || !raw) continue;
        if (!lib->error.empty() || !raw->error.empty()) {
            ++missed;
            row(out, "%-24s error: %s", c.name.c_str(),
                (lib->error.empty() ? raw->error : lib->error).c_str());
            continue;
        }
        const double ratio = lib->ns / raw->ns;
        const bool perRow = c.rows > 1;
        std::string target, met;
        if (c.kind == Kind::Memory) {
            const double perSecond = 1e9 * static_cast<double>(c.rows) / lib->ns;
            target = ">=" + fixed(targetOf(c.kind) / 1e6, 0) + "M/s";
            met = std::string(perSecond >= targetOf(c.kind) ? "yes" : "NO") + " (" +
                  fixed(perSecond / 1e6, 1) + "M rows/s)";
        } else {
            target = "<=" + fixed(targetOf(c.kind), 2) + "x";
            met = ratio <= targetOf(c.kind) ? "yes" : "NO";
        }
        if (met.compare(0, 2, "NO") == 0) ++missed;
        const double rows = static_cast<double>(c.rows);
        row(out, "%-24s %6ld %12s %12s %7s %10s %10s %10s %s", c.name.c_str(), c.rows,
            grouped(lib->ns).c_str(), grouped(raw->ns).c_str(), fixed(ratio, 2).c_str(),
            perRow ? fixed(lib->ns / rows, 1).c_str() : "-",
            perRow ? fixed((lib->ns - raw->ns) / rows, 1).c_str() : "-", target.c_str(), met.c_str());
    }

    out << "\nTracing at the default level (5) to a file, against the same calls with tracing filtered\n";
    row(out, "%-24s %12s %12s %12s %8s", "case", "filtered ns", "traced ns", "trace ns", "cost");
    for (const Case& c : cases()) {
        const Result* lib = find(c.name + "/library");
        const Result* traced = find(c.name + "/traced");
        if (!lib || !traced || !lib->error.empty() || !traced->error.empty()) continue;
        row(out, "%-24s %12s %12s %12s %7s%%", c.name.c_str(), grouped(lib->ns).c_str(),
            grouped(traced->ns).c_str(), grouped(traced->ns - lib->ns).c_str(),
            fixed(100.0 * (traced->ns - lib->ns) / lib->ns, 1).c_str());
    }
    return missed;
}

}  // namespace bench
