#pragma once
// Pieces of the frame that every store operation follows: the caller's transaction handle, and the
// "DB_Error: [%s]" report of a failed database step.
#include <string>

#include "platform/db/DBtran.h"
#include "platform/db/TranWrapper.h"
#include "platform/trace/EvDebug.h"
#include "platform/trace/EvEvent.h"

namespace frame {

inline DBtran* callerTran(void* tran) {
    return static_cast<DBtran*>(tran);
}

// Puts the wrapper's error text into `err` and traces it as a database error of operation `name`.
template <class Wrapper>
void dbError(const char* name, const Wrapper& wrapper, std::string& err) {
    err = wrapper.getErrorString();
    EvDebug::Debug(name, "DB_Error: [%s]", err.c_str());
}

}  // namespace frame
