// The procedures on PostgreSQL give the same rows, in the same order, as on the embedded store, for
// one seeded store and arguments that reach every branch of their meanings.
#include <unistd.h>

#include <filesystem>

#include "odbc/OdbcFixture.h"
#include "platform/db/DBcatalog.h"
#include "platform/db/DBschema.h"

namespace {

// Jobs 5001 and 5004 come from request 1 (task 10, subtask 100, created at 1000), 5002 from request 2
// (task 10, subtask 101), 5003 from request 3 (task 11, subtask 102).
const char* const kSeed[] = {
    "INSERT INTO TM_JobRequest (jobRequestId, taskId, subTaskId, created) VALUES (1, 10, 100, 1000)",
    "INSERT INTO TM_JobRequest (jobRequestId, taskId, subTaskId, created) VALUES (2, 10, 101, 2000)",
    "INSERT INTO TM_JobRequest (jobRequestId, taskId, subTaskId, created) VALUES (3, 11, 102, 500)",
    "INSERT INTO TM_Jobs (jobId, jobRequestId) VALUES (5001, 1)",
    "INSERT INTO TM_Jobs (jobId, jobRequestId) VALUES (5002, 2)",
    "INSERT INTO TM_Jobs (jobId, jobRequestId) VALUES (5003, 3)",
    "INSERT INTO TM_Jobs (jobId, jobRequestId) VALUES (5004, 1)",
    "INSERT INTO TM_SubTask (subTaskId, taskId) VALUES (100, 10)",
    "INSERT INTO TM_SubTask (subTaskId, taskId) VALUES (101, 10)",
    "INSERT INTO TM_SubTask (subTaskId, taskId) VALUES (102, 11)",
    // Job 5001's own options.
    "INSERT INTO TM_JobOptions (id, jobId, optionId, type, value, created, modified) VALUES (1, 5001, 1, 1, "
    "N'own', 10, 0)",
    "INSERT INTO TM_JobOptions (id, jobId, optionId, type, value, created, modified) VALUES (2, 5001, 3, 2, "
    "N'0', 10, 0)",
    "INSERT INTO TM_JobOptions (id, jobId, optionId, type, value, created, modified) VALUES (3, 5001, 4, 5, "
    "N'x', 10, 0)",
    "INSERT INTO TM_JobOptions (id, jobId, optionId, type, value, created, modified) VALUES (4, 5001, 4, 3, "
    "N'y', 10, 0)",
    // Subtask-level options of subtask 100: shadowed by the job's own, inherited, created after the
    // request, modified before it, modified after it.
    "INSERT INTO TM_JobOptions (id, jobId, optionId, type, value, subTaskId, created, modified) VALUES (10, "
    "0, 1, 1, N'shadowed', 100, 900, 0)",
    "INSERT INTO TM_JobOptions (id, jobId, optionId, type, value, subTaskId, created, modified) VALUES (11, "
    "0, 2, 1, N'inherited', 100, 900, 0)",
    "INSERT INTO TM_JobOptions (id, jobId, optionId, type, value, subTaskId, created, modified) VALUES (12, "
    "0, 5, 1, N'too new', 100, 1100, 0)",
    "INSERT INTO TM_JobOptions (id, jobId, optionId, type, value, subTaskId, created, modified) VALUES (13, "
    "0, 6, 1, N'changed before', 100, 900, 950)",
    "INSERT INTO TM_JobOptions (id, jobId, optionId, type, value, subTaskId, created, modified) VALUES (14, "
    "0, 7, 1, N'changed after', 100, 900, 1500)",
    "INSERT INTO TM_StaticTaskOption (optionId, xpath, bitVal) VALUES (1, N'a/b', 1)",
    "INSERT INTO TM_StaticTaskOption (optionId, xpath, bitVal) VALUES (2, N'', 4)",
    "INSERT INTO TM_StaticTaskOption (optionId, xpath, bitVal) VALUES (3, N'c', 8)",
    "INSERT INTO TM_StaticTaskOption (optionId, xpath, bitVal) VALUES (7, N'q', -2147483648)",
    "INSERT INTO TM_SubTaskOptions (id, subTaskId, optionId, type, value) VALUES (1, 100, 1, 1, N's1')",
    "INSERT INTO TM_SubTaskOptions (id, subTaskId, optionId, type, value) VALUES (2, 100, 2, 1, N'')",
    "INSERT INTO TM_SubTaskOptions (id, subTaskId, optionId, type, value) VALUES (3, 101, 3, 1, N'1')",
    "INSERT INTO TM_SubTaskOptions (id, subTaskId, optionId, type, value) VALUES (4, 100, 7, 1, N'on')",
    "INSERT INTO TM_SubTaskXMLOptions (subTaskId, xmlValue) VALUES (100, N'<opts a=\"1\"/>')",
};

struct Call {
    const char* name;
    std::vector<long long> args;
};

const Call kCalls[] = {
    {"TM_GetAllJobOptions", {5001}},
    {"TM_GetAllJobOptions", {5004}},
    {"TM_GetAllJobOptions", {5002}},
    {"TM_GetAllJobOptions", {9999}},
    {"TM_GetAllFileOptions", {5001, 1, 0}},
    {"TM_GetAllFileOptions", {5001, 1, 5}},
    {"TM_GetAllFileOptions", {5001, 4, 0}},
    {"TM_GetXMLJobOptions", {5001}},
    {"TM_GetXMLJobOptions", {5003}},
    {"TM_GetJobListFromTaskId", {10}},
    {"TM_GetJobListFromTaskId", {12}},
    {"TM_GetBitwiseOption", {5001, 10, 100, 0}},
    {"TM_GetBitwiseOption", {0, 10, 100, 1}},
    {"TM_GetBitwiseOption", {0, 10, 0, 2}},
    {"TM_GetBitwiseOption", {5003, 11, 102, 0}},
    {"TM_GetExtendedOptionString", {5001, 10, 100, 0}},
    {"TM_GetExtendedOptionString", {0, 10, 101, 1}},
    {"TM_GetExtendedOptionString", {0, 10, 0, 7}},
    {"TM_GetExtendedOptionString", {0, 12, 0, 7}},
};

std::vector<Row> run(dbl::Connection& c, const Call& call) {
    dbl::Error err;
    std::vector<Row> rows;
    dbl::StatementPtr st = c.prepareProcedure(call.name, static_cast<int>(call.args.size()), err);
    EXPECT_NE(st, nullptr) << c.backendName() << " " << call.name << ": " << err.text;
    if (!st) return rows;
    for (size_t i = 0; i < call.args.size(); ++i) st->bindInt64(static_cast<int>(i) + 1, call.args[i]);
    int rc;
    while ((rc = st->step(err)) == 0) {
        Row row;
        for (int i = 0; i < st->columnCount(); ++i) {
            std::string text;
            st->columnText(i, text);
            row.push_back(st->columnIsNull(i) ? std::nullopt : std::optional<std::string>(text));
        }
        rows.push_back(row);
    }
    EXPECT_EQ(rc, 100) << c.backendName() << " " << call.name << ": " << err.text;
    return rows;
}

std::string show(const std::vector<Row>& rows) {
    std::string out;
    for (const Row& r : rows) {
        out += "(";
        for (const auto& v : r) out += (v ? *v : "NULL") + ",";
        out += ") ";
    }
    return out;
}

}  // namespace

TEST_F(OdbcTest, ProceduresAnswerAsOnTheEmbeddedStore) {
    int tableCount = 0;
    DBcatalogTables(&tableCount);
    if (tableCount == 0) GTEST_SKIP() << "this build's table catalogue is empty";

    std::string err;
    ASSERT_EQ(DBinitSchema(url, &err), 0) << err;
    const std::string path = (std::filesystem::temp_directory_path() /
                              ("taskdb-odbc-parity-" + std::to_string(getpid()) + ".sqlite"))
                                 .string();
    std::filesystem::remove(path);
    ASSERT_EQ(DBinitSchema("sqlite:" + path, &err), 0) << err;
    dbl::Error e;
    auto sqlite = dbl::connect("sqlite:" + path, e);
    ASSERT_NE(sqlite, nullptr) << e.text;
    for (const char* sql : kSeed) {
        query(*conn, sql);
        query(*sqlite, sql);
    }

    size_t nonEmpty = 0;
    for (const Call& call : kCalls) {
        std::vector<Row> expected = run(*sqlite, call), actual = run(*conn, call);
        std::string args;
        for (long long a : call.args) args += std::to_string(a) + " ";
        EXPECT_EQ(show(actual), show(expected)) << call.name << " " << args;
        if (!expected.empty() && expected[0][0] && !expected[0][0]->empty() && *expected[0][0] != "0")
            ++nonEmpty;
    }
    EXPECT_GE(nonEmpty, std::size(kCalls) / 2) << "the seed reaches the procedures' rows";
    // One answer spelled out, so that both backends agreeing on a wrong answer is caught too.
    EXPECT_EQ(show(run(*conn, kCalls[0])),
              "(1,1,own,) (1,2,inherited,) (2,3,0,) (5,4,x,) (3,4,y,) (1,7,changed after,) ");
    sqlite.reset();
    for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(path + suffix);
}
