// The platform's procedures on a seeded store, called the way procedure bindings call them, on every
// backend: the same rows in the same order.
#include <gtest/gtest.h>

#include <cstddef>

#include "PlatformFixture.h"
#include "platform/db/DBerrors.h"

namespace {

// Output records of the procedures, with their column descriptors.
struct Options_t {
    int o_type = 0;
    long long o_optionId = 0;
    std::string o_value;
};
const DBcolumn kOptionsCols[] = {{"o_type", 'i', 0, offsetof(Options_t, o_type)},
                                 {"o_optionId", 'b', 0, offsetof(Options_t, o_optionId)},
                                 {"o_value", 's', 0, offsetof(Options_t, o_value)}};
struct Big_t {
    long long value = 0;
};
const DBcolumn kBigCols[] = {{"value", 'b', 0, offsetof(Big_t, value)}};
struct Text_t {
    std::string value;
};
const DBcolumn kTextCols[] = {{"value", 's', 0, offsetof(Text_t, value)}};

template <class Rec>
class Proc : public DBtable {
  public:
    Proc(const char* name, DBtran* tran, const DBcolumn* cols, int n) : DBtable(name, 0, tran) {
        setKind(kProcedure);
        setRecord(&rec, cols, n);
    }
    Rec rec;
};
using BigProc = Proc<Big_t>;
using TextProc = Proc<Text_t>;
using Rows = std::vector<std::pair<long long, std::string>>;

// Task 10 has subtasks 100 and 101, task 20 has 200; the task tables come from the catalogue.
void seed() {
    StoreSql sql;
    sql.exec("INSERT INTO TM_SubTask (subTaskId, taskId) VALUES (101, 10), (100, 10), (200, 20)");
    sql.exec(
        "INSERT INTO TM_JobRequest (jobRequestId, taskId, subTaskId, created) VALUES (1, 10, 100, 1000), "
        "(2, 10, 101, 3000), (3, 20, 200, 500)");
    sql.exec("INSERT INTO TM_Jobs (jobId, jobRequestId) VALUES (5000000001, 1), (7, 1), (8, 2), (9, 3)");
    // Job 7's own options, and subtask-level rows of its subtask 100 (jobId 0).
    sql.exec(
        "INSERT INTO TM_JobOptions (jobId, optionId, type, value, subTaskId, created, modified) VALUES "
        "(7, 2, 0, N'own2', 100, 0, 0), (7, 5, 0, N'own5', 100, 0, 0), "
        "(0, 1, 0, N'sub1', 100, 900, 0), "     // inherited
        "(0, 2, 0, N'sub2', 100, 900, 0), "     // hidden by the job's own row
        "(0, 3, 0, N'sub3', 100, 1100, 0), "    // made after the request
        "(0, 4, 0, N'sub4', 100, 800, 950), "   // modified before the request
        "(0, 6, 3, N'sub6', 100, 800, 1200), "  // modified after it: inherited
        "(0, 7, 0, N'other', 101, 0, 0)");      // another subtask
    // File options of job 8.
    sql.exec(
        "INSERT INTO TM_JobOptions (jobId, optionId, type, value) VALUES (8, 22, 150014, '/c'), "
        "(8, 20, 150002, '/a'), (8, 21, 150005, '/b'), (8, 23, 150015, '/x')");
    sql.exec(
        "INSERT INTO TM_StaticTaskOption (optionId, xpath, bitVal) VALUES (1, 'a/b', 1), (2, '', 2), "
        "(5, 'x5', 0), (6, 's6', 8), (7, 'seven', 16), (8, '', -2147483648)");
    sql.exec(
        "INSERT INTO TM_SubTaskOptions (subTaskId, optionId, value) VALUES (300, 7, 'yes'), "
        "(300, 1, '0'), (300, 8, '1'), (100, 6, ''), (100, 2, '1'), (101, 1, '1'), (-5, 7, 'x')");
}

// The answers on every backend.
class ProcedureTest : public StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        if (!HasFatalFailure()) seed();
    }

    Rows options(const char* name, const std::string& args) {
        Proc<Options_t> p(name, nullptr, kOptionsCols, 3);
        p.CallDBsprintfWrapper("%s", args.c_str());
        Rows rows;
        int n = 0, rc;
        while ((rc = getNextRow(&p, &n, -1, 0)) == 0) rows.emplace_back(p.rec.o_optionId, p.rec.o_value);
        EXPECT_EQ(rc, DB_NO_DATA) << p.getErrorStr(rc);
        return rows;
    }
};

// Inputs and refusals, with the embedded store's codes.
class ProcedureInputTest : public PlatformTest {
  protected:
    void SetUp() override {
        PlatformTest::SetUp();
        if (!HasFatalFailure()) seed();
    }
};

}  // namespace

TEST_P(ProcedureTest, JobOptionsJoinTheJobsOwnAndItsSubtasksRows) {
    EXPECT_EQ(options("TM_GetAllJobOptions", "7"),
              (Rows{{1, "sub1"}, {2, "own2"}, {5, "own5"}, {6, "sub6"}}));
    // Job 8's request (created 3000) is on subtask 101.
    EXPECT_EQ(options("TM_GetAllJobOptions", "8"),
              (Rows{{7, "other"}, {20, "/a"}, {21, "/b"}, {22, "/c"}, {23, "/x"}}));
    EXPECT_EQ(options("TM_GetAllJobOptions", "12345"), Rows{});
    EXPECT_EQ(options("TM_GetAllFileOptions", "8,150001,150014"), (Rows{{20, "/a"}, {21, "/b"}, {22, "/c"}}));
    EXPECT_EQ(options("TM_GetAllFileOptions", "8,150005,0"), (Rows{{21, "/b"}}));
}

TEST_P(ProcedureTest, BitAndExtendedOptionsByKind) {
    struct Case {
        const char* args;  // jobId, taskId, subTaskId, type
        long long bits;
        const char* ext;
    };
    const Case cases[] = {
        {"7,0,0,0", 1 | 2 | 8, "a/b=sub1;x5=own5;s6=sub6"},     // the job's options
        {"0,0,300,1", 16LL | 0x80000000LL, "a/b=0;seven=yes"},  // subtask 300; "0" sets no bit
        {"0,10,0,2", 2, "s6="},                                 // task 10's first subtask (100)
        {"0,0,-5,1", 16, "seven=x"},                            // a negative number stays negative
        {"0,0,999,1", 0, ""},                                   // nothing: still one row
    };
    for (const Case& c : cases) {
        BigProc bit("TM_GetBitwiseOption", nullptr, kBigCols, 1);
        bit.CallDBsprintfWrapper("%s", c.args);
        EXPECT_EQ(getOneRow(&bit, false, -1, 0), 0) << c.args;
        EXPECT_EQ(bit.rec.value, c.bits) << c.args;
        TextProc ext("TM_GetExtendedOptionString", nullptr, kTextCols, 1);
        ext.CallDBsprintfWrapper("%s", c.args);
        ext.rec.value = "stale";
        EXPECT_EQ(getOneRow(&ext, false, -1, 0), 0) << c.args;
        EXPECT_EQ(ext.rec.value, c.ext) << c.args;
    }
}

TASKDB_STORE_SUITE(ProcedureTest);

TEST_F(ProcedureInputTest, InputsAsValueObjectsAndRefusedArguments) {
    // b_newDBBase 1 bindings hand value objects instead of argument text; they stay for the next run.
    BigProc bit("TM_GetBitwiseOption", nullptr, kBigCols, 1);
    for (KODBDataTypeBase* v : {makeBig(7), makeInt(0), makeInt(0), makeInt(0)}) bit.BindInput(v);
    bit.setValuesBound(true);
    for (int run = 0; run < 2; ++run) {
        bit.rec.value = 0;
        ASSERT_EQ(getOneRow(&bit, false, -1, 0), 0);
        EXPECT_EQ(bit.rec.value, 11) << run;
    }
    // A NULL input is passed as NULL (no job matches it).
    Proc<Options_t> all("TM_GetAllJobOptions", nullptr, kOptionsCols, 3);
    all.BindInput(makeText(nullptr));
    all.setValuesBound(true);
    EXPECT_EQ(getOneRow(&all, false, -1, 0), DB_NO_DATA);

    // Too many inputs, an unknown procedure and unreadable argument text are refused clearly.
    all.ClearBoundInputs();
    all.BindInput(makeBig(7));
    all.BindInput(makeText("extra"));
    int rc = all.openCursor();
    EXPECT_EQ(rc, DB_ERR_BAD_ARGUMENTS);
    EXPECT_NE(all.getErrorStr(rc).find("takes 1 arguments, 2 given"), std::string::npos)
        << all.getErrorStr(rc);
    BigProc unknown("TM_NoSuchProcedure", nullptr, kBigCols, 1);
    unknown.CallDBsprintfWrapper("%d", 1);
    rc = unknown.openCursor();
    EXPECT_EQ(rc, DB_ERR_UNKNOWN_PROCEDURE);
    EXPECT_EQ(unknown.getErrorStr(rc), "unknown stored procedure [TM_NoSuchProcedure]");
    BigProc bad("TM_GetJobListFromTaskId", nullptr, kBigCols, 1);
    bad.CallDBsprintfWrapper("%d; DELETE FROM TM_Jobs", 10);
    EXPECT_EQ(bad.openCursor(), DB_ERR_BAD_ARGUMENTS);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_Jobs"), 4);
}
