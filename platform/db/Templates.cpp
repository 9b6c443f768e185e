// Statement templates: one number per distinct text for the life of the process; and the defaults of
// the backend interface's optional members.
#include <mutex>
#include <unordered_map>

#include "platform/db/Backend.h"

namespace dbl {

StatementPtr Connection::prepareTemplate(int, const std::string&, Error&) {
    return nullptr;
}

bool Statement::readInt64(int col, long long& out) {
    if (columnIsNull(col)) return false;
    out = columnInt64(col);
    return true;
}

bool Statement::readText(int col, std::string& out) {
    if (columnIsNull(col)) return false;
    columnText(col, out);
    return true;
}

int templateId(const std::string& sql) {
    static std::mutex mu;
    static auto* ids = new std::unordered_map<std::string, int>;  // read while other statics go away
    std::lock_guard<std::mutex> lock(mu);
    auto it = ids->find(sql);
    if (it != ids->end()) return it->second;
    const int id = static_cast<int>(ids->size());
    ids->emplace(sql, id);
    return id;
}

}  // namespace dbl
