// taskdb jobs finish and jobs list as a person runs them, on every backend.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "jobstats/JobWorld.h"

namespace {

struct ToolRun {
    int code;
    std::string out;
};

// Runs the tool on the test's store (the URL is quoted for the shell; it holds no single quote).
ToolRun tool(const std::string& url, const std::string& args) {
    std::string cmd =
        "TASKDB_LOG=/dev/null " + std::string(TASKDB_TOOL_PATH) + " --url '" + url + "' " + args + " 2>&1";
    FILE* p = popen(cmd.c_str(), "r");
    std::string out;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
    int status = pclose(p);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

class JobsToolTest : public JobWorldTest {};

// A finished job leaves the running jobs and is listed with its status and reason; a job that is
// not running changes nothing and fails.
TEST_P(JobsToolTest, FinishMovesARunningJobIntoTheListing) {
    exec(
        "INSERT INTO SRV_RunningJob (jobId, orbisId, clientId, subclientId, appTypeId, opType, backupLevel, "
        "status, "
        "startTime) VALUES (150, 2, 1, 10, 33, 4, 2, 1, 1700009000)");
    ToolRun r = tool(url, "jobs finish 150 --status 3 --reason \"it's full\"");
    ASSERT_EQ(r.code, 0) << r.out;
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM SRV_RunningJob"), 0);
    EXPECT_EQ(scalar("SELECT bkpLevel FROM JMBkpStats WHERE jobId = 150"), 2);
    EXPECT_EQ(text("SELECT failureReason FROM JMBkpStats WHERE jobId = 150"), "it's full");

    r = tool(url, "jobs list --top 1 --json");
    ASSERT_EQ(r.code, 0) << r.out;
    EXPECT_NE(r.out.find("\"jobID\": 150"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("\"status\": 3"), std::string::npos) << r.out;

    r = tool(url, "jobs finish 150 --status 1");
    EXPECT_EQ(r.code, 1) << r.out;
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM JMBkpStats WHERE jobId = 150"), 1);
    EXPECT_NE(tool(url, "jobs finish 150").code, 0);  // no status: a usage error
    EXPECT_EQ(tool(url, "jobs list --top -1").code, 2);
}

// The restricted user's list holds only what they may see.
TEST_P(JobsToolTest, ListForAUser) {
    ToolRun r = tool(url, "jobs list --user 8");
    ASSERT_EQ(r.code, 0) << r.out;
    EXPECT_NE(r.out.find("(none)"), std::string::npos) << r.out;
    r = tool(url, "jobs list --user 7 --client 3");
    ASSERT_EQ(r.code, 0) << r.out;
    EXPECT_NE(r.out.find("130 "), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("131 "), std::string::npos) << r.out;
}

}  // namespace

TASKDB_STORE_SUITE(JobsToolTest);
