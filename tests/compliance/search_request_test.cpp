// Search request population: the security check's client grouping and visibility on every backend, the
// domains' providers, named dates against a fixed clock, and the failures.
#include <cstdlib>
#include <ctime>
#include <list>
#include <memory>
#include <string>

#include "TaskInterfaceDB/SearchRequest.h"
#include "platform/trace/EvDebug.h"
#include "platform/xml/Messages.h"
#include "support/TestStore.h"

namespace {

std::time_t g_now = 0;
std::time_t fixedNow() {
    return g_now;
}

// Seconds of a UTC calendar time, computed apart from the library's local-time path.
long long utc(int y, int mo, int d, int h = 0, int mi = 0, int s = 0) {
    std::tm f{};
    f.tm_year = y - 1900, f.tm_mon = mo - 1, f.tm_mday = d, f.tm_hour = h, f.tm_min = mi, f.tm_sec = s;
    return static_cast<long long>(timegm(&f));
}

// Runs with TZ set and the library's clock fixed; both restored afterwards.
class FixedClock : public ::testing::Test {
  protected:
    void SetUp() override {
        const char* tz = std::getenv("TZ");
        m_hadTz = tz != nullptr;
        if (tz) m_tz = tz;
        searchclock::set(&fixedNow);
    }
    void TearDown() override {
        searchclock::set(nullptr);
        if (m_hadTz)
            setenv("TZ", m_tz.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    void at(const char* tz, long long now) {
        setenv("TZ", tz, 1);
        tzset();
        g_now = static_cast<std::time_t>(now);
    }

  private:
    bool m_hadTz = false;
    std::string m_tz;
};

std::unique_ptr<CNMessageBase> newRequest() {
    EXPECT_EQ(CNMessageBase::Initialize(), 0);
    return CNMessageBase::create(14, 174);
}

// "client:type[subs] type[subs] | client:..." of the request's client list.
std::string clientsOf(const CNMessageBase& request) {
    const CNMessageBase* admin = request.getObjectAccessor(2);
    const CNMessageBase* list = admin ? admin->getObjectAccessor(5) : nullptr;
    if (!list) return "";
    std::string out;
    const CNListBase& clients = *list->getlistobject(1);
    for (std::size_t i = 0; i < clients.size(); ++i) {
        const CNMessageBase& c = clients.item(i);
        out += (i ? " | " : "") + std::to_string(c.getint64(1)) + ":";
        const CNListBase& types = *c.getlistobject(2);
        for (std::size_t j = 0; j < types.size(); ++j) {
            out += (j ? " " : "") + std::to_string(types.item(j).getint64(1)) + "[" +
                   getCommaSeparatedStr(types.item(j).getlistint(2)) + "]";
        }
    }
    return out;
}

}  // namespace

TEST(SearchText, CommaSeparatedListsAndDomainNames) {
    EXPECT_EQ(getCommaSeparatedStr({4, -1, 30}), "4,-1,30");
    EXPECT_EQ(getCommaSeparatedStr({}), "");
    EXPECT_EQ(getCommaSeparatedStr({-2147483647 - 1}), "-2147483648");
    std::set<std::string> domains{"KEPT"};
    getDomainNames(domains, {"CORP\\alice", "corp\\bob", "nodomain", "\\root", "A\\B\\c", "CORP\\x"});
    EXPECT_EQ(domains, (std::set<std::string>{"", "A", "CORP", "KEPT", "corp"}));
}

TEST_F(FixedClock, NamedDatesFromTheLocalCalendar) {
    at("UTC0", utc(2026, 4, 3, 10, 30));  // Friday the 3rd of a 30-day month
    EXPECT_EQ(getFrom(6, 5), utc(2026, 4, 2));
    EXPECT_EQ(getTo(6, 5), utc(2026, 4, 2, 23, 59, 59));
    EXPECT_EQ(getFrom(7, 5), utc(2026, 4, 1));  // 3 - 5 clamps to day 1, not the previous Sunday
    EXPECT_EQ(getTo(7, 5), utc(2026, 4, 4, 23, 59, 59));
    EXPECT_EQ(getFrom(8, 5), utc(2026, 4, 1));
    EXPECT_EQ(getTo(8, 5), utc(2026, 5, 1, 23, 59, 59));  // day 31 of April normalises
    EXPECT_EQ(getFrom(9, 5), utc(2026, 1, 1));
    EXPECT_EQ(getTo(9, 5), utc(2026, 12, 31, 23, 59, 59));
    EXPECT_EQ(getFrom(10, 3600), utc(2026, 4, 3, 11, 30));
    EXPECT_EQ(getTo(10, -60), utc(2026, 4, 3, 10, 29));
    for (int kind : {-1, 0, 1, 5, 11, 99}) {
        EXPECT_EQ(getFrom(kind, 1234), 1234) << kind;
        EXPECT_EQ(getTo(kind, -7), -7) << kind;
    }

    at("UTC0", utc(2026, 6, 29, 8));  // Monday the 29th of a 30-day month
    EXPECT_EQ(getFrom(7, 0), utc(2026, 6, 28));
    EXPECT_EQ(getTo(7, 0), utc(2026, 7, 1, 23, 59, 59));  // 29 + 5 clamps to 31, then normalises
    at("UTC0", utc(2026, 3, 1, 8));
    EXPECT_EQ(getFrom(6, 0), utc(2026, 2, 28));  // day 0 is the previous month's last day

    // The daylight-saving flag of "now" is kept: on the 31st of March (summer time) the 1st at midnight
    // is read as summer time too, one hour before the standard-time midnight.
    at("CET-1CEST,M3.5.0,M10.5.0/3", utc(2026, 3, 31, 12));
    EXPECT_EQ(getFrom(8, 0), utc(2026, 2, 28, 22));
    EXPECT_EQ(getFrom(6, 0), utc(2026, 3, 29, 22));
}

TEST_F(FixedClock, PopulateNamedDatesFillsEachPresentPartAndSkipsMissingOnes) {
    at("UTC0", utc(2026, 4, 3, 10, 30));
    auto r = newRequest();
    r->setint64(4, 8);   // browse: this month, but no CFieldsAdminComp
    r->setint64(5, 10);  // files: now relative
    r->setint64(6, 0);   // emails: kind 0 keeps the stored range
    CNMessageBase* specific = r->getObjectAccessor(3);
    specific->getObjectAccessor(1)->setint64(1, 3600);  // modifiedFrom; modifiedTo unset counts as 0
    specific->getObjectAccessor(2)->setint64(1, 42);
    populateNamedDates(*r);
    EXPECT_FALSE(r->isSet(2));
    EXPECT_EQ(specific->getObjectAccessor(1)->getint64(1), utc(2026, 4, 3, 11, 30));
    EXPECT_EQ(specific->getObjectAccessor(1)->getint64(2), utc(2026, 4, 3, 10, 30));
    EXPECT_EQ(specific->getObjectAccessor(2)->getint64(1), 42);
    EXPECT_FALSE(specific->getObjectAccessor(2)->isSet(2));

    r->getObjectAccessor(2)->setint64(1, 7);
    r->setint64(4, 9);
    populateNamedDates(*r);
    EXPECT_EQ(r->getObjectAccessor(2)->getint64(1), utc(2026, 1, 1));
    EXPECT_EQ(r->getObjectAccessor(2)->getint64(2), utc(2026, 12, 31, 23, 59, 59));
}

class SearchRequestTest : public StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        exec(
            "INSERT INTO APP_Client (id, name, displayName, net_hostname, GUID, status, deleted, created) "
            "VALUES "
            "(5, 'c5', 'c5', 'h5', 'g5', 0, 0, 0), (6, 'c6', 'c6', 'h6', 'g6', 0, 0, 0), "
            "(7, 'gone', 'gone', 'h7', 'g7', 0, 1, 0), (8, 'c8', 'c8', 'h8', 'g8', 0, 0, 0)");
        exec(
            "INSERT INTO APP_Application (id, clientId, appTypeId, instance, backupSet, subclientName, "
            "subclientStatus, created, orbisId) VALUES (0, 5, 1, 0, 0, 'default', 0, 0, 2), "
            "(7, 5, 1, 0, 0, 's7', 0, 0, 2), (8, 5, 2, 0, 0, 's8', 0, 0, 2), (12, 6, 1, 0, 0, 's12', 0, 0, "
            "2), "
            "(13, 7, 1, 0, 0, 's13', 0, 0, 2), (14, 8, 33, 0, 0, 's14', 0, 0, 2)");
        exec("INSERT INTO APP_ClientGroupAssoc (clientGroupId, clientId) VALUES (40, 6), (40, 7), (41, 8)");
        exec("INSERT INTO UMUserClientAssoc (userId, clientId) VALUES (9, 5)");
        exec("INSERT INTO UMUserClientGroupAssoc (userId, clientGroupId) VALUES (9, 40)");
    }

    std::string populate(const CNMessageBase& request, int user, int expectRc = 0) {
        std::string xml, err = "untouched";
        EXPECT_EQ(request.serialize(xml), 0);
        EXPECT_EQ(populateSearchOption(xml, err, user), expectRc);
        EXPECT_EQ(err, "untouched");
        auto out = newRequest();
        EXPECT_EQ(out->unserialize(xml), 0) << xml;
        return clientsOf(*out);
    }
};

TEST_P(SearchRequestTest, ClientsGroupedByClientAndTypeAsTheUserMaySeeThem) {
    auto r = newRequest();
    // User 0 sees every client not deleted; subclient 0 is never listed, type and client entries are.
    EXPECT_EQ(populate(*r, 0), "5:1[7] 2[8] | 6:1[12] | 8:33[14]");
    // User 9: client 5 directly, 6 and the deleted 7 through group 40; 8 not at all.
    EXPECT_EQ(populate(*r, 9), "5:1[7] 2[8] | 6:1[12]");
    // A user with no association sees nothing: the request carries no client.
    EXPECT_EQ(populate(*r, 11), "");

    CNMessageBase* sel = r->getObjectAccessor(1);
    sel->setlistint(19, {2, 33});  // application types
    EXPECT_EQ(populate(*r, 0), "5:2[8] | 8:33[14]");
    sel->setlistint(19, {});
    sel->setlistint(18, {6});  // clients, or the clients of the groups
    sel->setlistint(21, {41});
    EXPECT_EQ(populate(*r, 0), "6:1[12] | 8:33[14]");
    EXPECT_EQ(populate(*r, 9), "6:1[12]");

    // Clients already in the request stay ahead of the found ones.
    r->getObjectAccessor(2)->getObjectAccessor(5)->getlistobject(1)->append().setint64(1, 99);
    EXPECT_EQ(populate(*r, 9), "99: | 6:1[12]");
}

TEST_P(SearchRequestTest, PopulateAppIdsSaysWhetherAnyRowCame) {
    auto r = newRequest();
    EXPECT_EQ(populateAppIds(*r, "", 11), -1);
    EXPECT_FALSE(r->isSet(2));
    EXPECT_EQ(populateAppIds(*r, "", 9), 0);
    EXPECT_EQ(clientsOf(*r), "5:1[7] 2[8] | 6:1[12]");
}

TEST_P(SearchRequestTest, DomainProvidersOfTheNamedDomainsWithoutLoginOrPassword) {
    exec(
        "INSERT INTO UMDSProviders (domainName, hostName, description, login, password, trustedHostUser, "
        "trustedHostPW, flags, enabled, serviceType, modified, dnsRoot, dnsRootStatus, useSecureLdap, "
        "origCCId, "
        "GUID, port, resourceId, checkTime, ownerId, ownerCompany) VALUES "
        "('CORP', 'dc1.corp', '', 'admin', 'enc:secret', '', '', 0, 1, 0, 0, '', 0, 1, 0, '', 636, 0, 0, 0, "
        "0), "
        "('corp', 'dc2.corp', '', 'admin2', 'enc:other', '', '', 0, 1, 0, 0, '', 0, 0, 0, '', 389, 0, 0, 0, "
        "0), "
        "('UNNAMED', 'dc3', '', 'x', 'y', '', '', 0, 1, 0, 0, '', 0, 1, 0, '', 389, 0, 0, 0, 0)");
    auto r = newRequest();
    CNMessageBase* admin = r->getObjectAccessor(2);
    admin->setliststring(3, {"CORP\\alice", "nodomain"});
    admin->setliststring(4, {"NOPROVIDER\\bob"});
    r->getObjectAccessor(3)->getObjectAccessor(1)->setliststring(3, {"corp\\carol"});
    admin->getlistobject(6)->append().setstring(1, "stale");

    std::string xml, err;
    ASSERT_EQ(r->serialize(xml), 0);
    ASSERT_EQ(populateSearchOption(xml, err, 0), 0);
    auto out = newRequest();
    ASSERT_EQ(out->unserialize(xml), 0);
    const CNListBase& creds = *out->getObjectAccessor(2)->getlistobject(6);
    ASSERT_EQ(creds.size(), 2u);
    EXPECT_EQ(creds.item(0).getstring(1) + "@" + creds.item(0).getstring(2), "CORP@dc1.corp");
    EXPECT_EQ(creds.item(0).getint64(5), 1);
    EXPECT_EQ(creds.item(1).getstring(1) + "@" + creds.item(1).getstring(2), "corp@dc2.corp");
    EXPECT_FALSE(creds.item(1).isSet(5));
    for (std::size_t i = 0; i < creds.size(); ++i) {
        EXPECT_FALSE(creds.item(i).isSet(3));
        EXPECT_FALSE(creds.item(i).isSet(4));
    }
    EXPECT_EQ(xml.find("secret"), std::string::npos);

    // A password carried in the stored request never reaches the trace.
    std::string withPassword =
        "<DM2ContentIndexing_SearchRequest><CFieldsAdminComp><domainCredential "
        "domainName=\"X\" password=\"hunter2\"/></CFieldsAdminComp>"
        "</DM2ContentIndexing_SearchRequest>";
    evtrace::Capture cap(3);
    ASSERT_EQ(populateSearchOption(withPassword, err, 0), 0);
    ASSERT_EQ(cap.find("Input xmlValue [", "TaskInterfaceDB::populateSearchOption").size(), 1u);
    for (const EvTraceLine& line : cap.lines()) EXPECT_EQ(line.text.find("hunter2"), std::string::npos);
    EXPECT_EQ(xml.find("admin"), std::string::npos);

    // No domain named: the credential list is emptied.
    admin->setliststring(3, {});
    admin->setliststring(4, {});
    r->getObjectAccessor(3)->getObjectAccessor(1)->setliststring(3, {});
    populateADAdministrators(*r);
    EXPECT_TRUE(r->getObjectAccessor(2)->getlistobject(6)->empty());
}

TEST_P(SearchRequestTest, UnreadableXmlIsRefusedAndLeftAsItWas) {
    for (std::string bad : {"<DM2ContentIndexing_SearchRequest", "<other/>", "",
                            "<DM2ContentIndexing_SearchRequest browseTimeNamedDate=\"x\"/>"}) {
        std::string xml = bad, err;
        EXPECT_EQ(populateSearchOption(xml, err, 0), 0xb0002) << bad;
        EXPECT_EQ(err, "XML Message unserilization failed");
        EXPECT_EQ(xml, bad);
    }
}

TEST_P(SearchRequestTest, ComplianceListRunsPopulationOnThePreviousRowsXml) {
    exec(
        "INSERT INTO SchedAdminComplianceOptions (id, dataType, complianceId, xmlValue, status) VALUES "
        "(1, 1, 3, 'not xml', 1), (2, 1, 3, '<DM2ContentIndexing_SearchRequest/>', 1)");
    std::list<_ComplianceOptionInfo> options;
    std::string err;
    ASSERT_EQ(ti->getComplianceOptionList(1, options, err, 3, KO_COMPLIANCE_SEARCH_REQUEST, 0), 0);
    ASSERT_EQ(options.size(), 2u);
    EXPECT_EQ(options.front().xmlValue, "not xml");
    EXPECT_EQ(options.back().xmlValue, "<DM2ContentIndexing_SearchRequest/>");
    EXPECT_EQ(err, "XML Message unserilization failed");  // the second row parsed the first row's text
}

TASKDB_STORE_SUITE(SearchRequestTest);
