// The XML message classes: every generated class round-trips, "is set" survives the trip, and bad
// documents are refused with a text that names the element at fault.
#include <gtest/gtest.h>

#include <utility>

#include "platform/xml/Messages.h"
#include "xml/Fill.h"

namespace {

class EveryClass : public ::testing::TestWithParam<const CNMessageInfo*> {};

TEST_P(EveryClass, RoundTripsWithEveryMemberAndLayout) {
    const CNMessageInfo& cls = *GetParam();
    ASSERT_EQ(CNMessageBase::Initialize(), 0);
    for (unsigned seed = 1; seed <= 20; ++seed) {
        std::mt19937 rng(seed);
        auto sent = cls.create();
        xmltest::fill(*sent, rng);
        for (bool indent : {false, true}) {
            std::string xml;
            ASSERT_EQ(sent->serialize(xml, indent), 0) << sent->errorText();
            auto got = CNMessageBase::create(cls.family, cls.type);
            ASSERT_TRUE(got);
            ASSERT_EQ(got->unserialize(xml), 0) << got->errorText() << "\n" << xml;
            EXPECT_TRUE(got->equals(*sent)) << cls.name << " seed " << seed << "\n" << xml;
        }
    }
}

TEST_P(EveryClass, EmptyMessageIsTheRootElementAlone) {
    const CNMessageInfo& cls = *GetParam();
    std::string xml;
    ASSERT_EQ(cls.create()->serialize(xml), 0);
    EXPECT_EQ(xml, "<" + std::string(cls.element) + "/>");
    auto got = cls.create();
    ASSERT_EQ(got->unserialize(xml.c_str()), 0);
    for (size_t i = 0; i < cls.memberCount; ++i) EXPECT_FALSE(got->isSet(cls.members[i].id));
}

INSTANTIATE_TEST_SUITE_P(Messages, EveryClass, ::testing::ValuesIn(CNMessageBase::classes()),
                         [](const auto& p) {
                             std::string n = p.param->name;
                             return n.replace(n.find("::"), 2, "_");
                         });

TEST(Registry, FindsTheClassesOtherModulesBuildByTypeAndName) {
    EXPECT_EQ(CNMessageBase::create(216380445)->info().name, std::string("TMMsg::CreateTaskReq"));
    EXPECT_EQ(CNMessageBase::create(215600124)->typeId(), TMMsg::TaskOperationReq::kTypeId);
    EXPECT_EQ(CNMessageBase::create(14, 174)->info().name, std::string("DM2ContentIndexing::SearchRequest"));
    EXPECT_EQ(CNMessageBase::create(14, 3)->info().name, std::string("DM2ContentIndexing::GSearchClient"));
    EXPECT_EQ(CNMessageBase::create(14, 2)->info().name, std::string("DM2ContentIndexing::GAppType"));
    EXPECT_EQ(CNMessageBase::create(14, 5)->info().name,
              std::string("DM2ContentIndexing::GDomainCredential"));
    EXPECT_EQ(CNMessageBase::find("JobManager::JobInfoResp"), &JobManager::JobInfoResp::descriptor());
    EXPECT_EQ(CNMessageBase::create(14, 9999), nullptr);
}

TEST(IsSet, OnlySetMembersAreWrittenAndZeroIsAValue) {
    TMMsg::TaskOperationReq req;
    req.setTaskOperationType(0);
    req.mutableSubTasks().add().setTaskId(7);
    std::string xml;
    ASSERT_EQ(req.serialize(xml), 0);
    EXPECT_EQ(xml,
              "<TMMsg_TaskOperationReq taskOperation=\"0\"><subTask taskId=\"7\"/></TMMsg_TaskOperationReq>");

    TMMsg::TaskOperationReq got;
    ASSERT_EQ(got.unserialize(xml), 0);
    EXPECT_TRUE(got.hasTaskOperationType());
    EXPECT_FALSE(got.hasInitiatedFrom());
    EXPECT_FALSE(got.hasOptions());
    EXPECT_FALSE(got.subTasks()[0].hasSubtaskId());
    EXPECT_EQ(got.subTasks()[0].taskId(), 7);
}

TEST(IsSet, AnEmptyNestedMessageStaysSetAndReadingOneDoesNotSetIt) {
    TMMsg::JobOption option;
    EXPECT_EQ(std::as_const(option).getObjectAccessor(TMMsg::JobOption::kScheduling), nullptr);
    EXPECT_FALSE(option.hasScheduling());
    option.mutableScheduling();
    std::string xml;
    ASSERT_EQ(option.serialize(xml), 0);
    TMMsg::JobOption got;
    ASSERT_EQ(got.unserialize(xml), 0);
    EXPECT_TRUE(got.hasScheduling());
    EXPECT_FALSE(got.scheduling().hasAutomaticSchedulePattern());
}

TEST(Unserialize, SkipsUnknownElementsAndAttributes) {
    JobManager::JobInfoResp resp;
    ASSERT_EQ(resp.unserialize("<?xml version=\"1.0\"?><JobManager_JobInfoResp future=\"1\">"
                               "<later><job jobId=\"5\"/></later><job jobId=\"9\" extra=\"x\"><more/></job>"
                               "</JobManager_JobInfoResp>"),
              0)
        << resp.errorText();
    ASSERT_EQ(resp.jobs().size(), 1u);
    EXPECT_EQ(resp.jobs()[0].jobId(), 9);
    EXPECT_FALSE(resp.hasErrors());
}

struct BadDocument {
    const char* xml;
    const char* mentions;
};

class Refused : public ::testing::TestWithParam<BadDocument> {};

TEST_P(Refused, WithATextNamingTheFaultAndTheMessageUnchanged) {
    TMMsg::TaskOperationReq req;
    req.setInitiatedFrom(5);
    EXPECT_NE(req.unserialize(GetParam().xml), 0);
    EXPECT_NE(req.errorText().find(GetParam().mentions), std::string::npos) << req.errorText();
    EXPECT_EQ(req.initiatedFrom(), 5);
    EXPECT_FALSE(req.hasTaskOperationType());
}

INSTANTIATE_TEST_SUITE_P(
    Messages, Refused,
    ::testing::Values(
        BadDocument{"<TMMsg_TaskOperationReq taskOperation=\"5\"", "malformed XML"},
        BadDocument{"", "malformed XML"},
        BadDocument{"<TMMsg_TaskManagerResp/>",
                    "expected root element TMMsg_TaskOperationReq, found TMMsg_TaskManagerResp"},
        BadDocument{"<TMMsg_TaskOperationReq/><TMMsg_TaskOperationReq/>", "more than one root"},
        BadDocument{"<TMMsg_TaskOperationReq taskOperation=\"5x\"/>",
                    "TMMsg_TaskOperationReq/@taskOperation"},
        BadDocument{"<TMMsg_TaskOperationReq taskOperation=\"\"/>", "is not a 32-bit integer"},
        BadDocument{"<TMMsg_TaskOperationReq taskOperation=\"2147483648\"/>", "is not a 32-bit integer"},
        BadDocument{
            "<TMMsg_TaskOperationReq><operationEntity><entity clientId=\"1.5\"/></operationEntity>"
            "</TMMsg_TaskOperationReq>",
            "TMMsg_TaskOperationReq/operationEntity/entity/@clientId: \"1.5\" is not a 64-bit integer"},
        BadDocument{"<TMMsg_TaskOperationReq><options/><options/></TMMsg_TaskOperationReq>",
                    "options appears more than once"},
        BadDocument{"<TMMsg_TaskOperationReq><operationEntity><subTask/><subTask/></operationEntity>"
                    "</TMMsg_TaskOperationReq>",
                    "operationEntity/subTask appears more than once"}));

TEST(Unserialize, RefusesAListOrElementsWhereOneValueBelongs) {
    TMMsg::Task task;
    EXPECT_NE(
        task.unserialize("<TMMsg_Task><description>a</description><description>b</description></TMMsg_Task>"),
        0);
    EXPECT_NE(task.errorText().find("TMMsg_Task/description appears more than once"), std::string::npos);
    EXPECT_NE(task.unserialize("<TMMsg_Task><description>a<b/></description></TMMsg_Task>"), 0);
    EXPECT_NE(task.errorText().find("TMMsg_Task/description holds elements"), std::string::npos);
    EXPECT_NE(task.unserialize("<TMMsg_Task taskId=\"1\" taskId=\"2\"/>"), 0);
    EXPECT_NE(task.unserialize(static_cast<const char*>(nullptr)), 0);
}

TEST(Unserialize, OneTaskManagerReplyReadsAsStatusAndAsJobIds) {
    const char* reply =
        "<TMMsg_TaskManagerResp errorCode=\"0\" errorMessage=\"\"><jobId>12</jobId><jobId>4294967297</jobId>"
        "</TMMsg_TaskManagerResp>";
    TMMsg::GenericResp generic;
    ASSERT_EQ(generic.unserialize(reply), 0) << generic.errorText();
    EXPECT_TRUE(generic.hasStatus());
    EXPECT_EQ(generic.status(), 0);
    EXPECT_TRUE(generic.hasErrorMessage());
    TMMsg::CreateTaskResp created;
    ASSERT_EQ(created.unserialize(reply), 0) << created.errorText();
    EXPECT_EQ(created.jobIds(), (std::vector<std::string>{"12", "4294967297"}));
}

TEST(Unserialize, ReadsOnlyTheGivenBytes) {
    const std::string doc = "<TMMsg_TaskManagerResp errorCode=\"12\"/>trailing";
    TMMsg::GenericResp resp;
    ASSERT_EQ(resp.unserialize(doc.data(), doc.find("trailing")), 0) << resp.errorText();
    EXPECT_EQ(resp.status(), 12);
    EXPECT_NE(resp.unserialize(doc.data(), doc.size() - 12), 0);
}

TEST(Serialize, RefusesTextXmlCannotCarry) {
    TMMsg::CreateTaskResp resp;
    resp.mutableJobIds().push_back(std::string("1\0002", 3));
    std::string xml = "kept";
    EXPECT_NE(resp.serialize(xml), 0);
    EXPECT_EQ(xml, "kept");
    EXPECT_NE(resp.errorText().find("jobIds"), std::string::npos);
}

// The search request as compliance code walks it: by family, type and member id only.
TEST(GenericAccess, BuildsASearchRequestByIds) {
    auto request = CNMessageBase::create(14, 174);
    CNMessageBase* selection = request->getObjectAccessor(1);
    ASSERT_NE(selection, nullptr);
    EXPECT_TRUE(selection->setint64(43, 1LL << 40));
    EXPECT_TRUE(selection->setlistint(21, {4, -1, 30}));
    EXPECT_TRUE(selection->setlistint(18, {}));
    EXPECT_FALSE(selection->isSet(18));
    EXPECT_FALSE(selection->setstring(43, "x"));
    EXPECT_FALSE(selection->setint64(99, 1));

    CNMessageBase* admin = request->getObjectAccessor(2);
    auto appType = CNMessageBase::create(14, 2);
    EXPECT_TRUE(appType->setint64(1, 33));
    EXPECT_FALSE(appType->setint64(1, 1LL << 40));
    EXPECT_TRUE(appType->setlistint(2, {7, 8}));
    auto client = CNMessageBase::create(14, 3);
    client->setint64(1, 5);
    ASSERT_TRUE(client->getlistobject(2)->append(*appType));
    EXPECT_FALSE(client->getlistobject(2)->append(*client));
    admin->getObjectAccessor(5)->getlistobject(1)->append(*client);

    std::vector<std::unique_ptr<CNMessageBase>> credentials;
    credentials.push_back(CNMessageBase::create(14, 5));
    credentials.back()->setstring(1, "CORP");
    EXPECT_TRUE(admin->setlistobject(6, credentials));
    credentials.push_back(CNMessageBase::create(14, 3));
    EXPECT_FALSE(admin->setlistobject(6, credentials));
    EXPECT_EQ(admin->getlistobject(6)->size(), 1u);

    std::string xml;
    ASSERT_EQ(request->serialize(xml, false), 0);
    DM2ContentIndexing::SearchRequest typed;
    ASSERT_EQ(typed.unserialize(xml.c_str()), 0) << typed.errorText();
    EXPECT_EQ(typed.selection().searchScope(), 1LL << 40);
    EXPECT_EQ(typed.getObjectAccessor(1)->getlistint(21), (std::list<int>{4, -1, 30}));
    const auto& clients = typed.adminComp().searchClients().clients();
    ASSERT_EQ(clients.size(), 1u);
    EXPECT_EQ(clients[0].clientId(), 5);
    EXPECT_EQ(clients[0].appTypes()[0].subclientIds(), (std::vector<int32_t>{7, 8}));
    EXPECT_EQ(typed.adminComp().domainCredentials()[0].domainName(), "CORP");
    EXPECT_FALSE(typed.adminComp().domainCredentials()[0].hasUserName());
    EXPECT_NE(xml.find("<CFieldsAdminComp>"), std::string::npos);
}

}  // namespace
