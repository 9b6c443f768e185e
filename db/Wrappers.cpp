#include "db/Wrappers.h"

const char* const KO_WRAPPER_TABLE = "Table";
const char* const KO_WRAPPER_CURSOR = "Cursor";
const char* const KO_WRAPPER_SPROC = "SProcedure";

void kowrap::traceWhere(const char* caller, const char* kind, const char* object, const std::string& clause) {
    if (std::strcmp(object, "TSGlobalParam") == 0) return;
    if (std::strcmp(kind, KO_WRAPPER_TABLE) == 0)
        EvEventWrapper(caller).Debug(10, "TABLE -> %s {%s}", object, clause.c_str());
    else if (std::strcmp(kind, KO_WRAPPER_CURSOR) == 0)
        EvEventWrapper(caller).Debug(10, "CURSOR ->  %s {%s}", object, clause.c_str());
}
