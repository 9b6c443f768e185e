#include "utilities/AppTypes.h"

#include <algorithm>
#include <iterator>

namespace {

template <size_t N>
bool listed(const unsigned long (&ids)[N], unsigned long id) {
    return std::find(std::begin(ids), std::end(ids), id) != std::end(ids);
}

const unsigned long kUnixFs[] = {13, 17, 18, 19, 20, 21, 29, 36, 38, 40, 48, 63, 64, 66, 74, 75, 88};
const unsigned long kQuorin1[] = {1, 93};
const unsigned long kQuorin2[] = {11, 33, 34, 42, 43, 91};
const unsigned long kQuorin3[] = {17, 18, 19, 20, 21, 29, 36, 38, 63, 74};
const unsigned long kQuorin4[] = {12, 86};
const unsigned long kCaseSensitiveSets[] = {4, 16, 70};

}  // namespace

bool IsUnixTypeFS(unsigned long appTypeId) {
    return listed(kUnixFs, appTypeId);
}

int GetSCPQuorinType(unsigned long appTypeId) {
    if (listed(kQuorin1, appTypeId)) return 1;
    if (listed(kQuorin2, appTypeId)) return 2;
    if (listed(kQuorin3, appTypeId)) return 3;
    if (listed(kQuorin4, appTypeId)) return 4;
    return 0;
}

bool IsBackupSetCaseSensitive(unsigned long appTypeId) {
    return listed(kCaseSensitiveSets, appTypeId);
}
