// Statement templates: one number per distinct text for the life of the process.
#include <mutex>
#include <unordered_map>

#include "platform/db/Backend.h"

namespace dbl {

StatementPtr Connection::prepareTemplate(int, const std::string&, Error&) {
    return nullptr;
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
