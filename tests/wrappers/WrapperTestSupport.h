#pragma once
// Helpers of the wrapper tests: a TM_Task binding that counts the closes reaching the database
// layer, and exact matching of the trace lines one operation wrote.
#include <string>
#include <vector>

#include "Db/Tbl/TM_Task.h"
#include "db/Wrappers.h"
#include "platform/trace/EvDebug.h"

constexpr const char* kCaller = "TaskInterfaceDB::wrapperTest";

// The wrappers call the binding's closeCursor statically, so this one sees every call they make.
class CountingTask : public TM_Task {
  public:
    using TM_Task::TM_Task;
    int closeCursor() {
        ++closes;
        return TM_Task::closeCursor();
    }
    inline static int closes = 0;
};

// The texts of the lines tagged with kCaller, as "L<level> <text>".
inline std::vector<std::string> callerLines(const evtrace::Capture& cap) {
    std::vector<std::string> out;
    for (const EvTraceLine& l : cap.lines())
        if (l.name == kCaller) out.push_back("L" + std::to_string(l.level) + " " + l.text);
    return out;
}

// Inserts a task named `name` through a table wrapper; answers its new id (0 on failure).
inline int insertTask(DBtran* tran, const char* name, int flags) {
    TableWrapper<TM_Task, TM_Task_t> tw(kCaller, tran);
    TM_Task_t* rec = tw.getDataPtr();
    std::snprintf(rec->taskName, sizeof rec->taskName, "%s", name);
    rec->flags = flags;
    std::string err;
    return tw.rowInsert(true, &err) == 0 ? rec->taskId : 0;
}
