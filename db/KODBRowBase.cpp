#include "db/KODBRowBase.h"

#include "platform/db/DBtypes.h"

namespace {
// Owned by the library image, so that unloading a copy of the library frees it with the copy.
KOSimpleDBSem gColumnVecSem(1);
}  // namespace

KOSimpleDBSem* KODBRowBase::s_semColumnVec = &gColumnVecSem;

KODBRowBase::KODBRowBase() : rowSem(new KOSimpleDBSem(1)) {}

KODBRowBase::~KODBRowBase() {
    for (KODBDataTypeBase* value : columnVec) delete value;
    delete rowSem;
}

void KODBRowBase::lock() {
    s_semColumnVec->wait();
}
void KODBRowBase::unLock() {
    s_semColumnVec->release(1);
}

std::string KODBRowBase::getColumnName(const int& index) {
    return getColumnName_t2(index);
}
std::vector<KODBDataTypeBase*> KODBRowBase::getData() {
    return columnVec;
}
std::string KODBRowBase::getStructDef() {
    return std::string();
}
int KODBRowBase::getHeaderType() {
    return -1;
}
bool KODBRowBase::searchForeignKey(std::string) {
    return false;
}
KODBRowBase& KODBRowBase::operator=(KODBRowBase&) {
    return *this;
}

std::string KODBRowBase::fillForTime(const char* format) {
    std::string out = format ? format : "";
    for (char& c : out)
        if (c == 'x') c = 'b';
    return out;
}

KODBDataTypeBase* KODBNewValue(char letter) {
    switch (letter) {
        case 'i':
            return new KODB_int;
        case 'b':
        case 'x':
            return new KODB_int64;
        case 't':
            return new KODB_datetime;
        case 's':
        case 'u':
            return new KODB_string;
        default:
            return nullptr;
    }
}

void KODBRowBase::addColumns(const DBcolumn* cols, int count) {
    for (int i = 0; i < count; ++i) {
        columns[cols[i].name] = KODBNewValue(cols[i].letter);
        columnVec.push_back(columns[cols[i].name]);
    }
}

int KODBRowBase::serialColumnIn(const std::vector<std::string>& names) const {
    for (size_t i = 0; i < names.size(); ++i)
        if (names[i] == serialColumn) return static_cast<int>(i);
    return -1;
}

std::string KODBRowBase::primaryWhere() const {
    std::string where;
    for (size_t i = 0; i < primaryKeys.size(); ++i) {
        where += primaryKeys[i];
        where += " = ?";
        if (i + 1 < primaryKeys.size()) where += "AND ";
    }
    return where;
}

std::vector<KODBDataTypeBase*> KODBRowBase::primaryData() const {
    std::vector<KODBDataTypeBase*> out;
    for (const std::string& key : primaryKeys) {
        auto it = columns.find(key);
        out.push_back(it == columns.end() ? nullptr : it->second);
    }
    return out;
}
