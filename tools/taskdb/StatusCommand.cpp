// taskdb status: which store, library and trace the tool would use, and what the store holds.
#include <iostream>

#include "platform/db/Backend.h"
#include "platform/db/DBcatalog.h"
#include "platform/db/DBschema.h"
#include "platform/db/DBtran.h"
#include "platform/trace/EvDebug.h"
#include "tools/taskdb/Commands.h"
#include "tools/taskdb/Output.h"
#include "tools/taskdb/Session.h"

namespace {

// Rows of every table of the schema, in catalogue order; -1 for a table that cannot be counted
// (missing in an older store), with the first failure's text in err.
std::vector<std::pair<std::string, long long>> countRows(std::string& err) {
    std::vector<std::pair<std::string, long long>> counts;
    DBtran tran;
    tran.setHint(DBtran::kHintRead);
    if (tran.begin(&err) != 0) return counts;
    int code = 0;
    dbl::Connection* conn = tran.connectionForStatement(code, err, false);
    if (!conn) return counts;
    int n = 0;
    const DBschemaTable* tables = DBcatalogTables(&n);
    for (int i = 0; i < n; ++i) {
        std::vector<dbl::Param> params;
        dbl::Error e;
        // Table names come from the catalogue, never from the caller.
        dbl::StatementPtr st =
            conn->prepare(std::string("SELECT COUNT(*) FROM ") + tables[i].name, params, e);
        long long rows = -1;
        if (st && st->step(e) == 0) rows = st->columnInt64(0);
        if (rows < 0 && err.empty()) err = tables[i].name + std::string(": ") + e.text;
        counts.emplace_back(tables[i].name, rows);
    }
    tran.rollback();
    return counts;
}

int runStatus(const ToolContext& ctx) {
    Session s(ctx);
    std::string err;
    int version = DBreadSchemaVersion(s.url(), &err);
    if (version < 0) return reportFailure("reading the schema version", version, err);
    std::string countErr;
    auto counts = countRows(countErr);
    std::string traceFile = evtrace::file();
    int traceLevel = evtrace::level();
    if (ctx.json) {
        Json tables = Json::object();
        for (const auto& c : counts) tables[c.first] = c.second < 0 ? Json() : Json(c.second);
        Json out{
            {"url", maskSecrets(s.url())}, {"schemaVersion", version}, {"tables", tables},
            {"traceFile", traceFile},      {"traceLevel", traceLevel}, {"library", s.library().loadedPath()}};
        if (!countErr.empty()) out["countError"] = maskSecrets(countErr);
        printJson(out);
    } else {
        printRecord({{"store", maskSecrets(s.url())},
                     {"schema version", std::to_string(version)},
                     {"trace file", traceFile.empty() ? "(none)" : traceFile},
                     {"trace level", std::to_string(traceLevel)},
                     {"library", s.library().loadedPath()}});
        std::vector<std::vector<std::string>> rows;
        for (const auto& c : counts) rows.push_back({c.first, c.second < 0 ? "?" : std::to_string(c.second)});
        std::cout << '\n';
        printTable({"TABLE", "ROWS"}, rows);
        if (!countErr.empty())
            std::cerr << "taskdb: some tables could not be counted: " << maskSecrets(countErr) << '\n';
    }
    return kExitOk;
}

}  // namespace

void addStatusCommand(CLI::App& app, ToolContext& ctx) {
    auto* cmd = app.add_subcommand(
        "status",
        "The store (password masked), its schema version and table sizes, the trace and the library");
    cmd->callback([&ctx] { ctx.exitCode = runStatus(ctx); });
}
