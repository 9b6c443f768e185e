#include "platform/taskmgr/StoreWriter.h"

#include "platform/db/Bind.h"
#include "platform/db/DBerrors.h"

namespace taskmgr {

dbl::Param intValue(long long v) {
    dbl::Param p;
    p.type = dbl::Param::kInt;
    p.i = v;
    return p;
}

dbl::Param textValue(const std::string& v) {
    dbl::Param p;
    p.type = dbl::Param::kText;
    p.s = v;
    return p;
}

int StoreWriter::begin(std::string* err) {
    int code = m_tran.begin(err);
    if (code != 0) return code;
    std::string text;
    m_conn = m_tran.connectionForStatement(code, text, true);
    if (!m_conn && err) *err = text;
    return m_conn ? 0 : code;
}

dbl::StatementPtr StoreWriter::run(const std::string& sql, const Values& values, int& code,
                                   std::string* err) {
    dbl::Error e;
    std::vector<dbl::Param> literals;
    dbl::StatementPtr st = m_conn->prepare(sql, literals, e);
    if (!st) {
        code = e.code ? e.code : DB_ERR_NO_STATEMENT;
        if (err) *err = e.text;
        return nullptr;
    }
    // Literals the backend moved out of the text come first, then the values for our own markers.
    int next = dbl::bindParams(*st, literals);
    for (const dbl::Param& p : values) {
        if (p.type == dbl::Param::kInt)
            st->bindInt64(next++, p.i);
        else if (p.type == dbl::Param::kText)
            st->bindText(next++, p.s);
        else
            st->bindNull(next++);
    }
    code = st->step(e);
    if (code != 0 && code != 100 && err) *err = e.text;
    return st;
}

int StoreWriter::exec(const std::string& sql, const Values& values, std::string* err) {
    int code = 0;
    run(sql, values, code, err);
    return code == 100 ? 0 : code;
}

int StoreWriter::insert(const std::string& table, const std::string& column, const std::string& sql,
                        const Values& values, long long* id, std::string* err) {
    int code = exec(sql, values, err);
    if (code != 0) return code;
    dbl::Error e;
    *id = m_conn->lastIdentity(table, column, e);
    if (e.code != 0) {
        if (err) *err = e.text;
        return e.code;
    }
    return 0;
}

int StoreWriter::queryRows(const std::string& sql, const Values& values,
                           std::vector<std::vector<long long>>* rows, std::string* err) {
    int code = 0;
    dbl::StatementPtr st = run(sql, values, code, err);
    while (code == 0) {
        std::vector<long long> row(st->columnCount());
        for (size_t i = 0; i < row.size(); ++i)
            row[i] = st->columnIsNull(static_cast<int>(i)) ? 0 : st->columnInt64(static_cast<int>(i));
        rows->push_back(std::move(row));
        dbl::Error e;
        code = st->step(e);
        if (code != 0 && code != 100 && err) *err = e.text;
    }
    return code == 100 ? 0 : code;
}

int StoreWriter::commit(std::string* err) {
    return m_tran.commit(err);
}

}  // namespace taskmgr
