#pragma once
// What every generated binding header (include/Db/{Tbl,Proc,Cursor}/<Name>.h) builds on: the
// database layer's DBtable, the row base, the column values and two helpers for the constructor's
// registration with the transaction.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "TaskExport.h"
#include "db/KODBDataType.h"
#include "db/KODBRowBase.h"
#include "platform/db/DBtable.h"
#include "platform/db/DBtran.h"
#include "platform/db/DBtypes.h"
#include "platform/trace/EvDebug.h"

// Registers a new binding with `tran` under DBtable::DBCriticalSection, when `tran` is not null and
// `allowed` is true. An exception from the transaction is caught and logged as
// "<name> Constructor [0x%08x], caught an exception" with the binding's header and line; the binding
// stays usable. Returns true when the binding is now registered. Safe from any thread.
inline bool KODBRegisterBinding(DBtable* binding, DBtran* tran, bool allowed, const char* header, int line,
                                const char* name) {
    bool registered = false;
    KoCriticalSectionLock lock(&DBtable::DBCriticalSection);
    try {
        if (tran && allowed) {
            tran->addObject(binding);
            registered = true;
        }
    } catch (...) {
        // The address is shown in 32 bits, as every constructor failure of the server logs it.
        EvDebug::Error(header, "line %d: %s Constructor [0x%08x], caught an exception", line, name,
                       static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(binding)));
    }
    return registered;
}
// Undoes a registration made by KODBRegisterBinding (nothing when `registered` is false).
inline void KODBUnregisterBinding(DBtable* binding, bool registered) {
    if (!registered || !binding->getTran()) return;
    KoCriticalSectionLock lock(&DBtable::DBCriticalSection);
    binding->getTran()->removeObject(binding);
}
// strlen that takes a null pointer as the empty text (room for procedure argument text).
inline unsigned long KODBTextLength(const char* text) {
    return text ? std::strlen(text) : 0;
}
