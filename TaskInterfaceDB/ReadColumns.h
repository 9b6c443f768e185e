#pragma once
// The columns each record reader copies out of its row. A reader selects only these, so a fetch reads
// a dozen values instead of every column of a wide row; the rest of the record stays as constructed.
#include <type_traits>

#include "platform/db/DBtable.h"

namespace records {

inline constexpr char kOptionValueColumn[] = "value";
inline constexpr char kDefaultColumns[] = "optionId, defVal, flagType, type";
inline constexpr char kJobRequestColumns[] = "taskId, subTaskId";
inline constexpr char kTaskColumns[] =
    "taskId, taskType, flags, status, alertId, ownerId, runUserId, initiatedFrom, sequenceNumber, localeId, "
    "description";
inline constexpr char kTaskIdColumn[] = "taskId";
inline constexpr char kSubTaskColumns[] = "subTaskId, taskId, subTaskType, operationType, subTaskOrder";
inline constexpr char kEntityColumns[] =
    "assocId, assocType, taskId, clientGroupId, clientId, apptypeId, instanceId, backupsetId, subclientId, "
    "policyId, copyId, srmReportSet, srmReportType";
inline constexpr char kPatternColumns[] =
    "name, ownerId, freq_type, freq_interval, freq_relative_interval, freq_recurrence_factor, "
    "freq_subday_interval, skipOccurence, skipDayNumber, active_start_date, active_start_time, "
    "active_end_date, "
    "active_end_time, active_end_occurence, tzId, calendarId, local_start_date, local_end_date, "
    "freq_restart_interval";

// The record-column mask of `List` for row type X_t, worked out once per process (0: a name that is
// not a column of X_t, or out of record order).
template <class X_t, const char* List>
unsigned long long columnMask() {
    static const unsigned long long mask = DBtable::columnMask(X_t::columns(), X_t::kColumnCount, List);
    return mask;
}

// Makes `table`, a binding of row type X_t, read only the columns of `List`; a list the record does
// not match leaves it reading every column.
template <const char* List, class X_t>
void selectOnly(DBtable& table) {
    if (const unsigned long long mask = columnMask<X_t, List>()) table.setColumnSubset(List, mask);
}

// The same for a table wrapper's cursor.
template <const char* List, class Wrapper>
void readOnly(Wrapper& table) {
    selectOnly<List, std::remove_pointer_t<decltype(table.getDataPtr())>>(*table.getCursor());
}

}  // namespace records
