// Statement templates: one number per distinct text for the life of the process; and the defaults of
// the backend interface's optional members.
#include <cstring>
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

bool Statement::readChars(int col, char* buffer, size_t room, size_t& length) {
    std::string text;
    if (!readText(col, text)) return false;
    length = text.size();
    const size_t n = length < room - 1 ? length : room - 1;
    std::memcpy(buffer, text.data(), n);
    buffer[n] = '\0';
    return true;
}

int templateId(const std::string& sql, const std::string** kept) {
    static std::mutex mu;
    // Never freed or erased: the texts are handed out for the process's life.
    static auto* ids = new std::unordered_map<std::string, int>;
    std::lock_guard<std::mutex> lock(mu);
    auto it = ids->find(sql);
    if (it == ids->end()) it = ids->emplace(sql, static_cast<int>(ids->size())).first;
    if (kept) *kept = &it->first;
    return it->second;
}

}  // namespace dbl
