// taskdb: the task store from the command line. A thin user of the library's public interface.
#include <iostream>

#include "platform/db/DBschema.h"
#include "tools/taskdb/Commands.h"

#ifndef TASKDB_VERSION
#define TASKDB_VERSION "unknown"
#endif

int main(int argc, char** argv) {
    ToolContext ctx;
    CLI::App app{
        "taskdb: the task store of the job manager, from the command line.\n"
        "Store: --url, else TASKDB_URL (sqlite:PATH or odbc:CONNECTION-STRING), else sqlite:taskdb.sqlite."};
    app.require_subcommand(1);
    app.fallthrough();  // --url and --json may follow the subcommand
    app.add_option("--url", ctx.url, "Store URL: sqlite:PATH or odbc:CONNECTION-STRING");
    app.add_flag("--json", ctx.json, "Print JSON instead of tables");

    app.add_subcommand("version", "Print the tool's, the library's and the schema's versions")->callback([&] {
        std::cout << "taskdb " << TASKDB_VERSION << " (schema version " << kTaskdbSchemaVersion << ")\n";
    });
    addInitCommand(app, ctx);
    addDemoCommand(app, ctx);
    addStoreCommands(app, ctx);
    addTaskManagerCommands(app, ctx);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    } catch (const std::exception& e) {
        std::cerr << "taskdb: " << e.what() << '\n';
        return 1;
    }
    return ctx.exitCode;
}
