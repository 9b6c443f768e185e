// Binding constructors: what they tell the database layer, the row object switch and procedure inputs
// in both forms.
#include <gtest/gtest.h>

#include "Db/AllBindings.h"

namespace {

// Sets DBtable::b_newDBBase for one scope and puts the old value back.
struct RowSwitch {
    explicit RowSwitch(int value) : saved(DBtable::b_newDBBase) { DBtable::b_newDBBase = value; }
    ~RowSwitch() { DBtable::b_newDBBase = saved; }
    int saved;
};

TEST(BindingTest, ConstructorDescribesTheObjectToTheDatabaseLayer) {
    RowSwitch off(0);
    TM_Task task(nullptr);
    EXPECT_EQ(task.getKind(), 1);
    EXPECT_EQ(task.getVersion(), "1.22.200.2");
    EXPECT_EQ(task.getOrderBy(), "taskId");
    EXPECT_EQ(task.getRow(), nullptr);
    TM_GetAllJobOptions proc(nullptr);
    EXPECT_EQ(proc.getKind(), 2);
    EXPECT_EQ(proc.getVersion(), "");
    EXPECT_STREQ(proc.getSignature(), "00010008000000000000");
    EXPECT_EQ(JMGetBkpStats(nullptr).getKind(), 3);
}

TEST(BindingTest, RowObjectsAndProcedureInputsFollowTheSwitch) {
    {
        RowSwitch off(0);
        SearchSecurityCheck check(nullptr);
        check.setValues(7, "a'b", "", "c", -1, 2);  // text quoted with its quotes doubled
        EXPECT_EQ(check.getValuesText(), "7,'a''b','','c',-1,2");
        EXPECT_FALSE(check.valuesBound());
    }
    RowSwitch on(1);
    TM_JobOptions options(nullptr);
    ASSERT_NE(options.getRow(), nullptr);
    EXPECT_EQ(options.getRow()->getTableName(), "TM_JobOptions");
    JMGetJobDetails details(nullptr);
    ASSERT_NE(details.getRow(), nullptr);
    EXPECT_TRUE(details.getRow()->columnVec.empty());
    TM_GetAllFileOptions files(nullptr);
    files.setValues(5, 10, 20);
    EXPECT_TRUE(files.valuesBound());
    EXPECT_EQ(files.getValuesText(), "");
}

}  // namespace
