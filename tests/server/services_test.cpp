// The management server's services against a seeded store, on every backend: found, not found,
// deleted, disabled at each level, running jobs, and event messages by locale with their fallbacks.
#include <cstring>
#include <list>
#include <string>

#include "platform/db/DBtran.h"
#include "platform/server/Server.h"
#include "support/TestStore.h"

namespace {

class ServicesTest : public StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        exec(
            "INSERT INTO APP_Client (id, name, displayName, deleted) VALUES (1, 'alpha', 'Alpha', 0), "
            "(2, 'beta', 'Beta', 1), (3, 'gamma', 'Gamma', 0)");
        exec(
            "INSERT INTO APP_Application (id, clientId, appTypeId, instance, backupSet, subclientName) "
            "VALUES "
            "(10, 1, 33, 100, 1000, 'default'), (11, 1, 33, 100, 1001, 'logs'), (20, 2, 29, 200, 0, 'db')");
        exec(
            "INSERT INTO SRV_ClientProp (clientId, userCentric, physicalClientId, versionInfo, isNAS, "
            "nonNDMP, "
            "actualClientId) VALUES (1, 1, 3, '11.24.2', 0, 1, 3), (2, 1, 0, '', 1, 0, 0)");
        exec(
            "INSERT INTO SRV_SubclientMark (subclientId, nomadDrive, maxBackupIntervalExpired, uninstalled) "
            "VALUES "
            "(10, 1, 1, 0), (20, 0, 0, 1)");
        exec("INSERT INTO SRV_BackupSetOwner (backupSetId, ownerUserId) VALUES (1000, 42)");
        exec(
            "INSERT INTO SRV_InstanceType (instanceId, clusterType, cloudInstanceType) VALUES (100, 15, 33)");
        exec(
            "INSERT INTO APP_Orbis (id, number, aliasName, isLocal) VALUES (5, 5, 'remote', 0), (7, 7, "
            "'here', 1)");
        exec(
            "INSERT INTO SRV_RunningJob (jobId, orbisId, clientId, subclientId, appTypeId, opType, status, "
            "startTime) VALUES (501, 7, 1, 10, 33, 4, 1, 20), (502, 7, 1, 11, 33, 4, 2, 10), "
            "(503, 7, 3, 0, 0, 9, 4, 30)");
        exec(
            "INSERT INTO SRV_EventMessage (messageId, localeId, formatText) VALUES "
            "(318767874, 0, 'Activity [%1] is disabled on client [%2]. %3'), "
            "(318767874, 7, 'Aktivitaet [%1] ist auf Client [%2] gesperrt. %3 (100%%)'), "
            "(318767873, 0, 'Activity [%1] is disabled on the server. %2')");
    }
};

TEST_P(ServicesTest, ClientFactsFoundDeletedAndMissing) {
    std::string name = "unchanged";
    EXPECT_EQ(KOClient(1).getName(name, nullptr), 0);
    EXPECT_EQ(name, "alpha");
    EXPECT_EQ(KOClient(99).getName(name, nullptr), KO_SRV_NOT_FOUND);
    EXPECT_EQ(name, "alpha") << "a missing client leaves the output alone";

    bool deleted = false, nas = true, nonNdmp = false;
    EXPECT_EQ(KOClient(2).isDeleted(deleted, nullptr), 0);
    EXPECT_TRUE(deleted);
    EXPECT_EQ(KOClient(1).isDeleted(deleted, nullptr), 0);
    EXPECT_FALSE(deleted);
    EXPECT_EQ(KOClient(99).isDeleted(deleted, nullptr), KO_SRV_NOT_FOUND);
    EXPECT_EQ(KOClient(1).isNASClient(nas, nullptr), 0);
    EXPECT_FALSE(nas);
    EXPECT_EQ(KOClient(2).isNASClient(nas, nullptr), 0);
    EXPECT_TRUE(nas);
    EXPECT_EQ(KOClient(1).isNonNDMPClient(nonNdmp, nullptr), 0);
    EXPECT_TRUE(nonNdmp);
    nas = true;
    EXPECT_EQ(KOClient(3).isNASClient(nas, nullptr), 0) << "no property row: the defaults";
    EXPECT_FALSE(nas);
    EXPECT_EQ(KOClient(99).isNASClient(nas, nullptr), KO_SRV_NOT_FOUND);

    unsigned long actual = 0;
    EXPECT_EQ(KOClient(1).getActualClientId(actual, nullptr), 0);
    EXPECT_EQ(actual, 3u);
    EXPECT_EQ(KOClient(3).getActualClientId(actual, nullptr), 0);
    EXPECT_EQ(actual, 3u) << "none recorded: the client itself";

    std::vector<KOClientInfo> clients;
    ASSERT_EQ(KOClient::getClients(clients, nullptr), 0);
    ASSERT_EQ(clients.size(), 3u);
    EXPECT_EQ(clients[1].name, "beta");
    EXPECT_TRUE(clients[1].deleted);
}

TEST_P(ServicesTest, ClientPropertiesAndVersion) {
    bool userCentric = false;
    unsigned long physical = 0;
    std::string version;
    ClientProperties one(1), two(2), three(3), missing(99);
    EXPECT_EQ(one.isUserCentricClient(userCentric, nullptr), 0);
    EXPECT_TRUE(userCentric);
    EXPECT_EQ(one.getUserCentricClientAssociation(physical, nullptr), 0);
    EXPECT_EQ(physical, 3u);
    EXPECT_EQ(two.getUserCentricClientAssociation(physical, nullptr), KO_SRV_NOT_FOUND);
    EXPECT_EQ(one.getVersionInfo(version, nullptr), 0);
    EXPECT_EQ(version, "11.24.2");
    EXPECT_EQ(two.getVersionInfo(version, nullptr), KO_SRV_NOT_FOUND) << "no version recorded";
    EXPECT_EQ(three.isUserCentricClient(userCentric, nullptr), 0);
    EXPECT_FALSE(userCentric);
    EXPECT_EQ(missing.isUserCentricClient(userCentric, nullptr), KO_SRV_NOT_FOUND);
}

TEST_P(ServicesTest, SubclientMarksAndTheExpiredMarkIsClearedInTheStore) {
    std::string name;
    bool nomad = false, expired = false, uninstalled = true;
    Subclient sub(10);
    EXPECT_EQ(sub.getSubclientName(name, nullptr), 0);
    EXPECT_EQ(name, "default");
    EXPECT_EQ(sub.isNomadDriveSubclient(nomad, nullptr), 0);
    EXPECT_TRUE(nomad);
    EXPECT_EQ(sub.isUninstalled(uninstalled, nullptr), 0);
    EXPECT_FALSE(uninstalled);
    EXPECT_EQ(Subclient(20).isUninstalled(uninstalled, nullptr), 0);
    EXPECT_TRUE(uninstalled);
    EXPECT_EQ(Subclient(11).isNomadDriveSubclient(nomad, nullptr), 0) << "no mark row: no marks";
    EXPECT_FALSE(nomad);
    EXPECT_EQ(Subclient(99).getSubclientName(name, nullptr), KO_SRV_NOT_FOUND);
    EXPECT_EQ(Subclient(99).isNomadDriveSubclient(nomad, nullptr), KO_SRV_NOT_FOUND);

    EXPECT_EQ(sub.isMaximumBackupIntervalExpired(expired, nullptr), 0);
    EXPECT_TRUE(expired);
    EXPECT_EQ(sub.setMaximumBackupIntervalExpired(false, nullptr), 0);
    EXPECT_EQ(scalar("SELECT maxBackupIntervalExpired FROM SRV_SubclientMark WHERE subclientId = 10"), 0);
    EXPECT_EQ(sub.isMaximumBackupIntervalExpired(expired, nullptr), 0);
    EXPECT_FALSE(expired);
    // Marking a subclient without a mark row adds one; a rolled-back caller transaction leaves none.
    {
        DBtran tran;
        ASSERT_EQ(tran.begin(), 0);
        EXPECT_EQ(Subclient(11).setMaximumBackupIntervalExpired(true, &tran), 0);
        tran.rollback();
    }
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM SRV_SubclientMark WHERE subclientId = 11"), 0);
    EXPECT_EQ(Subclient(11).setMaximumBackupIntervalExpired(true, nullptr), 0);
    EXPECT_EQ(Subclient(11).isMaximumBackupIntervalExpired(expired, nullptr), 0);
    EXPECT_TRUE(expired);
    EXPECT_EQ(Subclient(99).setMaximumBackupIntervalExpired(true, nullptr), KO_SRV_NOT_FOUND);

    std::string clientName;
    unsigned long appType = 0, clientId = 0;
    bool clientDeleted = false;
    EXPECT_EQ(SubclientHelper::getSubclientClientAppTypeInfo(20, clientName, appType, clientId, clientDeleted,
                                                             nullptr),
              0);
    EXPECT_EQ(clientName, "beta");
    EXPECT_EQ(appType, 29u);
    EXPECT_EQ(clientId, 2u);
    EXPECT_TRUE(clientDeleted);
    EXPECT_EQ(SubclientHelper::getSubclientClientAppTypeInfo(99, clientName, appType, clientId, clientDeleted,
                                                             nullptr),
              KO_SRV_NOT_FOUND);

    std::vector<KOSubclientInfo> subs;
    ASSERT_EQ(Subclient::getSubclients(1, subs, nullptr), 0);
    ASSERT_EQ(subs.size(), 2u);
    EXPECT_EQ(subs[1].name, "logs");
}

TEST_P(ServicesTest, ActivityDisabledAtEachLevelNamesTheBroadestReason) {
    JMActivityCtrl ctrl;
    EvMessageContainer msg;
    EXPECT_TRUE(ctrl.isActivityEnabled(1, 1, 33, "alpha", 10, "default", &msg, 1));

    ASSERT_EQ(ctrl.setActivityEnabled(KO_ACTIVITY_LEVEL_SUBCLIENT, 10, 1, false, "disk swap"), 0);
    EXPECT_FALSE(ctrl.isActivityEnabled(1, 1, 33, "alpha", 10, "default", &msg, 1));
    EXPECT_EQ(msg.GetMessageID(), KO_MSG_ACTIVITY_DISABLED_SUBCLIENT);
    EXPECT_EQ(msg.GetArguments().values, (std::vector<std::string>{"1", "default", "alpha", "disk swap"}));
    EXPECT_TRUE(ctrl.isActivityEnabled(1, 1, 33, "alpha", 11, "logs", &msg, 1)) << "another subclient";
    EXPECT_TRUE(ctrl.isActivityEnabled(2, 1, 33, "alpha", 10, "default", &msg, 1)) << "another activity";

    ASSERT_EQ(ctrl.setActivityEnabled(KO_ACTIVITY_LEVEL_CLIENT, 1, 1, false, "maintenance"), 0);
    EXPECT_FALSE(ctrl.isActivityEnabled(1, 1, 33, "", 11, "logs", &msg, 1));
    EXPECT_EQ(msg.GetMessageID(), KO_MSG_ACTIVITY_DISABLED_CLIENT);
    EXPECT_EQ(msg.GetArguments().values, (std::vector<std::string>{"1", "1", "maintenance"}))
        << "no client name given: its id";
    EXPECT_TRUE(ctrl.isActivityEnabled(1, 3, 33, "gamma", 0, "", &msg, 1));

    bool enabled = false;
    EXPECT_EQ(ctrl.isServerEnabled(12, enabled), 0);
    EXPECT_TRUE(enabled);
    ASSERT_EQ(ctrl.setActivityEnabled(KO_ACTIVITY_LEVEL_SERVER, 0, 1, false, "", 4242), 0);
    ASSERT_EQ(ctrl.setActivityEnabled(KO_ACTIVITY_LEVEL_SERVER, 0, 12, false), 0);
    EXPECT_EQ(ctrl.isServerEnabled(12, enabled), 0);
    EXPECT_FALSE(enabled);
    EXPECT_FALSE(ctrl.isActivityEnabled(1, 3, 33, "gamma", 0, "", &msg, 1));
    EXPECT_EQ(msg.GetMessageID(), 4242) << "a setting's own message wins over the default";

    // Disabling twice keeps one setting with the new reason; enabling removes it.
    ASSERT_EQ(ctrl.setActivityEnabled(KO_ACTIVITY_LEVEL_CLIENT, 1, 1, false, "moved"), 0);
    std::vector<KOActivitySetting> settings;
    ASSERT_EQ(ctrl.getSettings(settings), 0);
    ASSERT_EQ(settings.size(), 4u);
    EXPECT_EQ(settings[2].level, KO_ACTIVITY_LEVEL_CLIENT);
    EXPECT_EQ(settings[2].reason, "moved");
    ASSERT_EQ(ctrl.setActivityEnabled(KO_ACTIVITY_LEVEL_SERVER, 0, 1, true), 0);
    ASSERT_EQ(ctrl.setActivityEnabled(KO_ACTIVITY_LEVEL_CLIENT, 1, 1, true), 0);
    ASSERT_EQ(ctrl.setActivityEnabled(KO_ACTIVITY_LEVEL_SUBCLIENT, 10, 1, true), 0);
    EXPECT_TRUE(ctrl.isActivityEnabled(1, 1, 33, "alpha", 10, "default", &msg, 1));
    EXPECT_EQ(ctrl.setActivityEnabled(KO_ACTIVITY_LEVEL_CLIENT, 99, 1, false), KO_SRV_NOT_FOUND);
    EXPECT_EQ(ctrl.setActivityEnabled(KO_ACTIVITY_LEVEL_SUBCLIENT, 99, 1, false), KO_SRV_NOT_FOUND);
}

TEST_P(ServicesTest, MessagesByLocaleFallBackToEnglishThenToTheId) {
    char buf[1024];
    EvEvent ev("test");
    ev << "1"
       << "alpha"
       << "maintenance";
    ev.setLocaleId(7);
    EXPECT_EQ(ev.evPrintf(KO_MSG_ACTIVITY_DISABLED_CLIENT, buf, sizeof buf, 0), 0);
    EXPECT_STREQ(buf, "Aktivitaet [1] ist auf Client [alpha] gesperrt. maintenance (100%)");
    ev.setLocaleId(9);
    EXPECT_EQ(ev.evPrintf(KO_MSG_ACTIVITY_DISABLED_CLIENT, buf, sizeof buf, 0), 0);
    EXPECT_STREQ(buf, "Activity [1] is disabled on client [alpha]. maintenance");
    EXPECT_EQ(ev.evPrintf(KO_MSG_ACTIVITY_DISABLED_SERVER, buf, 20, 0), 0);
    EXPECT_STREQ(buf, "Activity [1] is dis") << "cut to the buffer";
    EXPECT_NE(ev.evPrintf(777, buf, sizeof buf, 0), 0);
    EXPECT_STREQ(buf, "777");

    // An argument that looks like a placeholder is inserted as text, never expanded.
    EvEvent hostile("test");
    hostile << "%2"
            << "x";
    EXPECT_EQ(hostile.evPrintf(KO_MSG_ACTIVITY_DISABLED_SERVER, buf, sizeof buf, 0), 0);
    EXPECT_STREQ(buf, "Activity [%2] is disabled on the server. x");
}

TEST_P(ServicesTest, RunningJobsConflictsAndTheLocalInstallation) {
    KOManageDBForJM jm;
    std::list<long long> jobs{7};
    int err = -1;
    ASSERT_TRUE(jm.getConflictingNomadJobs(0, 4, 10, 1, jobs, nullptr, 0, false, &err));
    EXPECT_EQ(err, 0);
    EXPECT_EQ(jobs, (std::list<long long>{7, 501})) << "appended after what the caller had";
    jobs.clear();
    ASSERT_TRUE(jm.getConflictingNomadJobs(0, 4, 10, 1, jobs, nullptr, 0, true, nullptr));
    EXPECT_EQ(jobs, (std::list<long long>{502, 501})) << "the client's jobs too, oldest first";
    jobs.clear();
    ASSERT_TRUE(jm.getConflictingNomadJobs(501, 4, 10, 1, jobs, nullptr, 5, true, nullptr));
    EXPECT_TRUE(jobs.empty()) << "another installation";

    EXPECT_TRUE(jm.areJobsRunningForClient(1, 0, 7, false, false, false, false));
    EXPECT_FALSE(jm.areJobsRunningForClient(2, 0, 0, false, false, false, false));
    EXPECT_FALSE(jm.areJobsRunningForClient(1, 29, 0, false, false, false, false));
    EXPECT_TRUE(jm.areJobsRunningForClient(3, 0, 0, false, false, false, false));
    EXPECT_FALSE(jm.areJobsRunningForClient(3, 0, 0, false, false, true, false)) << "only a suspended job";
    EXPECT_FALSE(jm.areJobsRunningForClient(3, 0, 0, false, false, false, true)) << "no backup";
    EXPECT_EQ(jm.getDefaultOrbisID(), 7u);

    std::vector<KORunningJobInfo> running;
    ASSERT_EQ(jm.getRunningJobs(running), 0);
    ASSERT_EQ(running.size(), 3u);
    EXPECT_EQ(running[0].jobId, 502);
}

TEST_P(ServicesTest, ApplicationEntitiesAndInstanceTypes) {
    std::unique_ptr<KOClient> client = ApplicationId(KO_ENTITY_SUBCLIENT, 10).getClient(nullptr);
    ASSERT_NE(client, nullptr);
    EXPECT_EQ(client->getClientId(), 1u);
    EXPECT_EQ(ApplicationId(KO_ENTITY_SUBCLIENT, 99).getClient(nullptr), nullptr);
    EXPECT_EQ(ApplicationId(1, 10).getClient(nullptr), nullptr) << "only subclients hand out a client";
    std::unique_ptr<BackupSet> set = ApplicationId(KO_ENTITY_SUBCLIENT, 10).getBackupSet(nullptr);
    ASSERT_NE(set, nullptr);
    int owner = 0;
    EXPECT_EQ(set->getOwnerUserId(owner, nullptr), 0);
    EXPECT_EQ(owner, 42);
    EXPECT_EQ(BackupSet(1001).getOwnerUserId(owner, nullptr), KO_SRV_NOT_FOUND);
    EXPECT_EQ(ApplicationId(KO_ENTITY_SUBCLIENT, 20).getBackupSet(nullptr), nullptr) << "no backup set";

    int type = 0;
    EXPECT_EQ(DistributedClusterInstance(100).getClusterType(type, nullptr), 0);
    EXPECT_EQ(type, 15);
    EXPECT_EQ(CloudAppsInstance(100).getInstanceType(type, nullptr), 0);
    EXPECT_EQ(type, 33);
    EXPECT_EQ(CloudAppsInstance(5).getInstanceType(type, nullptr), KO_SRV_NOT_FOUND);
}

TASKDB_STORE_SUITE(ServicesTest);

}  // namespace
