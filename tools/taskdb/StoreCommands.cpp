#include "tools/taskdb/Commands.h"

void addOptionCommands(CLI::App& app, ToolContext& ctx);
void addFileCommands(CLI::App& app, ToolContext& ctx);
void addTaskCommands(CLI::App& app, ToolContext& ctx);

void addStoreCommands(CLI::App& app, ToolContext& ctx) {
    addTaskCommands(app, ctx);
    addOptionCommands(app, ctx);
    addFileCommands(app, ctx);
}
