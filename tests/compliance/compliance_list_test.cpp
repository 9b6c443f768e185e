// The compliance lists on every backend: filters, appended records, the kind mapping and failures.
#include <climits>
#include <list>
#include <string>

#include "ComplianceKinds.h"
#include "platform/trace/EvDebug.h"
#include "support/TestStore.h"

TEST(ComplianceKinds, MapBothWaysWithTheirAsymmetricFallbacks) {
    EXPECT_EQ(toComplianceType(KO_COMPLIANCE_OPTION_7), 7);
    EXPECT_EQ(toComplianceType(KO_COMPLIANCE_ALL), -1);
    EXPECT_EQ(toComplianceType(static_cast<koComplianceOptions>(12)), 0);  // unknown: stored kind 0
    EXPECT_EQ(toComplianceOption(10), KO_COMPLIANCE_OPTION_10);
    EXPECT_EQ(toComplianceOption(ULONG_MAX), KO_COMPLIANCE_ALL);
    EXPECT_EQ(toComplianceOption(0xFFFFFFFFul), KO_COMPLIANCE_ALL);  // no pair, not the -1 pair
    EXPECT_EQ(toComplianceOption(42), KO_COMPLIANCE_ALL);
    EXPECT_EQ(toComplianceOption(0), KO_COMPLIANCE_OPTION_0);
}

class ComplianceListTest : public StoreTest {
  protected:
    std::string err = "caller's text";
};

TEST_P(ComplianceListTest, OptionListFiltersByKindAndComplianceIdAndAppends) {
    exec(
        "INSERT INTO SchedAdminComplianceOptions (id, dataType, complianceId, xmlValue, status) VALUES "
        "(1, 0, 3, '<a/>', 1), (2, 2, 3, '<b/>', 1), (3, 42, 3, '<c/>', 1), (4, 2, 4, '<d/>', 1), "
        "(5, 0, 0, '<e/>', 1)");
    evtrace::Capture cap(3);
    std::list<_ComplianceOptionInfo> options(1);  // a caller's entry that must stay first
    options.front().xmlValue = "kept";
    ASSERT_EQ(ti->getComplianceOptionList(77, options, err, 3, KO_COMPLIANCE_ALL, 0), 0);
    std::string seen;
    for (const auto& o : options) seen += std::to_string(o.optionType) + ":" + o.xmlValue + " ";
    EXPECT_EQ(seen, "0:kept 0:<a/> 2:<b/> 11:<c/> ");
    EXPECT_EQ(cap.find("Input jobId [77] type [-1]", "TaskInterfaceDB::getComplianceOptionList").size(), 1u);

    options.clear();
    ASSERT_EQ(ti->getComplianceOptionList(77, options, err, 3, KO_COMPLIANCE_OPTION_2, 0), 0);
    ASSERT_EQ(options.size(), 1u);
    EXPECT_EQ(options.front().xmlValue, "<b/>");
    options.clear();  // an unknown kind filters on stored kind 0
    ASSERT_EQ(ti->getComplianceOptionList(77, options, err, 3, static_cast<koComplianceOptions>(30), 0), 0);
    ASSERT_EQ(options.size(), 1u);
    EXPECT_EQ(options.front().xmlValue, "<a/>");
    EXPECT_EQ(err, "caller's text");

    options.clear();  // compliance id 0 is refused before the database, even with rows for it
    EXPECT_EQ(ti->getComplianceOptionList(77, options, err, 0, KO_COMPLIANCE_ALL, 0), 65538);
    EXPECT_EQ(err, "Compliance Id not found.");
    EXPECT_TRUE(options.empty());
}

TEST_P(ComplianceListTest, RecordCentersAndConnectorsByIdOrAll) {
    exec(
        "INSERT INTO DM2RecordCenter (id, url, recordName, userName, password, domain, type, description, "
        "xmlValue, status) VALUES (1, 'http://rc1', 'rc one', 'bob', 'enc:xyz', 'CORP', 2, 'first', '<x/>', "
        "1), "
        "(2, 'http://rc2', 'rc two', '', '', '', 0, '', '', 0)");
    exec(
        "INSERT INTO DM2RecordCenterConnector (id, connectorName, recordId, recordName, description, "
        "xmlValue, "
        "status, ownerUserId) VALUES (5, 'conn', 1, 'rc one', 'd', '<y/>', 3, 9)");
    std::list<_RecordCenterInfo> centers;
    ASSERT_EQ(ti->getRecordCenterList(centers, err, -1), 0);
    ASSERT_EQ(centers.size(), 2u);
    const _RecordCenterInfo& c = centers.front();
    EXPECT_EQ(c.id, 1);
    EXPECT_EQ(c.url + "|" + c.recordName + "|" + c.userName + "|" + c.password + "|" + c.domain + "|" +
                  c.description + "|" + c.xmlValue,
              "http://rc1|rc one|bob|enc:xyz|CORP|first|<x/>");
    EXPECT_EQ(c.type * 10 + c.status, 21);
    centers.clear();
    ASSERT_EQ(ti->getRecordCenterList(centers, err, 0), 0);
    EXPECT_TRUE(centers.empty());
    ASSERT_EQ(ti->getRecordCenterList(centers, err, 2), 0);
    ASSERT_EQ(centers.size(), 1u);
    EXPECT_EQ(centers.front().recordName, "rc two");

    evtrace::Capture cap(3);
    std::list<_RecordConnectorInfo> connectors;
    ASSERT_EQ(ti->getRecordConnectorList(connectors, err, 5), 0);
    ASSERT_EQ(connectors.size(), 1u);
    const _RecordConnectorInfo& k = connectors.front();
    EXPECT_EQ(std::to_string(k.id) + "|" + std::to_string(k.recordId) + "|" + k.recordName + "|" +
                  k.connectorName + "|" + k.description + "|" + k.xmlValue + "|" + std::to_string(k.status),
              "5|1|rc one|conn|d|<y/>|3");
    EXPECT_EQ(cap.find("Input conectorId [5]", "TaskInterfaceDB::getRecordConnectorList").size(), 1u);
    EXPECT_EQ(err, "caller's text");
}

TEST_P(ComplianceListTest, LegalHoldsAndTagsListOnlyWithoutAnIdentifier) {
    exec(
        "INSERT INTO DM2CompliancePolicy (CompPolicyID, CompPolicyName, CompPolicyDesc, RetainUntil, "
        "BackupsetId, Attribute, UserGUID, CreateTime, ModifiedTime, id, ownerUserId, emailIds, archGrpId, "
        "flags) VALUES ('7', 'hold', 'desc', '2030-01-01 00:00:00', 12, 4, 'guid-1', "
        "'1970-01-02 00:00:00', '2026-11-25 10:00:00', 1, 2, '', 0, 0)");
    exec(
        "INSERT INTO DM2DocTags (id, TagID, containerGuid, TagValue, TagDesc, ownerUserId, CreatedBy, "
        "Attribute) VALUES (1, '9', 'c', 'secret', 'a tag', 3, 'alice', 6)");
    std::list<_LegalHoldInfo> holds;
    ASSERT_EQ(ti->getLegalHoldList(holds, err, ""), 0);
    ASSERT_EQ(holds.size(), 1u);
    const _LegalHoldInfo& h = holds.front();
    EXPECT_EQ(h.legalHoldId + "|" + h.name + "|" + h.description + "|" + h.userGUID, "7|hold|desc|guid-1");
    EXPECT_EQ(h.retainUntil, 1893456000ul);
    EXPECT_EQ(h.createTime, 86400ul);
    EXPECT_EQ(h.modifiedTime, 1795600800ul);
    EXPECT_EQ(h.backupsetId * 10 + h.attribute, 124);

    std::list<_DM2TagInfo> tags;
    ASSERT_EQ(ti->getTagList(tags, err, nullptr), 0);
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags.front().tagId + "|" + tags.front().tagValue + "|" + tags.front().description + "|" +
                  tags.front().createdBy + "|" + std::to_string(tags.front().attribute),
              "9|secret|a tag|alice|6");

    // An identifier goes through an integer conversion and so never selects its own row (kept so); a
    // server that refuses to compare text with a number reports that instead.
    holds.clear();
    tags.clear();
    _DM2TagInfo filter;
    filter.tagId = "9";
    err.clear();
    const int holdRc = ti->getLegalHoldList(holds, err, "7");
    EXPECT_TRUE(holds.empty());
    EXPECT_EQ(holdRc == 0, err.empty()) << err;
    err.clear();
    const int tagRc = ti->getTagList(tags, err, &filter);
    EXPECT_TRUE(tags.empty());
    EXPECT_EQ(tagRc == 0, err.empty()) << err;
}

TEST_P(ComplianceListTest, AFailedOpenReturnsItsCodeAndText) {
    exec("DROP TABLE DM2DocTags");
    std::list<_DM2TagInfo> tags(2);
    const int rc = ti->getTagList(tags, err, nullptr);
    EXPECT_NE(rc, 0);
    EXPECT_NE(rc, 100);
    EXPECT_NE(err, "caller's text");
    EXPECT_FALSE(err.empty());
    EXPECT_EQ(tags.size(), 2u);
}

TASKDB_STORE_SUITE(ComplianceListTest);
