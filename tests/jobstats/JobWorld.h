#pragma once
// A job history that exercises every column the job statistics query derives, on one installation
// (orbis 2). Clients 1 alpha, 2 beta, 3 gamma, 4 and 5 virtual machines, 6 target-host. User 7
// carol sees client 1 directly and client 2 through client group 30, and ran job 130 on client 3;
// user 8 dave sees nothing. Jobs 101..135 are backups (start 1700000000 + 100 * (id - 100)),
// 201..203 administrative jobs; compliance 9 qualifies 126, 201 (and 127 with status 4).
#include <string>
#include <vector>

#include "Db/Cursor/JMGetBkpStats.h"
#include "support/TestStore.h"
#include "tools/taskdb/JobStatsRow.h"

class JobWorldTest : public StoreTest {
  protected:
    void SetUp() override;

    // One job's backup row: subclient, operation, extended attributes and the columns the
    // derivations read.
    void addJob(int id, int subclient, int opType = 4, int subOpType = 0, long long attrEx = 0,
                int dataStatus = 0, int status = 1, const std::string& user = "");
    static int startOf(int jobId) { return 1700000000 + 100 * (jobId - 100); }

    // The query's rows as text, one cell per column, through the library's cursor binding.
    struct Args {
        int userId = 0, localeId = 0, complianceId = 0, queryType = 0;
        std::string top, t2, t3, t4, t5;
    };
    std::vector<std::vector<std::string>> query(const Args& a);
    // The job ids of the rows.
    std::vector<int> jobIds(const Args& a);
};
