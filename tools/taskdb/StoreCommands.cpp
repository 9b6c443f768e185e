#include "tools/taskdb/Commands.h"

void addStoreCommands(CLI::App&, ToolContext&) {}
