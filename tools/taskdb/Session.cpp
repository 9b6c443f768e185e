#include "tools/taskdb/Session.h"

#include <stdexcept>

#include "tools/taskdb/Output.h"

Session::Session(const ToolContext& ctx) {
    applyUrl(ctx);
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
