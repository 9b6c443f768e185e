// The schedule patterns of a client's tasks or of one task.
//
// All operations here: 0 on success and when nothing matched (outputs then keep their values);
// otherwise the failing step's code with the database text in `err`, which success never touches.
// The caller owns the record, the lists and the transaction it passes. Any number of threads may call
// at once: each call has its own trace event, transaction wrapper and cursor (a caller's transaction
// must not be shared between concurrent calls).
#include "Db/Tbl/TM_Pattern.h"
#include "TaskInterfaceDB/RecordFrame.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"
#include "platform/db/DBformat.h"
#include "platform/text/FXString.h"

namespace {

Sched_Pattern toPattern(const TM_Pattern_t& row) {
    Sched_Pattern p;
    p.name = FXString::ToString(row.name);
    p.ownerId = static_cast<unsigned int>(row.ownerId);
    p.freq_type = static_cast<unsigned int>(row.freq_type);
    p.freq_interval = static_cast<unsigned int>(row.freq_interval);
    p.freq_relative_interval = static_cast<unsigned int>(row.freq_relative_interval);
    p.freq_recurrence_factor = static_cast<unsigned int>(row.freq_recurrence_factor);
    p.freq_subday_interval = static_cast<unsigned int>(row.freq_subday_interval);
    p.skipOccurence = static_cast<unsigned int>(row.skipOccurence);
    p.skipDayNumber = static_cast<unsigned int>(row.skipDayNumber);
    p.active_start_date = DBodbcDate(row.active_start_date);
    p.active_start_time = static_cast<unsigned int>(row.active_start_time);
    p.active_end_date = DBodbcDate(row.active_end_date);
    p.active_end_time = static_cast<unsigned int>(row.active_end_time);
    p.active_end_occurence = static_cast<unsigned int>(row.active_end_occurence);
    p.tzId = static_cast<unsigned int>(row.tzId);
    p.calendarId = static_cast<unsigned int>(row.calendarId);
    p.local_start_date = static_cast<unsigned int>(row.local_start_date);
    p.local_end_date = static_cast<unsigned int>(row.local_end_date);
    p.freq_restart_interval = static_cast<unsigned int>(row.freq_restart_interval);
    return p;
}

}  // namespace

// Appends to info.patterns the patterns of every task associated with the first entity's client
// (client id >= 1), else those of info.taskId, else every pattern of the store.
// Precondition: info.entities holds at least one element (getEntityInfo first); it is not checked.
// No row appends nothing and returns 0.
int TaskInterfaceDB::getPatternInfo(_TaskInfo& info, std::string& err, void* tran) {
    const char* name = "TaskInterfaceDB::getPatternInfo";
    const Sched_AssocEntity entity = info.entities[0];
    return records::readTable<TM_Pattern, TM_Pattern_t, records::kPatternColumns>(
        name, tran, err, true,
        [&](auto& table) {
            EvDebug::DebugLvl(5, name, "Called with clientId[%d], taskId[%lu]",
                              static_cast<int>(entity.clientId), static_cast<unsigned long>(entity.taskId));
            if (static_cast<int>(entity.clientId) >= 1) {
                table.setWhere(
                    "patternId IN ( SELECT patternId FROM TM_PatternAssoc WHERE subTaskId IN (\t\t\t\tSELECT "
                    "subTaskId FROM TM_SubTask WHERE taskId IN (SELECT taskId FROM TM_AssocEntity WHERE "
                    "clientId "
                    "= %d)))",
                    static_cast<int>(entity.clientId));
            } else if (info.taskId != 0) {
                table.setWhere(
                    "patternId IN ( SELECT patternId FROM TM_PatternAssoc WHERE subTaskId IN (\t\t\t\tSELECT "
                    "subTaskId FROM TM_SubTask WHERE taskId = %d))",
                    static_cast<int>(info.taskId));
            }
            // Neither key: no where-clause at all, so every pattern of the store is read (kept so).
        },
        [&](const TM_Pattern_t& row) { info.patterns.push_back(toPattern(row)); });
}
