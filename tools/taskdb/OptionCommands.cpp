// taskdb options ... and taskdb defaults: read and write job, subtask and task options.
#include <iostream>

#include "tools/taskdb/Output.h"
#include "tools/taskdb/Session.h"

namespace {

struct OptionArgs {
    long long key = 0;
    unsigned long long optionId = 0;
    std::string value;
    int type = 0;
    unsigned long long taskId = 0, subTaskId = 0;
    bool add = false;
    std::vector<unsigned long long> ids;
};

void addListCommand(CLI::App& parent, ToolContext& ctx, OptionArgs& a) {
    auto* cmd =
        parent.add_subcommand("list", "Every option stored for a job (type 0), a subtask (1) or a task (2)");
    cmd->add_option("key", a.key, "Job id, subtask id or task id (see --type)")->required();
    cmd->add_option("--type", a.type, "0 job (default), 1 subtask, 2 task");
    cmd->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        info.jobId = a.key;
        info.type = a.type;
        OptionCollector c;
        std::string err;
        int rc = s.ti().getOptions(info, &c, err, nullptr);
        if (rc != 0) {
            ctx.exitCode = reportFailure("getOptions", rc, err);
            return;
        }
        printOptions(ctx, c.rows);
    });
}

void addGetCommand(CLI::App& parent, ToolContext& ctx, OptionArgs& a) {
    auto* cmd = parent.add_subcommand("get", "The value of a job's option, or its static default");
    cmd->add_option("job", a.key, "Job id")->required();
    cmd->add_option("option", a.optionId, "Option id")->required();
    cmd->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        info.jobId = a.key;
        info.optionId = a.optionId;
        std::string err;
        int rc = s.ti().lookup(info, err, nullptr);
        if (rc != 0) {
            ctx.exitCode = reportFailure("lookup", rc, err);
            return;
        }
        if (ctx.json)
            printJson({{"jobId", a.key}, {"optionId", a.optionId}, {"value", info.value}});
        else
            std::cout << info.value << '\n';
    });
}

void addSetCommand(CLI::App& parent, ToolContext& ctx, OptionArgs& a) {
    auto* cmd = parent.add_subcommand("set", "Set a job's option (updates it, or adds it when missing)");
    cmd->add_option("job", a.key, "Job id")->required();
    cmd->add_option("option", a.optionId, "Option id")->required();
    cmd->add_option("value", a.value, "New value")->required();
    cmd->add_option("--type", a.type, "Option type of a new row");
    cmd->add_option("--task", a.taskId, "Task id recorded with a new row");
    cmd->add_option("--subtask", a.subTaskId, "Subtask id recorded with a new row");
    cmd->add_flag("--add", a.add, "Add a second row even when the option exists");
    cmd->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        info.jobId = a.key;
        info.taskId = a.taskId;
        info.subTaskId = a.subTaskId;
        info.addDuplicate = a.add;
        TaskOption opt(a.optionId, a.value, a.type);
        std::string err;
        int rc = s.ti().setOptions(info, {&opt}, err, nullptr);
        if (rc != 0)
            ctx.exitCode = reportFailure("setOptions", rc, err);
        else if (ctx.json)
            printJson({{"result", 0}});
    });
}

void addRemoveCommand(CLI::App& parent, ToolContext& ctx, OptionArgs& a) {
    auto* cmd =
        parent.add_subcommand("remove", "Remove options of a job (and the matching subtask-level rows)");
    cmd->add_option("job", a.key, "Job id")->required();
    cmd->add_option("options", a.ids, "Option ids")->required();
    cmd->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        info.jobId = a.key;
        std::string err;
        int rc = s.ti().removeOptions(info, a.ids, err, nullptr);
        if (rc != 0)
            ctx.exitCode = reportFailure("removeOptions", rc, err);
        else if (ctx.json)
            printJson({{"result", 0}});
    });
}

void addDefaultsCommand(CLI::App& app, ToolContext& ctx, OptionArgs& a) {
    auto* cmd = app.add_subcommand("defaults", "The static default options (or one option's default)");
    cmd->add_option("option", a.optionId, "Only this option's default");
    cmd->callback([&] {
        Session s(ctx);
        std::string err;
        if (a.optionId != 0) {
            std::string value;
            int rc = s.ti().getDefaultOption(a.optionId, value, err, nullptr);
            if (rc != 0)
                ctx.exitCode = reportFailure("getDefaultOption", rc, err);
            else if (ctx.json)
                printJson({{"optionId", a.optionId}, {"default", value}});
            else
                std::cout << value << '\n';
            return;
        }
        OptionCollector c;
        int rc = s.ti().getDefaults(&c, err, nullptr);
        if (rc != 0) {
            ctx.exitCode = reportFailure("getDefaults", rc, err);
            return;
        }
        printOptions(ctx, c.rows);
    });
}

}  // namespace

void addOptionCommands(CLI::App& app, ToolContext& ctx) {
    static OptionArgs args;
    auto* options = app.add_subcommand("options", "Job, subtask and task options");
    options->require_subcommand(1);
    addListCommand(*options, ctx, args);
    addGetCommand(*options, ctx, args);
    addSetCommand(*options, ctx, args);
    addRemoveCommand(*options, ctx, args);
    addDefaultsCommand(app, ctx, args);
}
