// The generated bindings against the tables' own text where no store test would notice a slip:
// formats, keys, the misspelt column, field types and widths, zeroed records and the catalogue.
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

TEST(MetadataTest, BindingsCarryTheirSchemaText) {
    EXPECT_STREQ(TM_Task::kFormat, "i|s511|i|i|i|i|i|i|i|i|i|s256|i|s4097|i|i|i|i|i|i|i|i|i|s41|i|i|i|");
    EXPECT_STREQ(TM_JobOptions::kFormat, "i|b|b|i|s|i|i|b|x|x|");
    EXPECT_STREQ(MMHost::kFormat, "i|i|i|i|i|x|i|s1025|s2049|s1025|i|i|i|u|i|i|i|i|");
    EXPECT_STREQ(MMHost::kOrderBy, "ClientId");
    EXPECT_STREQ(TM_GetBitwiseOption::kSignature, "00010004027800010000");
    // Row keys as the tables give them, trailing blanks included.
    EXPECT_EQ(TM_Pattern_t2().primaryKeys, std::vector<std::string>{"patternId "});
    EXPECT_EQ(TM_StaticTaskOption_t2().primaryKeys, std::vector<std::string>{"optionId "});

    // The cursor's 105 columns, the misspelt one among them; a procedure without output has none.
    EXPECT_EQ(JMGetBkpStats_t::kColumnCount, 105);
    EXPECT_STREQ(JMGetBkpStats_t::columns()[99].name, "successfullClients");
    EXPECT_EQ(joined<JMGetBkpStats_t>(), JMGetBkpStats::kColumnList);
    EXPECT_EQ(joined<TM_Pattern_t>(), TM_Pattern::kColumnList);
    EXPECT_STREQ(JMGetJobDetails::kColumnList, "");
    EXPECT_EQ(JMGetJobDetails_t::columns(), nullptr);
}

TEST(MetadataTest, RawRecordFieldsHaveTheColumnsWidthsAndStartZeroed) {
    EXPECT_EQ(sizeof(UMDSProviders_t::hostName), 8001u);
    EXPECT_EQ(sizeof(DM2CompliancePolicy_t::CompPolicyID), 37u);
    EXPECT_TRUE((std::is_same_v<decltype(TM_JobOptions_t::created), long long>));
    EXPECT_TRUE((std::is_same_v<decltype(TM_Pattern_t::active_end_date), DB_DATETIME>));
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
    ASSERT_EQ(count, 60);
    const DBschemaTable& mmHost = tables[16];
    EXPECT_STREQ(mmHost.name, "MMHost");
    EXPECT_STREQ(mmHost.identity, "");
    EXPECT_STREQ(mmHost.orderBy, "ClientId");
    EXPECT_EQ(mmHost.columns[13].letter, 'u');
    EXPECT_EQ(mmHost.columns[8].width, 2049);
}

}  // namespace
