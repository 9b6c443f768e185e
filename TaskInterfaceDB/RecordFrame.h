#pragma once
// The shared shape of the record readers: one table, one where-clause, one row or every row.
#include <string>

#include "TaskInterfaceDB/Frame.h"
#include "TaskInterfaceDB/ReadColumns.h"
#include "TaskRecords.h"
#include "db/Wrappers.h"
#include "platform/db/DBtypes.h"

namespace records {

// Reads the `Columns` (see ReadColumns.h) of table X in the reader frame under trace name `name`:
// ensures the transaction (hint 6), lets `where(table)` set the clause and trace the entry, fetches one row
// (or every row when `allRows`) into `onRow(record)`, closes and commits an own transaction. Returns 0 also
// when no row matched (the record is then left untouched); an ensure, open, close or commit failure returns
// its code with the text in `err`. A fetch failure is traced and left in `err` while the close's code is
// returned. Thread safety: none needed, everything lives on the stack.
template <class X, class X_t, const char* Columns, class Where, class Row>
int readTable(const char* name, void* tran, std::string& err, bool allRows, Where&& where, Row&& onRow) {
    EvEvent event(name);
    TranWrapper tw(frame::callerTran(tran), name);
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;
    tw.setHint(DBtran::kHintRead);

    TableWrapper<X, X_t> table(name, tw.get());
    readOnly<Columns>(table);
    where(table);
    // Texts go to `err` only on a real failure: the end of data must not overwrite the caller's text.
    rc = table.openCursor(nullptr);
    if (rc != 0) {
        frame::dbError(name, table, err);
        return rc;
    }
    do {
        rc = table.fetchCursor(true, nullptr);
        if (rc == 0) {
            onRow(*table.getDataPtr());
        } else if (rc != DB_NO_DATA) {
            frame::dbError(name, table, err);
        }
    } while (rc == 0 && allRows);

    rc = table.closeCursor(&err);
    if (rc == 0) rc = tw.commitIfOwnTran(&err);
    return rc;
}

// The subtask where-clause shared by getSubTaskInfo and setSubTaskInfo: both keys when both are set,
// else the subtask alone, else the task (its first subtask as the database returns it).
template <class Wrapper>
void setSubTaskWhere(Wrapper& table, const _TaskInfo& info) {
    const int subTaskId = static_cast<int>(info.subTaskId);
    const int taskId = static_cast<int>(info.taskId);
    if (info.subTaskId != 0 && info.taskId != 0) {
        table.setWhere("subTaskId = %d AND taskId = %d", subTaskId, taskId);
    } else if (info.subTaskId != 0) {
        table.setWhere("subTaskId = %d", subTaskId);
    } else {
        table.setWhere("taskId = %d", taskId);
    }
}

}  // namespace records
