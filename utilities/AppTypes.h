#pragma once
// Classification of application type ids, kept as bare numbers.
// Pure functions of their argument: reentrant, never fail.
#include "TaskExport.h"

// True for exactly these ids: 13, 17-21, 29, 36, 38, 40, 48, 63, 64, 66, 74, 75, 88; false for every other.
TASKDB_API bool IsUnixTypeFS(unsigned long appTypeId);

// The quorin class of an id: 1 for 1 and 93; 2 for 11, 33, 34, 42, 43, 91; 3 for 17-21, 29, 36, 38, 63, 74;
// 4 for 12 and 86; 0 for every other id.
TASKDB_API int GetSCPQuorinType(unsigned long appTypeId);

// True for the ids whose backup set names are compared case-sensitively (4, 16, 70); false otherwise.
TASKDB_API bool IsBackupSetCaseSensitive(unsigned long appTypeId);
