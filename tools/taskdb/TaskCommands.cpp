// taskdb task ..., taskdb jobs, taskdb job: tasks with their subtask, entities and patterns; job lookups.
#include <iostream>

#include "tools/taskdb/Args.h"
#include "tools/taskdb/Output.h"
#include "tools/taskdb/Session.h"
#include "tools/taskdb/TaskView.h"

namespace {
struct TaskArgs {
    unsigned long long taskId = 0, subTaskId = 0;
    long long jobId = 0;
};

int showTask(ToolContext& ctx, const TaskArgs& a) {
    Session s(ctx);
    _TaskInfo info;
    info.taskId = a.taskId;
    info.subTaskId = a.subTaskId;
    if (!taskExists(s, info, ctx)) return ctx.exitCode;
    std::string err;
    int rc = readTask(s.ti(), info, err);
    if (rc != 0 || !err.empty()) return reportFailure("task show", rc, err);
    if (a.subTaskId != 0 && info.subTask.subTaskId != a.subTaskId)
        return reportNotFound("subtask " + std::to_string(a.subTaskId) + " of task " +
                              std::to_string(a.taskId));
    if (ctx.json)
        printJson(taskJson(info));
    else
        printTask(info);
    return 0;
}
}  // namespace

void addTaskCommands(CLI::App& app, ToolContext& ctx) {
    static TaskArgs a;
    auto* task = app.add_subcommand("task", "Tasks");
    task->require_subcommand(1);
    auto* show = task->add_subcommand("show", "A task with its subtask, entities and schedule patterns");
    addNumber(show, "task", a.taskId, "Task id", 0ULL, kMaxTaskId)->required();
    addNumber(show, "--subtask", a.subTaskId, "The subtask to show (default: the task's first)", 0ULL,
              kMaxTaskId);
    show->callback([&] { ctx.exitCode = showTask(ctx, a); });

    auto* def = task->add_subcommand("default", "The id of the default task (flag 0x80)");
    def->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        std::string err;
        int rc = s.ti().getDefaultTaskId(info, err, nullptr);
        if ((ctx.exitCode = checkCall("getDefaultTaskId", rc, err)) != kExitOk) return;
        if (info.task.taskId == 0)
            ctx.exitCode = reportNotFound("default task");
        else if (ctx.json)
            printJson({{"defaultTaskId", info.task.taskId}});
        else
            std::cout << info.task.taskId << '\n';
    });

    auto* jobs = app.add_subcommand("jobs", "The jobs started from a task (jobs TASK), or the job history");
    auto* taskArg = addNumber(jobs, "task", a.taskId, "Task id", 0ULL, kMaxTaskId);
    jobs->callback([&, jobs, taskArg] {
        if (!jobs->get_subcommands().empty()) return;
        if (taskArg->count() == 0) {
            std::cerr << "taskdb jobs: give a task id, or a subcommand (see --help)\n";
            ctx.exitCode = kExitUsage;
            return;
        }
        Session s(ctx);
        _TaskInfo info;
        info.taskId = a.taskId;
        if (!taskExists(s, info, ctx)) return;
        std::list<unsigned long long> ids;
        std::string err;
        int rc = s.ti().getJobListFromTaskId(info, ids, err, nullptr);
        if ((ctx.exitCode = checkCall("getJobListFromTaskId", rc, err)) != kExitOk) return;
        if (ctx.json) {
            printJson(Json(ids));
            return;
        }
        std::vector<std::vector<std::string>> rows;
        for (auto id : ids) rows.push_back({std::to_string(id)});
        printTable({"JOB"}, rows);
    });

    auto* job = app.add_subcommand("job", "The task, subtask and request of a job");
    addNumber(job, "job", a.jobId, "Job id", 0LL, kMaxJobId)->required();
    job->callback([&] {
        Session s(ctx);
        _TaskInfo info;
        info.jobId = a.jobId;
        std::string err;
        int rc = s.ti().getJobInfo(info, err, nullptr);
        long long requestId = 0;
        if (rc == 0 && err.empty()) rc = s.ti().getJobRequestIdFromJobId(requestId, a.jobId, err, nullptr);
        if ((ctx.exitCode = checkCall("job lookup", rc, err)) != kExitOk) return;
        if (requestId == 0) {
            ctx.exitCode = reportNotFound("job " + std::to_string(a.jobId));
            return;
        }
        if (ctx.json)
            printJson({{"jobId", a.jobId},
                       {"taskId", info.taskId},
                       {"subTaskId", info.subTaskId},
                       {"jobRequestId", requestId}});
        else
            printRecord({{"job", std::to_string(a.jobId)},
                         {"task", std::to_string(info.taskId)},
                         {"subtask", std::to_string(info.subTaskId)},
                         {"request", std::to_string(requestId)}});
    });
}
