#pragma once
// Reading of a client's service-pack text such as "4.2.0 SP9 HPK3".
#include <string>

#include "TaskExport.h"

// Sets `servicePack` and `second` from a version text; both are 0 when the text says nothing readable.
// The service pack is the number after the first "SP" (or, without "SP", after the first "."); the second
// number is the one after "HPK" (or after the next "."). A letter where the second number ends replaces it
// with its place in the alphabet ("SP12b" gives 12 and 2); a following '+' or '-' is ignored.
// Examples: "SP9" -> 9, 0; "4.2.0 SP9 HPK3" -> 9, 3; "SP7+" -> 7, 0; "" and "abc" -> 0, 0.
// Numbers too large for an int are read as INT_MAX. Never fails; reentrant.
TASKDB_API void ParseSPVersionInfo(std::string version, int& servicePack, int& second);
