#pragma once
// One write transaction of the task manager on the configured store. Statements are fixed text with
// '?' markers and no literal (the backend binds literals ahead of the markers); every value is bound,
// never written into the text.
#include <string>
#include <vector>

#include "platform/db/Backend.h"
#include "platform/db/DBtran.h"

namespace taskmgr {

using Values = std::vector<dbl::Param>;
dbl::Param intValue(long long v);
dbl::Param textValue(const std::string& v);

class StoreWriter {
  public:
    // Begins the transaction and takes the store's write lock: 0, or the code with its text in *err.
    int begin(std::string* err);
    // Runs a statement that returns no rows.
    int exec(const std::string& sql, const Values& values, std::string* err);
    // Inserts and gives the new identity value of `column` in *id.
    int insert(const std::string& table, const std::string& column, const std::string& sql,
               const Values& values, long long* id, std::string* err);
    // Every row's integer columns (NULL as 0), in order: 0 (also for no row) or a failure.
    int queryRows(const std::string& sql, const Values& values, std::vector<std::vector<long long>>* rows,
                  std::string* err);
    int commit(std::string* err);

  private:
    dbl::StatementPtr run(const std::string& sql, const Values& values, int& code, std::string* err);

    DBtran m_tran;
    dbl::Connection* m_conn = nullptr;
};

}  // namespace taskmgr
