#include "utilities/ProcessInfo.h"

#include <cstring>

char* GetProcessNameAndID(char* buffer) {
    static const char kName[] = "AppMgrNet";
    static_assert(sizeof kName == 10, "the name fills exactly the documented 10 bytes");
    std::memcpy(buffer, kName, sizeof kName);
    return buffer;
}
