// DBtable's statement templates: the select, delete, insert and update texts with a '?' marker for
// every value, built once per binding and form, and numbered process-wide so that a connection keeps
// each one prepared.
#include <cstring>

#include "platform/db/DBformat.h"
#include "platform/db/table/DBtableImpl.h"

namespace {

const char* field(const void* record, const DBcolumn& c) {
    return static_cast<const char*>(record) + c.offset;
}

bool usesWhere(dbtable::Form form) {
    return form == dbtable::kSelect || form == dbtable::kDelete || form == dbtable::kUpdateByWhere;
}

// The templates this thread has built, so that the next binding of the same table and form finds its
// text and number without building and interning the text again. Entries are never removed (their
// number is bounded by the bindings and formats of the program); past the bound texts are built anew.
struct Known {
    const DBcolumn* columns;
    int columnCount;
    dbtable::Form form;
    const void* shape;
    std::string name, columnList, orderBy, identityColumn;
    int id;
    const std::string* sql;
};
constexpr size_t kMaxKnown = 1024;
thread_local std::vector<Known> t_known;

}  // namespace

const dbtable::Template& DBtable::Impl::templateFor(Form form) {
    const void* shape = usesWhere(form) ? where.shape() : nullptr;
    for (const Template& t : templates)
        if (t.form == form && t.shape == shape && t.generation == generation) return t;
    for (const Known& k : t_known) {
        if (k.columns == columns && k.form == form && k.shape == shape && k.columnCount == columnCount &&
            k.name == name && k.columnList == columnList && k.orderBy == orderBy &&
            k.identityColumn == identityColumn) {
            templates.push_back({form, shape, generation, k.id, k.sql});
            return templates.back();
        }
    }

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
    const std::string* kept = nullptr;
    const int id = dbl::templateId(sql, &kept);
    if (t_known.size() < kMaxKnown)
        t_known.push_back(
            {columns, columnCount, form, shape, name, columnList, orderBy, identityColumn, id, kept});
    templates.push_back({form, shape, generation, id, kept});
    return templates.back();
}

// The same values that the literal form of the record gives the translation, so both reach the
// database alike: numbers, texts (s<n> up to its terminator), dates as their text or NULL.
int DBtable::Impl::bindRecord(dbl::Statement& st, int first) {
    int index = first;
    std::string text;
    const int identity = identityPosition();
    for (int i = 0; i < columnCount; ++i) {
        const DBcolumn& c = columns[i];
        if (i == identity) continue;
        const char* p = field(record, c);
        switch (c.letter) {
            case 'i':
                st.bindInt64(index, *reinterpret_cast<const int*>(p));
                break;
            case 'b':
            case 'x':
                st.bindInt64(index, *reinterpret_cast<const long long*>(p));
                break;
            case 't':
                text = DBodbcDate(*reinterpret_cast<const DB_DATETIME*>(p));
                if (text.empty())
                    st.bindNull(index);
                else
                    st.bindText(index, text);
                break;
            case 's':
                if (c.width > 0)
                    text.assign(p, strnlen(p, static_cast<size_t>(c.width)));
                else
                    text.assign(
                        reinterpret_cast<const std::string*>(p)->c_str());  // up to a NUL, as the text is
                st.bindText(index, text);
                break;
            case 'u':
                text.assign(reinterpret_cast<const std::string*>(p)->c_str());
                st.bindText(index, text);
                break;
            default:
                st.bindNull(index);
                break;
        }
        ++index;
    }
    return index;
}
