#pragma once
// Subcommands of the tool. Each add* function registers its subcommands on the application; the
// registered callbacks set the process exit code through `exitCode`.
#include <CLI/CLI.hpp>

struct ToolContext {
    std::string url;  // --url, empty: TASKDB_URL or the default store
    bool json = false;
    int exitCode = 0;
};

void addInitCommand(CLI::App& app, ToolContext& ctx);
void addDemoCommand(CLI::App& app, ToolContext& ctx);
void addStoreCommands(CLI::App& app, ToolContext& ctx);
// import, export, clients, subclients, activity, jobs running.
void addWorldCommands(CLI::App& app, ToolContext& ctx);
// The subcommand `name` of `app`, added when no command has added it yet (several add under "jobs").
CLI::App* sharedSubcommand(CLI::App& app, const std::string& name, const std::string& description);
// Applies --url to the database layer.
void applyUrl(const ToolContext& ctx);
