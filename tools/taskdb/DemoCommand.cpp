// taskdb demo: what a job manager sees of the library, on a fresh store.
#include <iostream>

#include "platform/db/DBconfig.h"
#include "platform/db/DBschema.h"
#include "tools/taskdb/Commands.h"
#include "tools/taskdb/Library.h"
#include "tools/taskdb/Output.h"

namespace {

void heading(const std::string& title) { std::cout << "\n== " << title << '\n'; }

int runDemo(const ToolContext& ctx) {
    applyUrl(ctx);
    std::string err, url = dbconfig::url();
    heading("Store");
    int rc = DBinitSchema(url, &err);
    if (rc != 0) return reportFailure("init", rc, err);
    std::cout << url << " at schema version " << kTaskdbSchemaVersion << '\n';

    heading("Loading the library as the job manager does");
    TaskLibrary lib;
    std::cout << "dlopen(" << lib.path() << "), dlsym(getTaskInterface)\n";
    auto none = lib.create(2);
    auto ti = lib.create(1);
    std::cout << "getTaskInterface(2) -> " << (none ? "an object" : "null") << '\n';
    std::cout << "getTaskInterface(1) -> " << (ti ? "a TaskInterface" : "null") << '\n';
    if (!ti) return 1;
    _TaskInfo info;
    err.clear();
    std::cout << "update() -> " << ti->update(info, err, nullptr) << " (kept for the interface; touches nothing)\n";
    return 0;
}

}  // namespace

void addDemoCommand(CLI::App& app, ToolContext& ctx) {
    auto* cmd = app.add_subcommand("demo", "Walk through the library's operations on a store, as a job manager would");
    cmd->callback([&ctx] { ctx.exitCode = runDemo(ctx); });
}
