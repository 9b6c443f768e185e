#pragma once
// Pieces shared by the writers of TM_JobOptions (options and file options of one job): adding a row
// and removing rows by option id.
#include <string>
#include <vector>

#include "Db/Tbl/TM_JobOptions.h"
#include "Db/Tbl/TM_JobRequest.h"
#include "TaskInterfaceDB/ReadColumns.h"
#include "TaskRecords.h"
#include "db/Wrappers.h"

class DBtran;

using JobOptionsTable = TableWrapper<TM_JobOptions, TM_JobOptions_t>;
using JobRequestTable = TableWrapper<TM_JobRequest, TM_JobRequest_t>;

// A TM_JobOptions cursor for findJobOption: it reads the stored value alone.
class JobOptionLookup : public JobOptionsTable {
  public:
    JobOptionLookup(const char* name, DBtran* tran) : JobOptionsTable(name, tran) {
        records::readOnly<records::kOptionValueColumn>(*this);
    }
};

// What a look-up of one option row found.
enum class Stored { Missing, Different, Same };

// Runs the where-clause already set on `table`, reads the first row and closes the cursor; `found`
// tells whether a row exists and whether its value equals `value`. 0 on success (also when nothing
// was found or the fetch failed: a fetch failure is reported in `err` and the trace and counts as
// Missing); otherwise the open's or the close's code, which the caller returns at once.
// Uses `table` only: safe on any thread that owns the call.
int findJobOption(const char* name, JobOptionsTable& table, const std::string& value, Stored& found,
                  std::string& err);

// Adds option rows for job info.jobId within one call, through tables of its own in `tran`. The job's
// request row, whose `created` stamps every new row, is read on the first add and reused for the later
// ones. Not thread-safe: one adder belongs to one call.
class JobOptionAdder {
  public:
    // `name` is the calling operation's trace name; the adder keeps references to `name` and `info`.
    JobOptionAdder(const char* name, const _TaskInfo& info, DBtran* tran)
        : m_name(name), m_info(info), m_options(name, tran), m_request(name, tran) {}

    // Fills a full option row and inserts it. 0 on success; on failure the database's code, with its
    // text in `err` and a "DB_Error: [%s]" trace.
    int add(unsigned long long optionId, int type, const std::string& value, std::string& err);

  private:
    // The `created` column of the job's TM_JobRequest row; 0 when the job has none or it cannot be read.
    long long requestCreated(std::string& err);

    const char* m_name;
    const _TaskInfo& m_info;
    JobOptionsTable m_options;
    JobRequestTable m_request;
    bool m_requestRead = false;
    long long m_created = 0;
};

// Which removal clause to use: the two operations differ only in how they test the option id.
enum class RemovalKind { Options, Files };

// Removes, for each id in `optionIds`, the job's own row of that option and the matching subtask-level
// row of the job's subtask (see the clause), then commits an own transaction when no error is pending.
// Returns 0, the first failing close's code, or the commit's code; delete failures are reported in
// `err` and the trace and do not stop the loop. Thread-safe as far as the transaction allows.
int removeJobOptionRows(const char* name, RemovalKind kind, const _TaskInfo& info,
                        const std::vector<unsigned long long>& optionIds, std::string& err,
                        DBtran* callerTran);

// The option ids of `items` (options or files), in their order.
template <class Item>
std::vector<unsigned long long> optionIdsOf(const std::vector<const Item*>& items) {
    std::vector<unsigned long long> ids;
    ids.reserve(items.size());
    for (const Item* item : items) ids.push_back(item->getOptionId());
    return ids;
}
