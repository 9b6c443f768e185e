// Running procedures through a wrapper, with inputs as text and as bound values, and reading a
// procedure's one XML result.
#include <gtest/gtest.h>

#include "Db/Proc/TM_GetAllJobOptions.h"
#include "Db/Proc/TM_GetXMLJobOptions.h"
#include "support/TestStore.h"
#include "wrappers/WrapperTestSupport.h"

namespace {

class SprocWrapperTest : public StoreTest {
  protected:
    // Job 500 runs request 1 of subtask 20, which has XML options; the job has two options.
    void seed() {
        exec(
            "INSERT INTO TM_JobRequest (jobRequestId, taskId, subTaskId, subTaskType, operationType, "
            "initiatedFrom, userId, created, subOperationType) VALUES (1, 10, 20, 0, 0, 0, 0, 0, '')");
        exec(
            "INSERT INTO TM_Jobs (jobId, jobRequestId, predecessor, status, timeToStart) VALUES (500, 1, 0, "
            "0, 0)");
        exec("INSERT INTO TM_SubTaskXMLOptions (subTaskId, xmlValue) VALUES (20, N'<opts a=\"it''s\"/>')");
        for (const char* row :
             {"(500, 7, 1, N'seven', 10, 20, 0, 0, 0)", "(500, 3, 2, N'three', 10, 20, 0, 0, 0)"})
            exec(std::string(
                     "INSERT INTO TM_JobOptions (jobId, optionId, type, value, taskId, subTaskId, lastJobId, "
                     "created, modified) VALUES ") +
                 row);
    }
};

// Sets DBtable::b_newDBBase for one scope and puts the old value back.
struct RowSwitch {
    explicit RowSwitch(int value) : saved(DBtable::b_newDBBase) { DBtable::b_newDBBase = value; }
    ~RowSwitch() { DBtable::b_newDBBase = saved; }
    int saved;
};

TEST_P(SprocWrapperTest, RowsOfAProcedureWithTextOrBoundInputs) {
    seed();
    for (int mode : {0, 1}) {
        RowSwitch rows(mode);
        SprocWrapper<TM_GetAllJobOptions, TM_GetAllJobOptions_t> sw(kCaller, nullptr);
        sw.getCursor()->setValues(500);
        std::string err, seen;
        ASSERT_EQ(sw.openCursor(&err), 0) << err;
        int rc;
        while ((rc = sw.fetchCursor(true, &err)) == 0) {
            const TM_GetAllJobOptions_t* r = sw.getDataPtr();
            seen += std::to_string(r->o_optionId) + ":" + std::to_string(r->o_type) + ":" + r->o_value + " ";
        }
        EXPECT_EQ(rc, 100) << err;
        EXPECT_EQ(seen, "3:2:three 7:1:seven ") << "row objects " << mode;
        EXPECT_FALSE(sw.isOpen());
    }
}

TEST_P(SprocWrapperTest, XmlResultWithAndWithoutDeclaration) {
    // A job without XML options leaves the text as it was: the records' getXMLOptions checks that.
    std::string xml, err;
    seed();
    const std::pair<bool, bool> modes[] = {{false, true}, {true, true}, {false, false}};
    const char* expected[] = {"<?xml version='1.0' encoding='utf-8' ?><opts a=\"it's\"/>",
                              "<?xml version='1.1' encoding='utf-8' ?><opts a=\"it's\"/>",
                              "<opts a=\"it's\"/>"};
    for (int i = 0; i < 3; ++i) {
        SprocWrapper<TM_GetXMLJobOptions, TM_GetXMLJobOptions_t> sw(kCaller, nullptr);
        sw.getCursor()->setValues(500);
        EXPECT_EQ(sw.getXMLFromCursor(xml, &err, modes[i].first, modes[i].second), 0) << err;
        EXPECT_EQ(xml, expected[i]);
    }
}

TASKDB_STORE_SUITE(SprocWrapperTest);

}  // namespace
