#pragma once
// Subcommands of the tool. Each add* function registers its subcommands on the application (main.cpp
// calls them in turn); a callback sets the process exit code through `ctx.exitCode`.
//
// Conventions every command follows:
// - Exit codes (Output.h): kExitOk; kExitFailure for a failed call or something not found (print what,
//   through reportFailure / reportNotFound); kExitUsage for bad arguments: throw CLI::ValidationError
//   (or let CLI11 throw) and main prints the message and the usage line.
// - Numbers: addNumber / addNumbers (Args.h) refuse text, signs and values out of the type's range.
// - Library calls: start with an empty `err` and judge the result with checkCall (Output.h): a text
//   left in `err` is a failure even when the code is 0.
// - The store: construct a Session (Session.h) before touching it; it refuses a missing SQLite file
//   ("no store at PATH: run taskdb init") instead of creating one. Only init and demo create stores.
// - Output: --json prints one JSON value through printJson, keys in camelCase ("jobId", "schemaVersion");
//   without it, tables (printTable) or "key: value" records (printRecord). URLs and error texts pass
//   through maskSecrets; secrets are read from standard input, never from arguments.
#include <CLI/CLI.hpp>
#include <string>

struct ToolContext {
    std::string url;  // --url, empty: TASKDB_URL or the default store
    bool json = false;
    int exitCode = 0;
};

void addInitCommand(CLI::App& app, ToolContext& ctx);
void addDemoCommand(CLI::App& app, ToolContext& ctx);
void addStatusCommand(CLI::App& app, ToolContext& ctx);
void addStoreCommands(CLI::App& app, ToolContext& ctx);
// jobs list, jobs finish (after addStoreCommands, which makes `jobs`).
void addJobStatsCommands(CLI::App& app, ToolContext& ctx);
// Applies --url to the database layer; returns the URL in force. Throws CLI::ValidationError for a
// "sqlite:" URL without a path.
std::string applyUrl(const ToolContext& ctx);
// task create, task run (on the "task" subcommand, added before) and taskmgr serve.
void addTaskManagerCommands(CLI::App& app, ToolContext& ctx);
// import, export, clients, subclients, activity, jobs running.
void addWorldCommands(CLI::App& app, ToolContext& ctx);
// The subcommand `name` of `app`, added when no command has added it yet (several add under "jobs").
CLI::App* sharedSubcommand(CLI::App& app, const std::string& name, const std::string& description);
// password, config, streams.
void addPlatformCommands(CLI::App& app, ToolContext& ctx);
