// DBtable's statement templates: the select, delete, insert and update texts with a '?' marker for
// every value, built once per binding and form, and numbered process-wide so that a connection keeps
// each one prepared.
#include <cstring>

#include "platform/db/DBformat.h"
#include "platform/db/DBtableImpl.h"

namespace {

const char* field(const void* record, const DBcolumn& c) {
    return static_cast<const char*>(record) + c.offset;
}

bool usesWhere(dbtable::Form form) {
    return form == dbtable::kSelect || form == dbtable::kDelete || form == dbtable::kUpdateByWhere;
}

}  // namespace

const dbtable::Template& DBtable::Impl::templateFor(Form form) {
    const void* shape = usesWhere(form) ? where.shape() : nullptr;
    for (const Template& t : templates)
        if (t.form == form && t.shape == shape && t.generation == generation) return t;

    std::string sql;
    const std::string whereClause = where.empty() ? std::string() : " WHERE " + where.templateText();
    if (form == dbtable::kSelect) {
        std::string cols = columnList.empty() ? columnNames() : columnList;
        sql = "SELECT " + (cols.empty() ? std::string("*") : cols) + " FROM " + name + whereClause;
        if (!orderBy.empty()) sql += " ORDER BY " + orderBy;
    } else if (form == dbtable::kDelete) {
        sql = "DELETE FROM " + name + whereClause;
    } else if (form == dbtable::kInsert) {
        std::string names, markers;
        for (int i = 0; i < columnCount; ++i) {
            if (!identityColumn.empty() && identityColumn == columns[i].name) continue;
            names += names.empty() ? "" : ", ";
            markers += markers.empty() ? "?" : ", ?";
            names += columns[i].name;
        }
        sql = "INSERT INTO " + name + " (" + names + ") VALUES (" + markers + ")";
    } else {
        sql = "UPDATE " + name + " SET ";
        bool first = true;
        for (int i = 0; i < columnCount; ++i) {
            if (!identityColumn.empty() && identityColumn == columns[i].name) continue;
            sql += first ? "" : ", ";
            sql += std::string(columns[i].name) + " = ?";
            first = false;
        }
        if (form == dbtable::kUpdateById)
            sql += " WHERE " + identityColumn + " = ?";
        else if (form == dbtable::kUpdateByWhere)
            sql += whereClause;
    }
    const int id = dbl::templateId(sql);
    templates.push_back({form, shape, generation, id, std::move(sql)});
    return templates.back();
}

// The same values that the literal form of the record gives the translation, so both reach the
// database alike: numbers, texts (s<n> up to its terminator), dates as their text or NULL.
void DBtable::Impl::recordParams(std::vector<dbl::Param>& out) const {
    for (int i = 0; i < columnCount; ++i) {
        const DBcolumn& c = columns[i];
        if (!identityColumn.empty() && identityColumn == c.name) continue;
        const char* p = field(record, c);
        dbl::Param param;
        switch (c.letter) {
            case 'i':
                param.type = dbl::Param::kInt;
                param.i = *reinterpret_cast<const int*>(p);
                break;
            case 'b':
            case 'x':
                param.type = dbl::Param::kInt;
                param.i = *reinterpret_cast<const long long*>(p);
                break;
            case 't': {
                std::string date = DBodbcDate(*reinterpret_cast<const DB_DATETIME*>(p));
                if (!date.empty()) {
                    param.type = dbl::Param::kText;
                    param.s = std::move(date);
                }
                break;
            }
            case 's':
                param.type = dbl::Param::kText;
                if (c.width > 0)
                    param.s.assign(p, strnlen(p, static_cast<size_t>(c.width)));
                else
                    param.s.assign(
                        reinterpret_cast<const std::string*>(p)->c_str());  // up to a NUL, as the text is
                break;
            case 'u':
                param.type = dbl::Param::kText;
                param.s.assign(reinterpret_cast<const std::string*>(p)->c_str());
                break;
            default:
                break;
        }
        out.push_back(std::move(param));
    }
}
