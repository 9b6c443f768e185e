#pragma once
// The transaction of one operation: the caller's, or one of its own.
//
// ensureTran() uses the caller's transaction when one was given (beginning it when it is not active;
// ending it stays the caller's), else begins an own one.
// commitIfOwnTran() commits only an own transaction. An own transaction that was not committed is
// rolled back when the wrapper goes away, so a failed operation leaves nothing half-written.
// setHint() applies to an own transaction only; a caller's transaction keeps its own mode.
// A wrapper belongs to one operation on one thread.
#include <optional>
#include <string>

#include "platform/PlatformExport.h"
#include "platform/db/DBtran.h"

class KO_PLATFORM_API TranWrapper {
  public:
    TranWrapper(DBtran* callers, const std::string& name);
    // `name` is kept as a pointer (no copy): a trace name literal, which outlives the wrapper.
    TranWrapper(DBtran* callers, const char* name);
    ~TranWrapper();
    TranWrapper(const TranWrapper&) = delete;
    TranWrapper& operator=(const TranWrapper&) = delete;

    // 0, or the failure's code with its text in *err.
    int ensureTran(std::string* err);
    // 0 when the transaction is the caller's or the commit succeeded; else the code, text in *err.
    int commitIfOwnTran(std::string* err);
    void setHint(int hint);

    DBtran* get() const { return m_tran; }
    operator DBtran*() const { return m_tran; }
    bool ownsTran() const { return m_own.has_value(); }

  private:
    DBtran* m_callers;
    std::optional<DBtran> m_own;  // in place: no allocation per operation
    DBtran* m_tran = nullptr;
    std::string m_nameCopy;
    const char* m_name;
    int m_hint = 0;
};
