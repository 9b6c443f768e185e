#pragma once
// The row base: one typed value per column, by name and in column order, plus the class-wide
// metadata that every generated row class (X_t2) keeps in its own statics.
//
// Ownership: a row owns its value objects and deletes them with itself. Thread safety: a row belongs
// to one thread at a time; the generated classes build their statics once per process under the
// shared semaphore s_semColumnVec, so rows of one class may be constructed on many threads at once.
#include <map>
#include <string>
#include <vector>

#include "TaskExport.h"
#include "db/KODBDataType.h"
#include "platform/sync/KoCriticalSection.h"

struct DBcolumn;

// The semaphore behind the row classes' one-time set-up. release() always releases by one,
// whatever count it is given.
class KOSimpleDBSem {
  public:
    explicit KOSimpleDBSem(int count) : m_sem(count) {}
    void wait() { m_sem.wait(); }
    void release(int /*ignored*/ = 1) { m_sem.release(1); }

  private:
    KoSemaphore m_sem;
};

class TASKDB_API KODBRowBase {
  public:
    // Guards the one-time set-up of every row class's statics; shared by all row classes.
    static KOSimpleDBSem* s_semColumnVec;

    // Set by every generated row constructor; not read by this library.
    bool m_generated = false;
    std::map<std::string, KODBDataTypeBase*> columns;
    std::vector<KODBDataTypeBase*> columnVec;
    // The identity column's name; empty for procedures and cursors.
    std::string serialColumn;
    // Key column names in key order, exactly as the table gives them (trailing blanks kept).
    std::vector<std::string> primaryKeys;
    // Created per row, taken by nothing in this library.
    KOSimpleDBSem* rowSem;

    KODBRowBase();
    KODBRowBase(const KODBRowBase&) = delete;

    // Wait on / release s_semColumnVec.
    virtual void lock();
    virtual void unLock();
    // Deletes every value object of the row.
    virtual ~KODBRowBase();
    // getColumnName_t2(index) as a string; the index is not checked.
    virtual std::string getColumnName(const int& index);
    // A copy of columnVec (the row still owns the values).
    virtual std::vector<KODBDataTypeBase*> getData();
    // Position of serialColumn among the class's columns, -1 when it is not one of them.
    virtual int getSerialColNum() = 0;
    virtual std::string getTableName() = 0;
    // "k1 = ?AND k2 = ?" over primaryKeys (no blank before AND, kept so); "" without keys.
    virtual std::string getPrimaryWhere() = 0;
    // The key columns' value objects in key order (null for a key that is not a column).
    virtual std::vector<KODBDataTypeBase*> getPrimaryData() = 0;
    // The column format string with x turned to b; "" in the base.
    virtual std::string getStructDef();
    virtual void setTableName(std::string name) = 0;
    virtual const char* getColumnName_t2(const int& index) const = 0;
    virtual void pushColumnName(const char* name) = 0;
    // 1 table, 2 procedure, 3 cursor; -1 in the base.
    virtual int getHeaderType();
    // Foreign keys are not used: always false.
    virtual bool searchForeignKey(std::string column);
    // Deliberately copies nothing.
    virtual KODBRowBase& operator=(KODBRowBase& other);

    // A copy of `format` with every 'x' (time as 64-bit integer) turned into 'b'.
    static std::string fillForTime(const char* format);

  protected:
    // Creates the value object of each column (by its letter) in column order.
    void addColumns(const DBcolumn* cols, int count);
    // The shared bodies of the generated overrides.
    int serialColumnIn(const std::vector<std::string>& names) const;
    std::string primaryWhere() const;
    std::vector<KODBDataTypeBase*> primaryData() const;
};

// The value object for a column letter: i -> KODB_int, b/x -> KODB_int64, t -> KODB_datetime,
// s/u -> KODB_string; null for an unknown letter. The caller owns the result.
TASKDB_API KODBDataTypeBase* KODBNewValue(char letter);
