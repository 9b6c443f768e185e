// The generated bindings against the tables' own text: names, column lists, formats, versions,
// identities, keys, field types and record sizes.
#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string>
#include <type_traits>

#include "Db/AllBindings.h"
#include "Db/Tbl/TM_Task.h"  // first, so that one binding header is seen compiling on its own
#include "platform/db/DBcatalog.h"

namespace {

template <class T>
std::string joined() {
    std::string out;
    for (int i = 0; i < T::kColumnCount; ++i) out += (i ? ", " : "") + std::string(T::columns()[i].name);
    return out;
}

TEST(MetadataTest, TablesCarryTheirSchemaText) {
    EXPECT_STREQ(
        TM_Task::kColumnList,
        "taskId, taskName, taskType, flags, status, created, modified, alertId, ownerId, runUserId, "
        "initiatedFrom, sequenceNumber, localeId, description, deleted, disabled, uninstalled, invalid, "
        "defaultTask, savedReport, serial, policyType, origCCId, GUID, isEZOperation, isAgentlessSRM, "
        "hidden");
    EXPECT_STREQ(TM_Task::kFormat, "i|s511|i|i|i|i|i|i|i|i|i|s256|i|s4097|i|i|i|i|i|i|i|i|i|s41|i|i|i|");
    EXPECT_STREQ(TM_Task::kHeader, "include/Db/Tbl/TM_Task.h");
    EXPECT_STREQ(TM_Task::kIdentity, "taskId");

    EXPECT_STREQ(TM_JobOptions::kFormat, "i|b|b|i|s|i|i|b|x|x|");
    EXPECT_STREQ(TM_JobOptions::kVersion, "1.10.276.3");
    EXPECT_STREQ(TM_StaticTaskOption::kIdentity, "");
    EXPECT_STREQ(DM2CompliancePolicy::kIdentity, "id");
    EXPECT_EQ(DM2CompliancePolicy::kIdentityIndex, 9);
    EXPECT_STREQ(MMHost::kFormat, "i|i|i|i|i|x|i|s1025|s2049|s1025|i|i|i|u|i|i|i|i|");
    EXPECT_STREQ(MMHost::kOrderBy, "ClientId");

    // Row keys as the tables give them, trailing blanks included.
    EXPECT_EQ(TM_AssocEntity_t2().primaryKeys, std::vector<std::string>{"assocId "});
    EXPECT_EQ(TM_Pattern_t2().primaryKeys, std::vector<std::string>{"patternId "});
    EXPECT_EQ(TM_StaticTaskOption_t2().primaryKeys, std::vector<std::string>{"optionId "});
}

TEST(MetadataTest, ProceduresAndTheCursorCarryTheirSchemaText) {
    EXPECT_STREQ(TM_GetAllJobOptions::kColumnList, "o_type, o_optionId, o_value");
    EXPECT_STREQ(TM_GetAllJobOptions::kFormat, "i|b|s|");
    EXPECT_STREQ(TM_GetAllJobOptions::kSignature, "00010008000000000000");
    EXPECT_STREQ(TM_GetBitwiseOption::kSignature, "00010004027800010000");
    EXPECT_STREQ(SearchSecurityCheck::kSignature, "00010012004400020000");
    EXPECT_STREQ(EntityNameToIdConverter::kSignature, "00010095001200110000");
    EXPECT_STREQ(JMGetJobDetails::kColumnList, "");
    EXPECT_STREQ(JMGetJobDetails::kFormat, "");
    EXPECT_EQ(JMGetJobDetails_t::columns(), nullptr);

    EXPECT_EQ(JMGetBkpStats_t::kColumnCount, 105);
    EXPECT_STREQ(JMGetBkpStats_t::columns()[99].name, "successfullClients");
    EXPECT_EQ(joined<JMGetBkpStats_t>(), JMGetBkpStats::kColumnList);
    EXPECT_EQ(joined<TM_Pattern_t>(), TM_Pattern::kColumnList);
}

TEST(MetadataTest, RawRecordFieldsHaveTheColumnsWidthsAndStartZeroed) {
    EXPECT_EQ(sizeof(UMDSProviders_t::hostName), 8001u);
    EXPECT_EQ(sizeof(TM_Task_t::description), 4097u);
    EXPECT_EQ(sizeof(DM2CompliancePolicy_t::CompPolicyID), 37u);
    EXPECT_TRUE((std::is_same_v<decltype(TM_JobOptions_t::created), long long>));
    EXPECT_TRUE((std::is_same_v<decltype(TM_Jobs_t::jobRequestId), int>));
    EXPECT_TRUE((std::is_same_v<decltype(TM_Pattern_t::active_end_date), DB_DATETIME>));
    EXPECT_TRUE((std::is_same_v<decltype(TM_JobOptions_t::value), std::string>));
    EXPECT_TRUE((std::is_same_v<decltype(JMGetBkpStats_t::dataArchGrpName), std::string>));

    // Offsets describe the real fields, in column order.
    const DBcolumn* c = TM_Task_t::columns();
    EXPECT_EQ(c[1].offset, offsetof(TM_Task_t, taskName));
    for (int i = 1; i < TM_Task_t::kColumnCount; ++i) EXPECT_GT(c[i].offset, c[i - 1].offset);

    // Construction zeroes whatever the memory held before.
    alignas(TM_Task_t) unsigned char raw[sizeof(TM_Task_t)];
    std::memset(raw, 0xAB, sizeof raw);
    TM_Task_t* task = new (raw) TM_Task_t;
    EXPECT_EQ(task->taskId, 0);
    EXPECT_EQ(task->taskName[0], '\0');
    EXPECT_EQ(task->GUID[40], '\0');
    task->~TM_Task_t();
}

TEST(MetadataTest, CatalogueListsEveryTableWithItsColumns) {
    int count = 0;
    const DBschemaTable* tables = DBcatalogTables(&count);
    ASSERT_EQ(count, 17);
    EXPECT_STREQ(tables[16].name, "MMHost");
    for (int i = 0; i < count; ++i) {
        const DBschemaTable& t = tables[i];
        if (std::strcmp(t.name, "DM2CompliancePolicy") == 0) {
            EXPECT_STREQ(t.identity, "id");
            EXPECT_EQ(t.columnCount, 14);
            EXPECT_STREQ(t.columns[0].name, "CompPolicyID");
            EXPECT_EQ(t.columns[0].width, 37);
        }
        if (std::strcmp(t.name, "MMHost") == 0) {
            EXPECT_STREQ(t.identity, "");
            EXPECT_STREQ(t.orderBy, "ClientId");
            EXPECT_EQ(t.columns[13].letter, 'u');
        }
    }
}

}  // namespace
