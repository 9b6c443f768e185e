// taskdb files ...: a job's file options (types 150001 to 150014).
#include "tools/taskdb/Args.h"
#include "tools/taskdb/Output.h"
#include "tools/taskdb/Session.h"

namespace {
struct FileArgs {
    long long job = 0;
    unsigned long long optionId = 0;
    int type = 0;
    std::string value;
    std::vector<unsigned long long> ids;
};
}  // namespace

void addFileCommands(CLI::App& app, ToolContext& ctx) {
    static FileArgs a;
    auto* files = app.add_subcommand("files", "A job's file options");
    files->require_subcommand(1);

    auto* list = files->add_subcommand("list", "The job's file options (all file types, or one with --type)");
    addNumber(list, "job", a.job, "Job id", 0LL, kMaxJobId)->required();
    addNumber(list, "--type", a.type, "Only this file type (150001..150014)", kFirstFileType, kLastFileType);
    list->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        info.jobId = a.job;
        info.type = a.type;
        OptionCollector c;
        std::string err;
        int rc = s.ti().getFiles(info, &c, err, nullptr);
        if ((ctx.exitCode = checkCall("getFiles", rc, err)) != kExitOk) return;
        if (c.rows.empty() && !jobExists(s, a.job, ctx)) return;
        printOptions(ctx, c.rows);
    });

    auto* set =
        files->add_subcommand("set", "Set a file option (type 150002 replaces the value; others add a row)");
    addNumber(set, "job", a.job, "Job id", 0LL, kMaxJobId)->required();
    addNumber(set, "option", a.optionId, "Option id")->required();
    addNumber(set, "type", a.type, "File type (150001..150014)", kFirstFileType, kLastFileType)->required();
    set->add_option("value", a.value, "File name or value (- reads it from standard input)")->required();
    set->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        info.jobId = a.job;
        TaskFile f(a.optionId, valueArgument("value", a.value), a.type);
        std::string err;
        int rc = s.ti().setFiles(info, {&f}, err, nullptr);
        if ((ctx.exitCode = checkCall("setFiles", rc, err)) == kExitOk && ctx.json)
            printJson({{"result", 0}});
    });

    auto* remove = files->add_subcommand("remove", "Remove a job's file options by option id");
    addNumber(remove, "job", a.job, "Job id", 0LL, kMaxJobId)->required();
    addNumbers(remove, "options", a.ids, "Option ids")->required();
    remove->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        info.jobId = a.job;
        std::vector<TaskFile> owned;
        for (auto id : a.ids) owned.emplace_back(id, "", 0);
        std::vector<const TaskFile*> ptrs;
        for (const auto& f : owned) ptrs.push_back(&f);
        std::string err;
        int rc = s.ti().removeFiles(info, ptrs, err, nullptr);
        if ((ctx.exitCode = checkCall("removeFiles", rc, err)) == kExitOk && ctx.json)
            printJson({{"result", 0}});
    });
}
