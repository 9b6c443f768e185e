#pragma once
// One database transaction on one connection of the configured store.
//
//   DBtran tran;
//   if (tran.begin(&err) != 0) ...       // takes a connection; the store's BEGIN is sent lazily
//   ti->setOptions(info, options, err, &tran);
//   tran.commit(&err);                   // or rollback(); a transaction still open at destruction
//                                        // is rolled back
//
// A transaction belongs to one thread at a time. Different transactions may run on different threads.
#include <memory>
#include <string>
#include <vector>

#include "platform/PlatformExport.h"

class DBtable;
namespace dbl {
class Connection;
}

class KO_PLATFORM_API DBtran {
  public:
    // Transaction hint that marks a transaction which only reads.
    static constexpr int kHintRead = 6;

    DBtran();
    ~DBtran();
    DBtran(const DBtran&) = delete;
    DBtran& operator=(const DBtran&) = delete;

    // Takes a pooled connection (0), or returns the connection failure's code with its text in *err.
    // Beginning an active transaction changes nothing and returns 0.
    int begin(std::string* err = nullptr);
    // Commits the work since begin (0) and gives the connection back; a failure keeps the
    // transaction open so that the caller may roll back. 0 when the transaction is not active.
    // An aborted transaction (below) is rolled back and ended instead: the result is the failed
    // statement's code and text when it had changed rows, else 0 (nothing is lost).
    int commit(std::string* err = nullptr);
    // Rolls back and gives the connection back (0, or the rollback's code and text; the
    // transaction ends either way, and a connection whose rollback failed is not reused).
    int rollback(std::string* err = nullptr);
    bool active() const;

    // 6 (kHintRead): nothing will be written; other values: default behaviour. Takes effect for
    // a store transaction that has not been started yet.
    void setHint(int hint);
    int hint() const;

    // Bindings register while they live on the transaction (under DBtable::DBCriticalSection; the
    // list is informational: the transaction never calls a registered binding).
    void addObject(DBtable* table);
    void removeObject(DBtable* table);
    size_t objectCount() const;

    // The database layer's access to the connection; starts the store transaction on first use: a
    // read transaction when the hint is 6 and the first statement does not `write`, else a write
    // transaction (a read transaction that later writes may fail with SQLite's busy code). Null with
    // the code and text set when the transaction is not active or the BEGIN fails.
    dbl::Connection* connectionForStatement(int& code, std::string& text, bool write = false);

    // A statement on this transaction failed: the transaction is aborted from now on. Every later
    // statement, and a fetch on a cursor already open, is refused with this first code and text, until
    // commit or rollback ends the transaction. Ignored when the transaction has not started.
    void statementFailed(int code, const std::string& text);
    // A write statement on this transaction changed rows.
    void changedRows();
    // True (with the failure's code and text) when the transaction is aborted.
    bool aborted(int& code, std::string& text) const;

    // The database layer's bookkeeping of open cursors: a cursor open on this transaction is
    // tracked, and commit, rollback and destruction close it first (its statement must not outlive
    // the transaction's hold on the connection).
    void trackCursor(DBtable* table);
    void untrackCursor(DBtable* table);

  private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
