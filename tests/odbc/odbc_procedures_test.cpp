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
const struct {
    const char* table;
    const char* columns;
    std::vector<const char*> rows;
} kSeed[] = {
    {"TM_JobRequest",
     "jobRequestId, taskId, subTaskId, created",
     {"1, 10, 100, 1000", "2, 10, 101, 2000", "3, 11, 102, 500"}},
    {"TM_Jobs", "jobId, jobRequestId", {"5001, 1", "5002, 2", "5003, 3", "5004, 1"}},
    {"TM_SubTask", "subTaskId, taskId", {"100, 10", "101, 10", "102, 11"}},
    // Job 5001's own options.
    {"TM_JobOptions",
     "created, modified, id, jobId, optionId, type, value",
     {"10, 0, 1, 5001, 1, 1, N'own'", "10, 0, 2, 5001, 3, 2, N'0'", "10, 0, 3, 5001, 4, 5, N'x'",
      "10, 0, 4, 5001, 4, 3, N'y'"}},
    // Subtask-level options of subtask 100: shadowed by the job's own, inherited, created after the
    // request, modified before it, modified after it.
    {"TM_JobOptions",
     "jobId, type, subTaskId, id, optionId, value, created, modified",
     {"0, 1, 100, 10, 1, N'shadowed', 900, 0", "0, 1, 100, 11, 2, N'inherited', 900, 0",
      "0, 1, 100, 12, 5, N'too new', 1100, 0", "0, 1, 100, 13, 6, N'changed before', 900, 950",
      "0, 1, 100, 14, 7, N'changed after', 900, 1500"}},
    {"TM_StaticTaskOption",
     "optionId, xpath, bitVal",
     {"1, N'a/b', 1", "2, N'', 4", "3, N'c', 8", "7, N'q', -2147483648"}},
    {"TM_SubTaskOptions",
     "id, subTaskId, optionId, type, value",
     {"1, 100, 1, 1, N's1'", "2, 100, 2, 1, N''", "3, 101, 3, 1, N'1'", "4, 100, 7, 1, N'on'"}},
    {"TM_SubTaskXMLOptions", "subTaskId, xmlValue", {"100, N'<opts a=\"1\"/>'"}},
};

const std::pair<const char*, std::vector<long long>> kCalls[] = {
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

// The call's rows, one "(a,b,NULL,) " group per row.
std::string run(dbl::Connection& c, const std::pair<const char*, std::vector<long long>>& call) {
    dbl::Error err;
    std::vector<Row> rows;
    dbl::StatementPtr st = c.prepareProcedure(call.first, static_cast<int>(call.second.size()), err);
    EXPECT_NE(st, nullptr) << c.backendName() << " " << call.first << ": " << err.text;
    if (!st) return "";
    for (size_t i = 0; i < call.second.size(); ++i) st->bindInt64(static_cast<int>(i) + 1, call.second[i]);
    EXPECT_EQ(OdbcTest::readRows(*st, rows, err), 100)
        << c.backendName() << " " << call.first << ": " << err.text;
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
    for (const auto& table : kSeed)
        for (const char* values : table.rows) {
            const std::string sql = std::string("INSERT INTO ") + table.table + " (" + table.columns +
                                    ") VALUES (" + values + ")";
            query(*conn, sql);
            query(*sqlite, sql);
        }

    size_t nonEmpty = 0;
    for (const auto& call : kCalls) {
        const std::string expected = run(*sqlite, call);
        std::string args;
        for (long long a : call.second) args += std::to_string(a) + " ";
        EXPECT_EQ(run(*conn, call), expected) << call.first << " " << args;
        const std::string head = expected.empty() ? "" : expected.substr(1, expected.find(',') - 1);
        if (head != "" && head != "NULL" && head != "0") ++nonEmpty;  // the first value of the first row
    }
    EXPECT_GE(nonEmpty, std::size(kCalls) / 2) << "the seed reaches the procedures' rows";
    // One answer spelled out, so that both backends agreeing on a wrong answer is caught too.
    EXPECT_EQ(run(*conn, kCalls[0]),
              "(1,1,own,) (1,2,inherited,) (2,3,0,) (5,4,x,) (3,4,y,) (1,7,changed after,) ");
    sqlite.reset();
    for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(path + suffix);
}
