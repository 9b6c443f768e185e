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
// Applies --url to the database layer.
void applyUrl(const ToolContext& ctx);
// task create, task run (on the "task" subcommand, added before) and taskmgr serve.
void addTaskManagerCommands(CLI::App& app, ToolContext& ctx);
