#include <iostream>

#include "platform/db/DBconfig.h"
#include "platform/db/DBschema.h"
#include "tools/taskdb/Commands.h"
#include "tools/taskdb/Output.h"

std::string applyUrl(const ToolContext& ctx) {
    if (!ctx.url.empty()) dbconfig::setUrl(ctx.url);
    std::string url = dbconfig::url();
    // An empty SQLite path would open a temporary database that vanishes with the connection.
    if (url == "sqlite:") throw CLI::ValidationError("--url", "sqlite: needs a file path (sqlite:PATH)");
    return url;
}

void addInitCommand(CLI::App& app, ToolContext& ctx) {
    auto* cmd = app.add_subcommand("init", "Create the reference schema in the store (idempotent)");
    cmd->callback([&ctx] {
        std::string err, url = applyUrl(ctx);
        int rc = DBinitSchema(url, &err);
        if ((ctx.exitCode = checkCall("init", rc, err)) != kExitOk) return;
        if (ctx.json)
            printJson({{"url", maskSecrets(url)}, {"schemaVersion", kTaskdbSchemaVersion}});
        else
            std::cout << "store " << maskSecrets(url) << " is at schema version " << kTaskdbSchemaVersion
                      << '\n';
    });
}
