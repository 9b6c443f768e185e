// DBtable: the description set by the bindings, the where-clause and the error text. The statements
// are in DBtableCursor.cpp and DBtableWrite.cpp.
#include "platform/db/DBtable.h"

#include <cstdarg>
#include <cstring>

#include "platform/db/Backend.h"
#include "platform/db/DBformat.h"
#include "platform/db/DBtran.h"
#include "platform/db/table/DBtableImpl.h"

int DBtable::b_newDBBase = 0;
KoCriticalSection DBtable::DBCriticalSection;

DBtable::DBtable(const char* name, int flags, DBtran* tran) : m_impl(new Impl) {
    m_impl->name = name ? name : "";
    m_impl->flags = flags;
    m_impl->tran = tran;
}

DBtable::~DBtable() {
    if (m_impl->open) {
        if (m_impl->tran) m_impl->tran->untrackCursor(this);
        releaseStatement();
    }
}

void DBtable::setKind(int kind) {
    m_impl->kind = kind;
    ++m_impl->generation;
}
void DBtable::setColumnList(const char* columns) {
    m_impl->columnList = columns ? columns : "";
    m_impl->subset = 0;
    ++m_impl->generation;
}
void DBtable::setVersion(const char* version) {
    m_impl->version = version ? version : "";
}
void DBtable::setDescription(const char* description) {
    m_impl->description = description ? description : "";
}

void DBtable::setIdentity(const char* column, int index, int* field) {
    m_impl->identityColumn = column ? column : "";
    m_impl->identityIndex = index;
    m_impl->identityField = field;
    ++m_impl->generation;
}

void DBtable::setOrderBy(const char* columns) {
    m_impl->orderBy = columns ? columns : "";
    ++m_impl->generation;
}

void DBtable::setRecord(void* record, const DBcolumn* columns, int count) {
    m_impl->record = record;
    m_impl->columns = columns;
    m_impl->columnCount = columns ? count : 0;
    m_impl->subset = 0;
    ++m_impl->generation;
}

void DBtable::setColumnSubset(const char* list, unsigned long long mask) {
    m_impl->columnList = list ? list : "";
    m_impl->subset = list ? mask : 0;
    ++m_impl->generation;
}

unsigned long long DBtable::columnMask(const DBcolumn* columns, int count, const char* list) {
    if (!columns || !list || count > 64) return 0;
    unsigned long long mask = 0;
    int next = 0;  // names must follow record order, so that fetched columns map by position
    for (const char* p = list; *p;) {
        const char* end = std::strstr(p, ", ");
        const size_t length = end ? static_cast<size_t>(end - p) : std::strlen(p);
        while (next < count && (std::strlen(columns[next].name) != length ||
                                std::strncmp(columns[next].name, p, length) != 0))
            ++next;
        if (next == count) return 0;
        mask |= 1ULL << next++;
        p = end ? end + 2 : p + length;
    }
    return mask;
}

void DBtable::setExtIndicatorArray(void* indicators) {
    m_impl->indicators = static_cast<long long*>(indicators);
}
void DBtable::setStatementText(const char* text) {
    m_impl->statementText = text ? text : "";
}
void DBtable::setStatementText(const char* text, const char* sqliteText, const char* postgresText) {
    setStatementText(text);
    m_impl->sqliteText = sqliteText ? sqliteText : "";
    m_impl->postgresText = postgresText ? postgresText : "";
}

int DBtable::getKind() const {
    return m_impl->kind;
}
const char* DBtable::getTableName() const {
    return m_impl->name.c_str();
}
const std::string& DBtable::getColumnList() const {
    return m_impl->columnList;
}
const std::string& DBtable::getDescription() const {
    return m_impl->description;
}
const std::string& DBtable::getVersion() const {
    return m_impl->version;
}
const std::string& DBtable::getOrderBy() const {
    return m_impl->orderBy;
}
DBtran* DBtable::getTran() const {
    return m_impl->tran;
}

void DBtable::setWhere(const char* format, ...) {
    va_list args;
    va_start(args, format);
    setWhereArgs(format, args);
    va_end(args);
}

void DBtable::setWhereArgs(const char* format, va_list args) {
    m_impl->where.set(format, args);
}

void DBtable::setWhereText(const std::string& clause) {
    m_impl->where.setText(clause);
}
const std::string& DBtable::getWhere() const {
    return m_impl->where.text();
}
void DBtable::setCursorType(unsigned long type) {
    m_impl->cursorType = type;
}
bool DBtable::isOpen() const {
    return m_impl->open;
}
long long DBtable::rowsAffected() const {
    return m_impl->rowsAffected;
}

std::string DBtable::getErrorStr(int code) const {
    if (code == 0) return std::string();
    if (code == m_impl->lastCode && !m_impl->lastText.empty()) return m_impl->lastText;
    if (code == DB_NO_DATA) return "No data";
    return "database error " + std::to_string(code);
}

void DBtable::releaseStatement() {
    m_impl->stmt.reset();
    m_impl->open = false;
    m_impl->hasRow = false;
    m_impl->readAhead = false;
    if (m_impl->ownConn) dbl::giveBack(std::move(m_impl->ownConn));
}

std::string DBtable::Impl::columnNames() const {
    if (!columns || columnCount == 0) return columnList;
    std::string out;
    for (int i = 0; i < columnCount; ++i) {
        if (i) out += ", ";
        out += columns[i].name;
    }
    return out;
}

std::string DBtable::Impl::selectText() const {
    std::string cols = columnList.empty() ? columnNames() : columnList;
    std::string sql = "SELECT " + (cols.empty() ? std::string("*") : cols) + " FROM " + name;
    if (!where.empty()) sql += " WHERE " + where.text();
    if (!orderBy.empty()) sql += " ORDER BY " + orderBy;
    return sql;
}
