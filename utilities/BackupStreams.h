#pragma once
// The number of data streams an agent backs up with when nothing else is configured.
#include "TaskExport.h"

// For application type `appType` on client `clientId` (instance `instanceId` for clustered and cloud
// agents), asking the server's client and instance facts on `db` (a DBtran*, or null for a transaction of
// their own). Answers a stream count, 0 when no fixed default applies to the agent (its version or kind
// decides), or -1 when the agent has no stream default at all. A failed look-up counts as "unknown":
// an unknown version as version 0, an unknown instance type as any other type.
TASKDB_API int getDefaultNumberofBackupStreams(int appType, int clientId, int instanceId, void* db);
