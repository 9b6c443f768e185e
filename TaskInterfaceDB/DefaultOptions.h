#pragma once
// The in-memory copy of the static default options: filled once per loaded module by the first
// getDefaults whose read completes, never refreshed. All three are guarded by gDefaultLoadedCS,
// which is recursive, so a callback may re-enter getDefaults on the same thread.
#include <vector>

#include "TaskCarriers.h"
#include "platform/sync/KoCriticalSection.h"

extern std::vector<TaskOption> gbDefaultOptions;
extern bool gbDefaultLoaded;
extern KoCriticalSection gDefaultLoadedCS;
