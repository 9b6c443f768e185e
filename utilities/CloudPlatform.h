#pragma once
// Whether requests of this machine go through the cloud application manager, and the request id handed
// to it.
#include "TaskExport.h"

// True when this machine is a cloud laptop client and client caching is enabled: "sDisableCloudCaching"
// of section "Quorin" exists and holds 0. Caching counts as disabled when the key is missing.
TASKDB_API bool isCloudLaptopPlatform();

// Kept for their callers: the id is not stored (always true) and never given back (always 0).
TASKDB_API bool setAppMgrCloudReqID(unsigned long requestId);
TASKDB_API unsigned long getAppMgrCloudReqID();
