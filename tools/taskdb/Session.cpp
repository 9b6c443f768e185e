#include "tools/taskdb/Session.h"

#include <filesystem>
#include <stdexcept>

#include "tools/taskdb/Output.h"

void requireStore(const std::string& url) {
    if (url.rfind("sqlite:", 0) != 0) return;
    std::string path = url.substr(7);
    if (path == ":memory:") return;
    std::error_code ec;
    if (!std::filesystem::exists(path, ec))
        throw std::runtime_error("no store at " + path + ": run taskdb init");
}

// The task object is made only after the store check, so a missing store is never created.
Session::Session(const ToolContext& ctx) : m_url(applyUrl(ctx)) {
    requireStore(m_url);
    m_ti = m_lib.create(1);
    if (!m_ti) throw std::runtime_error("the task library gave no object");
}

void printOptions(const ToolContext& ctx, const std::vector<CollectedOption>& rows) {
    if (ctx.json) {
        Json out = Json::array();
        for (const auto& r : rows) out.push_back({{"optionId", r.id}, {"type", r.type}, {"value", r.value}});
        printJson(out);
        return;
    }
    std::vector<std::vector<std::string>> table;
    for (const auto& r : rows) table.push_back({std::to_string(r.id), std::to_string(r.type), r.value});
    printTable({"OPTION", "TYPE", "VALUE"}, table);
}

bool jobExists(Session& s, long long jobId, ToolContext& ctx) {
    long long requestId = 0;
    std::string err;
    int rc = s.ti().getJobRequestIdFromJobId(requestId, jobId, err, nullptr);
    if ((ctx.exitCode = checkCall("getJobRequestIdFromJobId", rc, err)) != kExitOk) return false;
    if (requestId != 0) return true;
    ctx.exitCode = reportNotFound("job " + std::to_string(jobId));
    return false;
}

bool taskExists(Session& s, _TaskInfo& info, ToolContext& ctx) {
    std::string err;
    int rc = s.ti().getTaskInfo(info, err, nullptr);
    if ((ctx.exitCode = checkCall("getTaskInfo", rc, err)) != kExitOk) return false;
    // getTaskInfo leaves the record as it was when the task has no row.
    if (info.task.taskId == info.taskId && info.taskId != 0) return true;
    ctx.exitCode = reportNotFound("task " + std::to_string(info.taskId));
    return false;
}
