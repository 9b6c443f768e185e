// getDefaults: every static default option, read from the database once per loaded module and then
// served from memory.
#include "Db/Tbl/TM_StaticTaskOption.h"
#include "TaskInterfaceDB/DefaultOptions.h"
#include "TaskInterfaceDB/Frame.h"
#include "TaskInterfaceDB/ReadColumns.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"
#include "platform/db/DBtable.h"
#include "platform/text/FXString.h"

namespace {

// Defaults that say nothing are neither delivered nor kept: "0" of any type, and an empty value of
// the types 0 and 1.
bool isEmptyDefault(int type, const std::string& value) {
    if ((type == 0 || type == 1) && value.empty()) return true;
    return value == "0";
}

// Reads TM_StaticTaskOption into gbDefaultOptions, calling back for each kept default.
// Caller holds gDefaultLoadedCS.
int loadDefaults(const char* name, OptionCallBack* cb, std::string& err, void* tran) {
    TranWrapper tw(frame::callerTran(tran), name);
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;
    tw.setHint(DBtran::kHintRead);

    TM_StaticTaskOption table(tw.get());
    records::selectOnly<records::kDefaultColumns, TM_StaticTaskOption_t>(table);
    table.setWhereText("");
    table.setCursorType(0);
    rc = table.openCursor();
    if (rc != 0) {
        err = table.getErrorStr(rc);
        EvDebug::Debug(name, "DB_Error: [%s]", err.c_str());
        return rc;
    }
    EvDebug::Debug(name, "Loading default options into memory");
    const TM_StaticTaskOption_t* row = table.getDataPtr();
    while ((rc = table.fetchCursor(true)) == 0) {
        std::string value = FXString::ToString(row->defVal);
        // The emptiness test reads `type`, while the type handed on is `flagType`.
        if (isEmptyDefault(row->type, value)) continue;
        const unsigned long long optionId = static_cast<unsigned long long>(row->optionId);
        if (cb) cb->defaultOption(optionId, value, row->flagType);
        gbDefaultOptions.emplace_back(optionId, value, row->flagType);
    }
    if (rc != DB_NO_DATA) {
        err = table.getErrorStr(rc);
        EvDebug::Debug(name, "DB_Error: [%s]", err.c_str());
    }
    rc = table.closeCursor();
    if (rc != 0) {
        err = table.getErrorStr(rc);
        return rc;
    }
    // Kept even when a fetch error cut the read short: defaults are fixed data, a partial copy is
    // better than reading the table on every call.
    gbDefaultLoaded = true;
    return tw.commitIfOwnTran(&err);
}

}  // namespace

int TaskInterfaceDB::getDefaults(OptionCallBack* cb, std::string& err, void* tran) {
    // Shares its trace name with getOptions on purpose: support tooling greps for it.
    static const char* const kName = "TaskInterfaceDB::getOptions";
    EvEvent event(kName);
    // Held for the whole call, callbacks included, so concurrent first calls load once.
    KoCriticalSectionLock lock(&gDefaultLoadedCS);
    if (!gbDefaultLoaded) return loadDefaults(kName, cb, err, tran);

    EvDebug::DebugLvl(3, kName, "Using default options loaded in memory");
    // By index and by copy: a callback may re-enter getDefaults on this thread.
    for (size_t i = 0; i < gbDefaultOptions.size(); ++i) {
        const TaskOption option = gbDefaultOptions[i];
        if (cb) cb->defaultOption(option.getOptionId(), option.getValue(), option.getType());
    }
    return 0;
}
