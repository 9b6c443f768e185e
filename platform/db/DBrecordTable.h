#pragma once
// A table of the store bound to its generated raw record (include/platform/records/<Name>.h), for platform
// code that reads and writes tables without the library's row classes:
//
//   DBrecordTable<APP_Client_t> t(tran);
//   t.setWhere("id = %d", clientId);
//   if (getOneRow(&t, false, 0, 0) == 0) use(t.row().name);
//
// The record and its indicators live in the object; everything else is DBtable's.
#include "platform/db/DBtable.h"
#include "platform/db/DBtran.h"

template <class Record>
class DBrecordTable : public DBtable {
  public:
    explicit DBrecordTable(DBtran* tran) : DBtable(Record::kObjectName, 0, tran) {
        setKind(kTable);
        setColumnList(Record::kColumnNames);
        if (Record::kIdentityColumnIndex >= 0)
            setIdentity(Record::kIdentityColumn, Record::kIdentityColumnIndex, identityField());
        else
            setIdentity("", 0, nullptr);
        setRecord(&m_row, Record::columns(), Record::kColumnCount);
        setOrderBy(Record::kOrderByColumn);
        setExtIndicatorArray(m_indicators);
    }

    Record& row() { return m_row; }
    // A fresh record for the next insert.
    void clearRow() { m_row = Record(); }

  private:
    // The identity is always the record's int field at its column's offset.
    int* identityField() {
        const DBcolumn& c = Record::columns()[Record::kIdentityColumnIndex];
        return reinterpret_cast<int*>(reinterpret_cast<char*>(&m_row) + c.offset);
    }

    Record m_row;
    long long m_indicators[Record::kColumnCount] = {};
};
