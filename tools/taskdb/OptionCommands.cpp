// taskdb options ... and taskdb defaults: read and write job, subtask and task options.
#include <iostream>

#include "tools/taskdb/Args.h"
#include "tools/taskdb/Output.h"
#include "tools/taskdb/Session.h"

namespace {

// The static default of `id`: `known` tells whether the catalogue has the option at all (an empty
// default and no default read the same through getDefaultOption).
int defaultOf(Session& s, unsigned long long id, std::string& value, bool& known) {
    OptionCollector c;
    std::string err;
    int rc = s.ti().getDefaults(&c, err, nullptr);
    if (rc != 0 || !err.empty()) return checkCall("getDefaults", rc, err);
    known = false;
    for (const auto& r : c.rows)
        if (r.id == id) {
            known = true;
            value = r.value;
        }
    return kExitOk;
}

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
    addNumber(cmd, "key", a.key, "Job id, subtask id or task id (see --type)", 0LL, kMaxJobId)->required();
    addNumber(cmd, "--type", a.type, "0 job (default), 1 subtask, 2 task", 0, 2);
    cmd->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        info.jobId = a.key;
        info.type = a.type;
        OptionCollector c;
        std::string err;
        int rc = s.ti().getOptions(info, &c, err, nullptr);
        if ((ctx.exitCode = checkCall("getOptions", rc, err)) != kExitOk) return;
        if (c.rows.empty() && a.type == 0 && !jobExists(s, a.key, ctx)) return;
        printOptions(ctx, c.rows);
    });
}

void addGetCommand(CLI::App& parent, ToolContext& ctx, OptionArgs& a) {
    auto* cmd = parent.add_subcommand("get", "The value of a job's option, or its static default");
    addNumber(cmd, "job", a.key, "Job id", 0LL, kMaxJobId)->required();
    addNumber(cmd, "option", a.optionId, "Option id")->required();
    cmd->callback([&] {
        Session s(ctx);
        // lookup answers with the job's first option row whatever the id asked for, so the job's options
        // are read and the one asked for is picked; without it, the static default.
        _TaskInfo info;
        info.jobId = a.key;
        OptionCollector c;
        std::string err;
        int rc = s.ti().getOptions(info, &c, err, nullptr);
        if ((ctx.exitCode = checkCall("getOptions", rc, err)) != kExitOk) return;
        const CollectedOption* own = nullptr;
        for (const auto& r : c.rows)
            if (r.id == a.optionId) own = &r;
        std::string value;
        bool isDefault = own == nullptr;
        if (own) {
            value = own->value;
        } else {
            bool known = false;
            if ((ctx.exitCode = defaultOf(s, a.optionId, value, known)) != kExitOk) return;
            if (!known) {
                ctx.exitCode = reportNotFound("option " + std::to_string(a.optionId) + " of job " +
                                              std::to_string(a.key) + " (nor a static default for it)");
                return;
            }
        }
        if (ctx.json)
            printJson(
                {{"jobId", a.key}, {"optionId", a.optionId}, {"value", value}, {"isDefault", isDefault}});
        else
            std::cout << value << '\n';
    });
}

void addSetCommand(CLI::App& parent, ToolContext& ctx, OptionArgs& a) {
    auto* cmd = parent.add_subcommand("set", "Set a job's option (updates it, or adds it when missing)");
    addNumber(cmd, "job", a.key, "Job id", 0LL, kMaxJobId)->required();
    addNumber(cmd, "option", a.optionId, "Option id")->required();
    cmd->add_option("value", a.value, "New value (- reads it from standard input)")->required();
    addNumber(cmd, "--type", a.type, "Option type of a new row");
    addNumber(cmd, "--task", a.taskId, "Task id recorded with a new row", 0ULL, kMaxTaskId);
    addNumber(cmd, "--subtask", a.subTaskId, "Subtask id recorded with a new row", 0ULL, kMaxTaskId);
    cmd->add_flag("--add", a.add, "Add a second row even when the option exists");
    cmd->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        info.jobId = a.key;
        info.taskId = a.taskId;
        info.subTaskId = a.subTaskId;
        info.addDuplicate = a.add;
        TaskOption opt(a.optionId, valueArgument("value", a.value), a.type);
        std::string err;
        int rc = s.ti().setOptions(info, {&opt}, err, nullptr);
        if ((ctx.exitCode = checkCall("setOptions", rc, err)) == kExitOk && ctx.json)
            printJson({{"result", 0}});
    });
}

void addRemoveCommand(CLI::App& parent, ToolContext& ctx, OptionArgs& a) {
    auto* cmd =
        parent.add_subcommand("remove", "Remove options of a job (and the matching subtask-level rows)");
    addNumber(cmd, "job", a.key, "Job id", 0LL, kMaxJobId)->required();
    addNumbers(cmd, "options", a.ids, "Option ids")->required();
    cmd->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        info.jobId = a.key;
        std::string err;
        int rc = s.ti().removeOptions(info, a.ids, err, nullptr);
        if ((ctx.exitCode = checkCall("removeOptions", rc, err)) == kExitOk && ctx.json)
            printJson({{"result", 0}});
    });
}

void addDefaultsCommand(CLI::App& app, ToolContext& ctx, OptionArgs& a) {
    auto* cmd = app.add_subcommand("defaults", "The static default options (or one option's default)");
    auto* one = addNumber(cmd, "option", a.optionId, "Only this option's default");
    cmd->callback([&, one] {
        Session s(ctx);
        std::string err;
        if (one->count() != 0) {
            std::string value;
            bool known = false;
            if ((ctx.exitCode = defaultOf(s, a.optionId, value, known)) != kExitOk) return;
            if (!known)
                ctx.exitCode = reportNotFound("static default of option " + std::to_string(a.optionId));
            else if (ctx.json)
                printJson({{"optionId", a.optionId}, {"defaultValue", value}});
            else
                std::cout << value << '\n';
            return;
        }
        OptionCollector c;
        int rc = s.ti().getDefaults(&c, err, nullptr);
        if ((ctx.exitCode = checkCall("getDefaults", rc, err)) != kExitOk) return;
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
