#include <iostream>

#include "platform/db/DBconfig.h"
#include "platform/db/DBschema.h"
#include "tools/taskdb/Commands.h"
#include "tools/taskdb/Output.h"

void applyUrl(const ToolContext& ctx) {
    if (!ctx.url.empty()) dbconfig::setUrl(ctx.url);
}

void addInitCommand(CLI::App& app, ToolContext& ctx) {
    auto* cmd = app.add_subcommand("init", "Create the reference schema in the store (idempotent)");
    cmd->callback([&ctx] {
        applyUrl(ctx);
        std::string err, url = dbconfig::url();
        int rc = DBinitSchema(url, &err);
        if (rc != 0) {
            ctx.exitCode = reportFailure("init", rc, err);
            return;
        }
        if (ctx.json)
            printJson({{"url", url}, {"schemaVersion", kTaskdbSchemaVersion}});
        else
            std::cout << "store " << url << " is at schema version " << kTaskdbSchemaVersion << '\n';
    });
}
