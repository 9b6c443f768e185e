#pragma once
// Identification of the calling process in messages to the application manager.
#include "TaskExport.h"

// Writes "AppMgrNet" and its terminating zero (10 bytes) into `buffer` and returns `buffer`. No process id is
// added, on purpose. The caller owns the buffer, which must hold at least 10 bytes. Never fails; reentrant.
TASKDB_API char* GetProcessNameAndID(char* buffer);
