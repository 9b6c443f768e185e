// The job statistics query over one job history, on every backend: every row in full against one
// expected table, then the choices that change which jobs are listed.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

#include "jobstats/JobWorld.h"

namespace {

using Rows = std::vector<std::vector<std::string>>;
using Ids = std::vector<int>;

// The expected table: a header line of column names, then one line per row; cells tab-separated.
Rows readExpected(const std::string& path, std::vector<std::string>& header) {
    std::ifstream in(path);
    EXPECT_TRUE(in) << path;
    Rows rows;
    std::string line;
    bool first = true;
    while (std::getline(in, line)) {
        std::vector<std::string> cells;
        std::stringstream ss(line);
        std::string cell;
        while (std::getline(ss, cell, '\t')) cells.push_back(cell);
        if (line.back() == '\t') cells.push_back("");
        if (first)
            header = cells;
        else
            rows.push_back(cells);
        first = false;
    }
    return rows;
}

std::string column(const Rows& rows, int jobId, const char* name) {
    int col = -1;
    for (int c = 0; c < JMGetBkpStats_t::kColumnCount; ++c)
        if (std::string(JMGetBkpStats_t::columns()[c].name) == name) col = c;
    for (const auto& r : rows)
        if (r[0] == std::to_string(jobId)) return r[col];
    ADD_FAILURE() << "job " << jobId << " not listed";
    return "";
}

class JobStatsTest : public JobWorldTest {};

// Every column of every row, newest first, identical on every backend.
TEST_P(JobStatsTest, EveryRowMatchesTheExpectedTable) {
    Rows rows = query({});
    std::vector<std::string> header;
    Rows expected =
        readExpected(std::string(TASKDB_SOURCE_DIR) + "/tests/jobstats/expected_rows.tsv", header);
    ASSERT_EQ(header.size(), size_t(JMGetBkpStats_t::kColumnCount));
    for (int c = 0; c < JMGetBkpStats_t::kColumnCount; ++c)
        EXPECT_EQ(header[c], JMGetBkpStats_t::columns()[c].name);
    ASSERT_EQ(rows.size(), expected.size());
    for (size_t r = 0; r < rows.size(); ++r)
        for (int c = 0; c < JMGetBkpStats_t::kColumnCount; ++c)
            EXPECT_EQ(rows[r][c], expected[r][c]) << "job " << expected[r][0] << " column " << header[c];
}

// The derivations people read most, spelled out (the table above holds them all).
TEST_P(JobStatsTest, DerivedColumnsFollowTheirSources) {
    Rows rows = query({});
    EXPECT_EQ(column(rows, 101, "failureReason"), "Disk C: is full");
    Args french;
    french.localeId = 1;
    EXPECT_EQ(column(query(french), 101, "failureReason"), "Disque C: plein");
    EXPECT_EQ(column(rows, 101, "failureKBArticle"), "KB-9001");
    EXPECT_EQ(column(rows, 101, "dataArchGrpName"), "SP-Gold");
    EXPECT_EQ(column(rows, 101, "diffArchGrpName"), "Unavailable");
    EXPECT_EQ(column(rows, 103, "dataArchGrpName"), "Archive Policy");
    EXPECT_EQ(column(rows, 104, "childJobId"), "140");
    EXPECT_EQ(column(rows, 104, "childJobStatus"), "3");
    EXPECT_EQ(column(rows, 105, "proxyandinstance"), "target-host:mysql1");
    EXPECT_EQ(column(rows, 106, "totalClients"), "8");
    EXPECT_EQ(column(rows, 106, "pendingClients"), "2");
    EXPECT_EQ(column(rows, 107, "retainedUntil"), "-1");
    EXPECT_EQ(column(rows, 109, "retainedUntil"), std::to_string(startOf(109)));
    EXPECT_EQ(column(rows, 110, "retainedUntil"), "1800000000");
    EXPECT_EQ(column(rows, 110, "retentionFlags"), "8");
    EXPECT_EQ(column(rows, 110, "disabled"), "1");
    EXPECT_EQ(column(rows, 111, "snapToTapeStatus"), "2");
    EXPECT_EQ(column(rows, 111, "snapDeferredCatalogStatus"), "5");
    EXPECT_EQ(column(rows, 112, "snapToTapeStatus"), "100");
    EXPECT_EQ(column(rows, 112, "snapDeferredCatalogStatus"), "0");
    EXPECT_EQ(column(rows, 109, "snapToTapeStatus"), "-1");
    EXPECT_EQ(column(rows, 113, "snapJobID"), "111");
    EXPECT_EQ(column(rows, 113, "snapWFJobID"), "900");
    EXPECT_EQ(column(rows, 114, "timeThroughPut"), "11:22:33:44");
    EXPECT_EQ(column(rows, 115, "parentJobId"), "114");
    EXPECT_EQ(column(rows, 117, "clientName"), "target-host");
    EXPECT_EQ(column(rows, 118, "clientId"), "1");
    EXPECT_EQ(column(rows, 118, "clientName"), "");
    EXPECT_EQ(column(rows, 119, "AFCIFlags"), "496");
    EXPECT_EQ(column(rows, 119, "AFCICloudName"), "ci-cloud");
    EXPECT_EQ(column(rows, 102, "AFFLAFlags"), "512");
    EXPECT_EQ(column(rows, 102, "indexBackupJob"), "1");
    EXPECT_EQ(column(rows, 102, "encrypted"), "1");
    EXPECT_EQ(column(rows, 120, "LibraryName"), "LibA,LibB");
    EXPECT_EQ(column(rows, 121, "LibraryName"), "LibC,LibD");
    EXPECT_EQ(column(rows, 122, "taskName"), "Nightly");
    EXPECT_EQ(column(rows, 122, "sizeOnMedia"), "123456");
    EXPECT_EQ(column(rows, 122, "timeThroughPut"), "5:6:7:8");
}

// Pending preparations are never listed; a compliance id lists its qualified jobs only, the
// administrative ones included, with the reason.
TEST_P(JobStatsTest, PreparedAndComplianceFilters) {
    Ids all = jobIds({});
    EXPECT_EQ(std::count(all.begin(), all.end(), 125), 0);
    EXPECT_EQ(std::count(all.begin(), all.end(), 124), 1);
    EXPECT_EQ(std::count(all.begin(), all.end(), 201), 0);
    Args compliance;
    compliance.complianceId = 9;
    Rows rows = query(compliance);
    Ids ids;
    for (const auto& r : rows) ids.push_back(std::stoi(r[0]));
    EXPECT_EQ(ids, (Ids{201, 126}));
    EXPECT_EQ(column(rows, 126, "compPolicyFailReason"), "legal hold");
    EXPECT_EQ(column(rows, 201, "dataArchGrpName"), "SP-Gold");
}

// Virtual-machine-level jobs come with a client query, at server level only when the switch is on,
// and never for pseudo parents.
TEST_P(JobStatsTest, VirtualMachineJobsOfAClient) {
    Args byClient;
    byClient.queryType = 0x2;
    byClient.t2 = "APP_Application.clientId = 4";
    byClient.t4 = "JMMorrowUpdateStatus.clientId = 4";
    Rows rows = query(byClient);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0], "128");
    EXPECT_EQ(column(rows, 128, "totalClients"), "2");
    EXPECT_EQ(column(rows, 128, "pendingClients"), "1");

    Args server = byClient;
    server.queryType = 0x2 | 0x200;
    EXPECT_EQ(jobIds(server), Ids{});
    exec("INSERT INTO TSGlobalParam (name, value) VALUES ('showVMLevelJobsAtMSLevel', '1')");
    EXPECT_EQ(jobIds(server), Ids{128});
    Args bySubclient = byClient;
    bySubclient.queryType = 0;
    EXPECT_EQ(jobIds(bySubclient), Ids{});
}

// A restricted user sees the jobs of associated clients and groups and their own; the row limit
// counts visible jobs only.
TEST_P(JobStatsTest, RestrictedUserAndRowLimit) {
    Args carol;
    carol.userId = 7;
    Ids ids = jobIds(carol);
    for (int id : {131, 133, 135}) EXPECT_EQ(std::count(ids.begin(), ids.end(), id), 0) << id;  // client 3
    for (int id : {101, 103, 130, 132, 134}) EXPECT_EQ(std::count(ids.begin(), ids.end(), id), 1) << id;
    Args dave;
    dave.userId = 8;
    EXPECT_EQ(jobIds(dave), Ids{});

    // Jobs 131 to 135, the newest but one, move to client 3: carol's five newest are further back
    // (128 and 129 are client 3's too; 125 is being prepared).
    exec("UPDATE JMBkpStats SET appId = 19 WHERE jobId IN (132, 134)");
    carol.top = "TOP 5";
    EXPECT_EQ(jobIds(carol), (Ids{140, 130, 127, 126, 124}));
    Args everyone;
    everyone.top = "TOP (3)";
    EXPECT_EQ(jobIds(everyone), (Ids{140, 135, 134}));
}

// The job ids of finished jobs for a caller's condition; data status 1 only when asked.
TEST_P(JobStatsTest, JobIdsFromBackupStatistics) {
    std::list<unsigned long long> ids;
    std::string err;
    ASSERT_EQ(ti->getJobIdsFromBkpStats(ids, "APP_Application.clientId = 3", false, 0, err, nullptr), 0)
        << err;
    EXPECT_EQ(ids, (std::list<unsigned long long>{135, 133, 131, 129, 128, 106, 105}));
    ids.clear();
    ASSERT_EQ(ti->getJobIdsFromBkpStats(ids, "APP_Application.clientId = 3", true, 0, err, nullptr), 0)
        << err;
    EXPECT_EQ(ids, (std::list<unsigned long long>{135, 133, 131, 130, 129, 128, 106, 105}));
    ids.clear();
    EXPECT_NE(ti->getJobIdsFromBkpStats(ids, "no such column = 1", false, 0, err, nullptr), 0);
    EXPECT_TRUE(ids.empty());
    EXPECT_FALSE(err.empty());
}

}  // namespace

TASKDB_STORE_SUITE(JobStatsTest);
