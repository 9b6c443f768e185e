#pragma once
// The only road from an operation to a table, procedure or cursor: a wrapper owns one binding for
// the length of one operation, logs every failure tagged with the calling operation, keeps the
// database layer's error text, and closes a cursor that a failed fetch or the end of the data left.
//
//   TableWrapper<TM_Task, TM_Task_t> tw("TaskInterfaceDB::getTaskInfo", tran);
//   tw.setWhere("taskId = %d", id);
//   if ((rc = tw.openCursor(&err)) == 0) rc = tw.fetchCursor(true, &err);   // row in tw.getDataPtr()
//   int closeRc = tw.closeCursor(&err);
//
// Result codes are the database layer's: 0 success, 100 no (more) data, anything else a failure.
// No operation throws. A wrapper belongs to one operation on one thread; `caller` must outlive it.
#include <cstdarg>
#include <cstring>
#include <string>
#include <vector>

#include "TaskExport.h"
#include "platform/db/DBformat.h"
#include "platform/db/DBtable.h"
#include "platform/trace/EvDebug.h"

class DBtran;

// The kind texts that tag a wrapper's log lines ("Table", "Cursor", "SProcedure").
extern TASKDB_API const char* const KO_WRAPPER_TABLE;
extern TASKDB_API const char* const KO_WRAPPER_CURSOR;
extern TASKDB_API const char* const KO_WRAPPER_SPROC;

namespace kowrap {
// Formats with the database layer's escaping into a buffer of (DBsizeof + 25) * 2 bytes.
inline std::string format(const char* format, va_list args) {
    va_list sizing;
    va_copy(sizing, args);
    unsigned long size = DBsizeof(format, sizing);
    va_end(sizing);
    // Twice the room the text needs, as every where-clause of the server has been sized.
    std::vector<char> buffer((size + 25) * 2);
    DBsprintf(buffer.data(), buffer.size(), format, args);
    return std::string(buffer.data());
}
// The where-clause trace line of setWhere: "TABLE -> ..." for tables, "CURSOR ->  ..." for cursors,
// nothing for procedures (their clauses are deliberately not traced) and for "TSGlobalParam".
TASKDB_API void traceWhere(const char* caller, const char* kind, const char* object,
                           const std::string& clause);
}  // namespace kowrap

template <class X, class X_t>
class CursorWrapper {
  public:
    // Creates the binding on `tran` (which may be null and is not owned).
    CursorWrapper(const char* caller, DBtran* tran, const char* kind = KO_WRAPPER_CURSOR)
        : m_table(new X(tran)), m_tran(tran), m_isOpen(false), m_caller(caller), m_kind(kind) {}
    // Closes a cursor still marked open (even after a failed open), then deletes the binding.
    virtual ~CursorWrapper() {
        if (m_isOpen) closeCursor(nullptr);
        delete m_table;
    }
    CursorWrapper(const CursorWrapper&) = delete;
    CursorWrapper& operator=(const CursorWrapper&) = delete;

    // Hands the where-clause to the binding (quotes inside %s arguments are doubled in its text). The
    // binding binds values that stand alone as literals as parameters of a statement kept prepared; the
    // text is made only for the logs.
    void setWhere(const char* format, ...) KO_PRINTF(2, 3) {
        va_list args;
        va_start(args, format);
        m_table->setWhereArgs(format, args);
        va_end(args);
        m_hasWhere = true;
        if (EvDebug::enabled(10))
            kowrap::traceWhere(m_caller, m_kind, m_table->getTableName(), m_table->getWhere());
    }

    // 0, or the failure's code with its text in *error. The cursor counts as open either way.
    int openCursor(std::string* error) {
        int r = m_table->openCursor();
        if (r != 0) {
            m_errorString = m_table->getErrorStr(r);
            EvDebug::Debug(m_caller, "Open Cursor on [%s] %s failed. Error [%s]", m_table->getTableName(),
                           m_kind, m_errorString.c_str());
            if (error) *error = m_errorString;
        }
        m_isOpen = true;
        return r;
    }

    // 0 with the row in getDataPtr(); 100 at the end; else a failure. Any non-zero result closes the
    // cursor and puts the text (also the no-data text) in *error; only real failures are logged.
    int fetchCursor(bool next, std::string* error) {
        int r = m_table->fetchCursor(next);
        if (r != 0) {
            m_errorString = m_table->getErrorStr(r);
            if (r != 100)
                EvDebug::Debug(m_caller, "Fetch Cursor on [%s] %s failed. QueryParams [%s]. Error [%s]",
                               m_table->getTableName(), m_kind, queryParams().c_str(), m_errorString.c_str());
            if (error) *error = m_errorString;
            // A failed close here is kept for the caller's own closeCursor, which reports it.
            m_closeFailure = closeCursor(error);
        }
        return r;
    }

    // The close's result, a failure's text in *error. When nothing is open: 0, or the failure of the
    // close that an ending fetch made (reported once).
    int closeCursor(std::string* error) {
        if (!m_isOpen) {
            int r = m_closeFailure;
            m_closeFailure = 0;
            if (r != 0 && error) *error = m_errorString;
            return r;
        }
        int r = m_table->closeCursor();
        if (r != 0) {
            m_errorString = m_table->getErrorStr(r);
            EvDebug::Debug(m_caller, "Close Cursor on [%s] %s failed. Error [%s]", m_table->getTableName(),
                           m_kind, m_errorString.c_str());
            if (error) *error = m_errorString;
        }
        m_isOpen = false;
        return r;
    }

    // The binding's raw record (owned by the binding).
    X_t* getDataPtr() { return m_table->getDataPtr(); }
    // The binding itself, for setValues and direct DBtable calls (owned by the wrapper).
    X* getCursor() { return m_table; }
    const std::string& getErrorString() const { return m_errorString; }
    bool isOpen() const { return m_isOpen; }

    // Runs the statement and takes its one text result (an XML document). 0 on success: a non-empty
    // result replaces `xml`, behind an XML declaration (1.1 or 1.0) when `addHeader`; an empty result
    // leaves `xml` untouched. -1 on any failure, with the text in *error.
    int getXMLFromCursor(std::string& xml, std::string* error, bool version11, bool addHeader) {
        std::string text;
        int r = m_table->openCursor();
        if (r == 0) r = m_table->fetchText(text);
        if (r != 0) {
            xmlFailed(r, error);
            m_table->closeCursor();
            return -1;
        }
        if ((r = m_table->closeCursor()) != 0) {
            xmlFailed(r, error);
            return -1;
        }
        if (text.empty()) return 0;
        if (!addHeader)
            xml = text;
        else if (version11)
            xml = "<?xml version='1.1' encoding='utf-8' ?>" + text;
        else
            xml = "<?xml version='1.0' encoding='utf-8' ?>" + text;
        return 0;
    }

  protected:
    // The where-clause text last given through setWhere ("" before), for the logs.
    const std::string& queryParams() const {
        static const std::string none;
        return m_hasWhere ? m_table->getWhere() : none;
    }

    X* m_table;
    DBtran* m_tran;
    bool m_isOpen;
    const char* m_caller;
    bool m_hasWhere = false;
    const char* m_kind;
    std::string m_errorString;
    int m_closeFailure = 0;  // a close failed inside fetchCursor, not yet reported by closeCursor

  private:
    void xmlFailed(int r, std::string* error) {
        m_errorString = m_table->getErrorStr(r);
        if (error) *error = m_errorString;
    }
};

template <class X, class X_t>
class TableWrapper : public CursorWrapper<X, X_t> {
    using Base = CursorWrapper<X, X_t>;

  public:
    TableWrapper(const char* caller, DBtran* tran) : Base(caller, tran, KO_WRAPPER_TABLE) {}

    // Updates the rows of the where-clause with the formatted set-clause (quotes inside %s arguments
    // doubled); an empty format rewrites every column from the raw record. 0 or the failure's code.
    // No format attribute here: rowUpdate("") is a legitimate call.
    int rowUpdate(const char* format, ...) {
        va_list args;
        va_start(args, format);
        std::string values = kowrap::format(format, args);
        va_end(args);
        int r = this->m_table->rowUpdate(values);
        EvEventWrapper(this->m_caller)
            .Debug(9, "rowUpdate : Table %s {%s}", this->m_table->getTableName(), values.c_str());
        if (r != 0) {
            this->m_errorString = this->m_table->getErrorStr(r);
            if (r != 100)
                EvDebug::Debug(this->m_caller,
                               "Update [%s] table failed. QueryParams [%s] Update values [%s]. Error [%s]",
                               this->m_table->getTableName(), this->queryParams().c_str(), values.c_str(),
                               this->m_errorString.c_str());
        }
        return r;
    }

    // Inserts the raw record (`returnIdentity` is passed to the binding). 0, or the code with its
    // text in *error; every non-zero result is logged.
    int rowInsert(bool returnIdentity, std::string* error) {
        int r = this->m_table->rowInsert(returnIdentity);
        if (r != 0) {
            this->m_errorString = this->m_table->getErrorStr(r);
            EvDebug::Debug(this->m_caller, "Insert into [%s] table failed. Error [%s]",
                           this->m_table->getTableName(), this->m_errorString.c_str());
            if (error) *error = this->m_errorString;
        }
        return r;
    }

    // Deletes the rows of the where-clause set before. 0, or the code with its text in *error.
    int rowDelete(std::string* error) {
        int r = this->m_table->rowDelete();
        if (EvDebug::enabled(9))
            EvEventWrapper(this->m_caller)
                .Debug(9, " rowDelete : Table %s {%s}", this->m_table->getTableName(),
                       this->queryParams().c_str());
        if (r != 0) {
            this->m_errorString = this->m_table->getErrorStr(r);
            if (r != 100)
                EvDebug::Debug(this->m_caller, "Delete from [%s] table failed. QueryParams [%s]. Error [%s]",
                               this->m_table->getTableName(), this->queryParams().c_str(),
                               this->m_errorString.c_str());
            if (error) *error = this->m_errorString;
        }
        return r;
    }
};

template <class X, class X_t>
class SprocWrapper : public CursorWrapper<X, X_t> {
  public:
    SprocWrapper(const char* caller, DBtran* tran) : CursorWrapper<X, X_t>(caller, tran, KO_WRAPPER_SPROC) {}
};
