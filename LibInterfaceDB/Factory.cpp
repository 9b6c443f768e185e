#include "TaskInterfaceDB/DefaultOptions.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"

std::vector<TaskOption> gbDefaultOptions;
bool gbDefaultLoaded = false;
KoCriticalSection gDefaultLoadedCS;

extern "C" TASKDB_API TaskInterface* getTaskInterface(int kind) {
    if (kind != 1) return nullptr;
    return new (std::nothrow) TaskInterfaceDB;
}
