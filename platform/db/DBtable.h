#pragma once
// A table, stored procedure or cursor of the store, bound to a raw record.
//
// Generated bindings derive from DBtable and describe themselves in their constructor (kind, column
// list, record layout, identity, order-by). Every statement runs on the transaction given at
// construction; with no transaction each statement runs on a connection of its own and commits
// by itself.
//
// Result codes: 0 success, 100 no (more) data, anything else the backend's code (or an injected
// fault's, or one of DBerrors.h), with the backend's own message from getErrorStr(). rowUpdate and
// rowDelete return 100 when no row matched, as ODBC does.
//
// Statement shapes (in the library's SQL Server dialect; the backend translates):
//   table open:   SELECT <column list> FROM <name> [WHERE <where>] [ORDER BY <order-by>]
//   rowUpdate:    UPDATE <name> SET <set clause> WHERE <identity> = <the row's identity> while the
//                 cursor is positioned on a fetched row of a table with an identity column, else
//                 [WHERE <where>]; with an empty set clause every column but the identity is
//                 written from the raw record
//   rowInsert:    INSERT INTO <name> (<every column but the identity>) VALUES (raw record); the new
//                 identity value is written back into the record
//   rowDelete:    DELETE FROM <name> [WHERE <where>]
//   procedure open: runs the procedure with the bound inputs (or the argument text)
//   cursor open:  runs the binding's statement text with its arguments
// Values of the raw record are placed into the statement as escaped literals (the where-clause already
// is); the backends move literals into bound parameters (SQLite always), so no value is parsed as SQL.
// Fetch fills the raw record column by column: NULL gives 0, the empty text or a cleared date; s<n>
// keeps at most n-1 bytes, u<n> at most n-1 characters; the indicator array gets -1 for NULL, else
// the value's full length in bytes (before any truncation) or the size of the integer.
//
// Every step (open, fetch, close, insert, update, delete) first asks dbfault::hit and, when a fault
// is armed for it, fails with the fault's code and text without touching the database.
//
// A table without a transaction writes on a connection of its own: on SQLite that waits (up to the
// busy timeout) for any write transaction the same thread still holds on the store.
//
// Thread safety: one DBtable is used by one thread at a time. It must not outlive its transaction;
// a cursor still open when the transaction ends is closed by it (a later fetch fails).
#include <cstdarg>
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
    // 1: bindings build row objects and bind procedure inputs as value objects; 0 (the default):
    // they pass procedure inputs as argument text. Process-wide; set it before any binding is built.
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
    // The raw record that fetches fill and inserts and updates read; not owned. `columns` is static
    // data: with the names set here it identifies the binding's statements for the life of the thread.
    void setRecord(void* record, const DBcolumn* columns, int count);
    // An array of one long long per column: -1 for a NULL value, else the value's length.
    void setExtIndicatorArray(void* indicators);
    // Reads only some of the record's columns: `list` is their names in record order, joined by ", ",
    // and `mask` has bit i set for record column i (see columnMask). Fetches fill
    // just those fields and leave the others as they are; inserts and updates from the record are then
    // refused (DB_ERR_PARTIAL_RECORD), since they would write the fields that were never read.
    void setColumnSubset(const char* list, unsigned long long mask);
    // The mask of the columns named in `list` (names joined by ", ", in record order); 0 when a name
    // is not a column, the order differs, or the record has more than 64 columns. Pure; thread-safe.
    static unsigned long long columnMask(const DBcolumn* columns, int count, const char* list);
    // Cursor bindings: the statement text, a printf format. Open runs, in this order of preference:
    // the text built by CallDBsprintfWrapper (the binding passes the statement text as the format);
    // the statement text with each placeholder replaced by the next bound input (texts with their
    // quotes doubled); the statement text as it is.
    void setStatementText(const char* text);
    // Cursor bindings whose statement is written once per database: `text` as above, in SQL Server's
    // dialect, and the texts for SQLite and PostgreSQL (null or empty: `text` is translated). With
    // bound inputs, open fills the text of the connection's dialect. In the SQLite and PostgreSQL
    // texts the inputs are SQL fragments, placed as they are: %d an integer, %s a text as it is (a
    // row limit such as "TOP 10", which the dialect turns into LIMIT), %w a condition: the text in
    // parentheses, or 1=1 when it is blank. Those fragments come from the library's own code, never
    // from an end user: they are executed as SQL. Such a cursor reads text from CallDBsprintfWrapper
    // as argument text ("5,0,N'TOP 10',N''"), as a procedure does, never as the statement.
    void setStatementText(const char* text, const char* sqliteText, const char* postgresText);

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
    // The same with the arguments as a va_list (read before the call returns). Values that stand alone
    // as literals reach the database as parameters of a statement kept prepared across calls.
    void setWhereArgs(const char* format, va_list args);
    // Takes an already formatted where-clause as it is ("" selects every row).
    void setWhereText(const std::string& clause);
    const std::string& getWhere() const;
    // Accepted for compatibility; every backend reads forward only.
    void setCursorType(unsigned long type);

    // Runs the statement (an open cursor is closed first) and reads ahead to the first row, so
    // that errors show here: 0 or an error code. A table with no transaction takes a pooled
    // connection in autocommit until the cursor is closed.
    int openCursor();
    // Fills the raw record with the next row: 0, 100 at the end, or an error code. With `next`
    // false the current row is read into the record again (the next row when there is none).
    int fetchCursor(bool next = true);
    // 0 when no cursor is open.
    int closeCursor();
    bool isOpen() const;
    // Concatenates the first column of every remaining row (an XML result): 0 (also for no row,
    // with `text` empty) or an error code. Opens and closes by itself when no cursor is open, else
    // reads the open cursor and leaves it open.
    int fetchText(std::string& text);

    int rowUpdate(const std::string& setClause);
    int rowInsert(bool returnIdentity = true);
    int rowDelete();
    // Rows changed by the last update, insert or delete.
    long long rowsAffected() const;

    // The text of the last failure when `code` is its code; "No data" for 100; "" for 0.
    std::string getErrorStr(int code) const;

    // The database layer's own use: gives an open cursor's statement back without a close step
    // (the transaction does this before its connection changes hands).
    void releaseStatement();

    // ---- procedure and cursor inputs
    // Two ways to give inputs: bound value objects (used when valuesBound() is true) or argument
    // text, "5,-1,N'x',NULL" (numbers, quoted texts, NULL, separated by commas), which open reads
    // back into parameters. Either stays in force for later opens until replaced.
    // Binds the next input; the table takes ownership of the value object (read through its
    // virtual getDataType/setString/getStr and its isNull member only).
    void BindInput(KODBDataTypeBase* value);
    void ClearBoundInputs();
    // Reserve room in the argument text or the query text; nothing else.
    void valuesClauseCheck(unsigned long room);
    void querySizeCheck(unsigned long room, bool keep);
    // Appends formatted argument text (quotes inside %s arguments doubled); the first call after
    // an open starts a new text.
    void CallDBsprintfWrapper(const char* format, ...) KO_PRINTF(2, 3);
    const std::string& getValuesText() const;
    void setValuesBound(bool bound);
    bool valuesBound() const;

  private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

// Fetch helpers of the database layer. Same thread rules as the table.
// getNextRow: opens the table's cursor when it is not open, fetches the next row (0) and counts it in
// *rowCounter (may be null), or returns 100 at the end or an error code; the cursor is closed on
// anything but 0. `limit` > 0 ends the rows (100) once *rowCounter has reached it; -1 or 0: no
// limit. `flags` is reserved (pass 0).
KO_PLATFORM_API int getNextRow(DBtable* table, int* rowCounter, int limit, int flags);
// getOneRow: opens, fetches one row and closes; the fetch's 0 or 100, or the first error code.
// `lock` is accepted for compatibility (a write transaction already holds the store's write lock);
// `limit` and `flags` are reserved.
KO_PLATFORM_API int getOneRow(DBtable* table, bool lock, int limit, int flags);
