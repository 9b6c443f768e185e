// taskdb files ...: a job's file options (types 150001 to 150014).
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
    list->add_option("job", a.job, "Job id")->required();
    list->add_option("--type", a.type, "Only this file type (150001..150014)");
    list->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        info.jobId = a.job;
        info.type = a.type;
        OptionCollector c;
        std::string err;
        int rc = s.ti().getFiles(info, &c, err, nullptr);
        if (rc != 0) {
            ctx.exitCode = reportFailure("getFiles", rc, err);
            return;
        }
        printOptions(ctx, c.rows);
    });

    auto* set =
        files->add_subcommand("set", "Set a file option (type 150002 replaces the value; others add a row)");
    set->add_option("job", a.job, "Job id")->required();
    set->add_option("option", a.optionId, "Option id")->required();
    set->add_option("type", a.type, "File type (150001..150014)")->required();
    set->add_option("value", a.value, "File name or value")->required();
    set->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        info.jobId = a.job;
        TaskFile f(a.optionId, a.value, a.type);
        std::string err;
        int rc = s.ti().setFiles(info, {&f}, err, nullptr);
        if (rc != 0)
            ctx.exitCode = reportFailure("setFiles", rc, err);
        else if (ctx.json)
            printJson({{"result", 0}});
    });

    auto* remove = files->add_subcommand("remove", "Remove a job's file options by option id");
    remove->add_option("job", a.job, "Job id")->required();
    remove->add_option("options", a.ids, "Option ids")->required();
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
        if (rc != 0)
            ctx.exitCode = reportFailure("removeFiles", rc, err);
        else if (ctx.json)
            printJson({{"result", 0}});
    });
}
