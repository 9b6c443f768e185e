#pragma once
// A table, stored procedure or cursor of the store, bound to a raw record.
//
// Generated bindings derive from DBtable and describe themselves in their constructor (kind, column
// list, record layout, identity, order-by). Every statement runs on the transaction given at
// construction; with no transaction each statement runs on a connection of its own and commits
// by itself.
//
// Result codes: 0 success, 100 no (more) data, anything else the backend's code (or an injected
// fault's), with the backend's own message from getErrorStr().
//
// Statement shapes (in the library's SQL Server dialect; the backend translates):
//   table open:   SELECT <column list> FROM <name> [WHERE <where>] [ORDER BY <order-by>]
//   rowUpdate:    UPDATE <name> SET <set clause> [WHERE <where>]; with an empty set clause every
//                 column but the identity is written from the raw record
//   rowInsert:    INSERT INTO <name> (<every column but the identity>) VALUES (raw record); the new
//                 identity value is written back into the record
//   rowDelete:    DELETE FROM <name> [WHERE <where>]
//   procedure open: runs the procedure with the bound inputs (or the argument text)
//   cursor open:  runs the binding's statement text with its arguments
//
// Thread safety: one DBtable is used by one thread at a time.
#include <memory>
#include <string>
#include <vector>

#include "platform/PlatformExport.h"
#include "platform/db/DBtypes.h"
#include "platform/sync/KoCriticalSection.h"

class DBtran;
class KODBDataTypeBase;

class KO_PLATFORM_API DBtable {
public:
    // 1: bindings build row objects and bind procedure inputs as value objects; 0: they pass
    // procedure inputs as argument text. Process-wide; set it before any binding is built.
    static int b_newDBBase;
    // Guards the registration of bindings with transactions.
    static KoCriticalSection DBCriticalSection;

    enum Kind { kTable = 1, kProcedure = 2, kCursor = 3 };

    DBtable(const char* name, int flags, DBtran* tran);
    virtual ~DBtable();
    DBtable(const DBtable&) = delete;
    DBtable& operator=(const DBtable&) = delete;

    // ---- description, set by the binding's constructor
    void setKind(int kind);
    void setColumnList(const char* columns);
    void setVersion(const char* version);
    void setDescription(const char* description);
    // The identity column: its name, its index and its field in the raw record (null: none).
    void setIdentity(const char* column, int index, int* field);
    void setOrderBy(const char* columns);
    // The raw record that fetches fill and inserts and updates read; not owned.
    void setRecord(void* record, const DBcolumn* columns, int count);
    // An array of one long long per column: -1 for a NULL value, else the value's length.
    void setExtIndicatorArray(void* indicators);
    // Cursor bindings: the statement text, with printf placeholders filled by CallDBsprintfWrapper.
    void setStatementText(const char* text);

    int getKind() const;
    const char* getTableName() const;
    const std::string& getColumnList() const;
    const std::string& getDescription() const;
    const std::string& getVersion() const;
    const std::string& getOrderBy() const;
    DBtran* getTran() const;

    // ---- statements
    // Formats the where-clause with DBsprintf (quotes inside %s arguments are doubled).
    void setWhere(const char* format, ...) KO_PRINTF(2, 3);
    // Takes an already formatted where-clause as it is ("" selects every row).
    void setWhereText(const std::string& clause);
    const std::string& getWhere() const;
    void setCursorType(unsigned long type);

    int openCursor();
    // Fills the raw record with the next row: 0, 100 at the end, or an error code.
    int fetchCursor(bool next = true);
    // 0 when no cursor is open.
    int closeCursor();
    bool isOpen() const;
    // Runs the statement and concatenates the first column of every row (an XML result); 0 or code.
    // Opens and closes by itself.
    int fetchText(std::string& text);

    int rowUpdate(const std::string& setClause);
    int rowInsert(bool returnIdentity = true);
    int rowDelete();
    // Rows changed by the last update, insert or delete.
    long long rowsAffected() const;

    // The text of the last failure (the code is the one that failure returned).
    std::string getErrorStr(int code) const;

    // ---- procedure and cursor inputs
    // Binds the next input; the table takes ownership of the value object.
    void BindInput(KODBDataTypeBase* value);
    void ClearBoundInputs();
    void valuesClauseCheck(unsigned long room);
    void querySizeCheck(unsigned long room, bool keep);
    // Appends formatted argument text (procedures: "5,0,'x'"; cursors: fills the statement text).
    void CallDBsprintfWrapper(const char* format, ...) KO_PRINTF(2, 3);
    const std::string& getValuesText() const;
    void setValuesBound(bool bound);
    bool valuesBound() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

// Fetch helpers of the database layer.
// getNextRow: opens the table's cursor when it is not open, fetches the next row (0) and counts it in
// *rowCounter, or returns 100 at the end (the cursor is then closed) or an error code.
KO_PLATFORM_API int getNextRow(DBtable* table, int* rowCounter, int limit, int flags);
// getOneRow: opens, fetches one row and closes; 0, 100 or an error code.
KO_PLATFORM_API int getOneRow(DBtable* table, bool lock, int limit, int flags);
