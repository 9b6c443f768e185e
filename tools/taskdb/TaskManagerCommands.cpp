// taskdb task create, taskdb task run, taskdb taskmgr serve: tasks made and run through the task manager.
#include <csignal>
#include <fstream>
#include <iostream>
#include <sstream>

#include "platform/taskmgr/TaskManager.h"
#include "tools/taskdb/Output.h"
#include "tools/taskdb/Session.h"

namespace {

struct RunArgs {
    std::string file;
    unsigned int taskId = 0;
    std::vector<unsigned int> subTaskIds;
    std::string endpoint;
};

// The library's text, else the transport's (a service that never answered leaves the library's empty).
int failed(const std::string& what, int rc, const std::string& err) {
    return reportFailure(what, rc, err.empty() ? EvTaskMgr::getErrorString() : err);
}

void printJobs(const ToolContext& ctx, long long taskId, const std::list<long long>& jobs) {
    if (ctx.json) {
        Json out = Json::object();
        if (taskId) out["taskId"] = taskId;
        out["jobIds"] = jobs;
        printJson(out);
        return;
    }
    if (taskId) std::cout << "task " << taskId << '\n';
    for (long long j : jobs) std::cout << "job " << j << '\n';
}

int createTask(const ToolContext& ctx, const RunArgs& a) {
    std::ifstream in(a.file, std::ios::binary);
    if (!in) return reportFailure("task create", 1, "cannot read " + a.file);
    std::ostringstream text;
    text << in.rdbuf();
    std::string xml = text.str();
    Session s(ctx);
    std::list<long long> jobs;
    std::string err;
    int status = 0;
    int rc = s.ti().CreateTask(xml, jobs, status, 1, err, 0, 0, false, false);
    if (rc != 0) return failed("CreateTask", rc, err);
    // The reply names the new task; the library hands back job ids only.
    std::string::size_type at = xml.find("taskId=\"");
    printJobs(ctx, at == std::string::npos ? 0 : std::atoll(xml.c_str() + at + 8), jobs);
    return 0;
}

int runTasks(const ToolContext& ctx, const RunArgs& a) {
    Session s(ctx);
    // Subtask 0 asks the task manager for every subtask of the task.
    std::vector<Sched_SubTask> subTasks;
    for (unsigned int id : a.subTaskIds.empty() ? std::vector<unsigned int>{0} : a.subTaskIds) {
        Sched_SubTask st;
        st.taskId = a.taskId;
        st.subTaskId = id;
        subTasks.push_back(st);
    }
    std::list<long long> jobs;
    std::string err;
    int rc = s.ti().runTasks(subTasks, jobs, err, 1, 0, 0, false, nullptr);
    if (rc != 0) return failed("runTasks", rc, err);
    printJobs(ctx, 0, jobs);
    return 0;
}

}  // namespace

void addTaskManagerCommands(CLI::App& app, ToolContext& ctx) {
    static RunArgs a;
    CLI::App* task = app.get_subcommand("task");
    auto* create = task->add_subcommand("create", "Create a task from a task creation request (XML)");
    create->add_option("file", a.file, "The request, e.g. examples/create-task.xml")->required();
    create->callback([&] { ctx.exitCode = createTask(ctx, a); });
    auto* run = task->add_subcommand("run", "Run a task's subtasks now; prints the new job ids");
    run->add_option("task", a.taskId, "Task id")->required();
    run->add_option("subtasks", a.subTaskIds, "Subtask ids (default: every subtask of the task)");
    run->callback([&] { ctx.exitCode = runTasks(ctx, a); });

    auto* mgr = app.add_subcommand("taskmgr", "The task manager service");
    mgr->require_subcommand(1);
    auto* serve = mgr->add_subcommand("serve", "Serve task manager requests until interrupted");
    serve->add_option("endpoint", a.endpoint, "unix:PATH or tcp:127.0.0.1:PORT (default: TASKDB_TASKMGR)");
    serve->callback([&] {
        applyUrl(ctx);
        if (a.endpoint.empty() && std::getenv("TASKDB_TASKMGR")) a.endpoint = std::getenv("TASKDB_TASKMGR");
        std::signal(SIGINT, [](int) { EvTaskMgr::stopService(); });
        std::signal(SIGTERM, [](int) { EvTaskMgr::stopService(); });
        std::string err;
        int rc = EvTaskMgr::serve(a.endpoint, &err);
        ctx.exitCode = rc == 0 ? 0 : reportFailure("taskmgr serve", rc, err);
    });
}
