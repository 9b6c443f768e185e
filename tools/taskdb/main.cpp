// taskdb: the task store from the command line. A thin user of the library's public interface.
#include <iostream>

#include "platform/db/DBschema.h"
#include "tools/taskdb/Commands.h"
#include "tools/taskdb/Output.h"

#ifndef TASKDB_VERSION
#define TASKDB_VERSION "unknown"
#endif

namespace {

// The innermost subcommand that was given on the command line (the application itself when none).
const CLI::App* innermost(const CLI::App& app) {
    for (const CLI::App* sub : app.get_subcommands())
        if (sub->parsed()) return innermost(*sub);
    return &app;
}

std::string commandPath(const CLI::App* app) {
    std::string path;
    for (; app && app->get_parent(); app = app->get_parent()) path = " " + app->get_name() + path;
    return "taskdb" + path;
}

// The word given where a command of `at` was expected ("" when none was given).
std::string unknownCommand(const CLI::App* at, int argc, char** argv) {
    int depth = 0;
    for (const CLI::App* a = at; a->get_parent(); a = a->get_parent()) ++depth;
    for (int i = 1; i < argc; ++i) {
        std::string word = argv[i];
        if (word == "--url") ++i;
        if (word.empty() || word[0] == '-') continue;
        if (depth-- == 0) return word;
    }
    return "";
}

// "usage: taskdb options get JOB OPTION", or the valid commands where a command is expected.
void printUsage(const CLI::App& app, const CLI::ParseError& e, int argc, char** argv) {
    const CLI::App* at = innermost(app);
    std::string path = commandPath(at);
    auto subs = at->get_subcommands([](const CLI::App*) { return true; });
    std::string line = "usage: " + path + (at == &app ? " [--url URL] [--json] [--version]" : "");
    if (!subs.empty()) {
        std::string names, unknown = unknownCommand(at, argc, argv);
        for (const CLI::App* s : subs) names += (names.empty() ? "" : ", ") + s->get_name();
        std::cerr << "taskdb: "
                  << (unknown.empty() ? maskSecrets(e.what()) : "unknown command '" + unknown + "'") << "\n"
                  << path << " commands: " << names << '\n';
        line += " COMMAND";
    } else {
        std::cerr << "taskdb: " << maskSecrets(e.what()) << '\n';
        for (const CLI::Option* o : at->get_options())
            if (o->get_positional()) {
                std::string name = o->get_name();
                for (auto& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
                if (o->get_items_expected_max() > 1) name += "...";
                line += o->get_required() ? " " + name : " [" + name + "]";
            }
        line += " [OPTIONS]";
    }
    std::cerr << line << "  (" << path << " --help)\n";
}

}  // namespace

int main(int argc, char** argv) {
    ToolContext ctx;
    CLI::App app{
        "taskdb: the task store of the job manager, from the command line.\n"
        "Store: --url, else TASKDB_URL (sqlite:PATH or odbc:CONNECTION-STRING), else sqlite:taskdb.sqlite.\n"
        "Exit codes: 0 success, 1 failure or not found, 2 usage error."};
    app.require_subcommand(1);
    app.fallthrough();  // --url and --json may follow the subcommand
    app.set_version_flag("--version", std::string("taskdb ") + TASKDB_VERSION);
    app.add_option("--url", ctx.url, "Store URL: sqlite:PATH or odbc:CONNECTION-STRING");
    app.add_flag("--json", ctx.json, "Print JSON instead of tables");

    app.add_subcommand("version", "Print the tool's and the schema's versions")->callback([&] {
        if (ctx.json)
            printJson({{"version", TASKDB_VERSION}, {"schemaVersion", kTaskdbSchemaVersion}});
        else
            std::cout << "taskdb " << TASKDB_VERSION << " (schema version " << kTaskdbSchemaVersion << ")\n";
    });
    addInitCommand(app, ctx);
    addDemoCommand(app, ctx);
    addStatusCommand(app, ctx);
    addStoreCommands(app, ctx);
    addJobStatsCommands(app, ctx);
    addTaskManagerCommands(app, ctx);
    addWorldCommands(app, ctx);
    addPlatformCommands(app, ctx);

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        printUsage(app, e, argc, argv);
        return kExitUsage;
    } catch (const std::exception& e) {
        std::cerr << "taskdb: " << maskSecrets(e.what()) << '\n';
        return kExitFailure;
    }
    return ctx.exitCode;
}
