#include "jobstats/JobWorld.h"

#include "db/Wrappers.h"
#include "platform/db/DBtran.h"
#include "platform/db/DBtypes.h"

void JobWorldTest::addJob(int jobId, int subclient, int opType, int subOpType, long long attrEx,
                          int dataStatus, int status, const std::string& user) {
    const std::string id = std::to_string(jobId), start = std::to_string(startOf(jobId));
    exec(
        "INSERT INTO JMBkpStats (jobId, orbisId, appId, servStartDate, servEndDate, duration, status, "
        "dataStatus, "
        "bkpAttributesEx, username, bkpLevel, numStreams, totalBackupSize, numObjects, uncompBytes) VALUES "
        "(" +
        id + ", 2, " + std::to_string(subclient) + ", " + start + ", " + start + " + 60, 60, " +
        std::to_string(status) + ", " + std::to_string(dataStatus) + ", " + std::to_string(attrEx) + ", '" +
        user + "', 1, 2, " + id + "000, " + id + ", " + id + "00)");
    exec(
        "INSERT INTO JMJobStats (jobId, orbisId, opType, subOpType, status, displayStatus, dataStatus) "
        "VALUES (" +
        id + ", 2, " + std::to_string(opType) + ", " + std::to_string(subOpType) + ", " +
        std::to_string(status) + ", " + std::to_string(status) + ", " + std::to_string(dataStatus) + ")");
}

void JobWorldTest::SetUp() {
    StoreTest::SetUp();
    for (const char* sql : {
             "INSERT INTO APP_Orbis (id, number, aliasName) VALUES (2, 1002, 'cs-main')",
             "INSERT INTO APP_Client (id, name, displayName) VALUES (1, 'alpha', 'Alpha Host'), (2, 'beta', "
             "'Beta'), "
             "(3, 'gamma', 'Gamma'), (4, 'vm-one', 'VM One'), (5, 'vm-two', 'VM Two'), (6, 'target-host', "
             "'Target')",
             "INSERT INTO APP_QuorinType (id, name) VALUES (33, 'File System'), (47, 'Archiver'), "
             "(84, 'Replication'), (104, 'MySQL'), (106, 'Virtual Server'), (131, 'Cloud Apps'), "
             "(124, 'Mailbox'), (200, 'Admin')",
             "INSERT INTO APP_InstanceName (id, name) VALUES (1, 'default'), (2, 'mysql1')",
             "INSERT INTO APP_BackupSetName (id, name) VALUES (1, 'defaultBackupSet')",
             "INSERT INTO APP_Application (id, clientId, appTypeId, instance, backupSet, subclientName, "
             "subclientStatus, orbisId) VALUES (10, 1, 33, 1, 1, 'fs-default', 0, 2), "
             "(11, 1, 33, 1, 1, 'fs-indexed', 131072, 2), (12, 2, 47, 1, 1, 'archiver', 0, 2), "
             "(13, 2, 84, 1, 1, 'replication', 0, 2), (14, 3, 104, 2, 1, 'mysql', 0, 2), "
             "(15, 3, 106, 1, 1, 'vsa', 0, 2), (16, 1, 131, 1, 1, 'cloud', 0, 2), "
             "(17, 2, 124, 1, 1, 'mailbox', 0, 2), (18, 2, 200, 1, 1, 'admin', 0, 2), "
             "(19, 3, 33, 1, 1, 'gamma-fs', 0, 2)",
             "INSERT INTO APP_SubClientProp (componentNameId, attrName, attrVal, modified) VALUES "
             "(11, 'Index SubClient', '1', 0), (10, 'Index SubClient', '0', 0), (14, 'Proxy Client', '6', 0)",
             "INSERT INTO UMUsers (id, login) VALUES (7, 'carol'), (8, 'dave')",
             "INSERT INTO UMUserClientAssoc (userId, clientId) VALUES (7, 1)",
             "INSERT INTO UMUserClientGroupAssoc (userId, clientGroupId) VALUES (7, 30)",
             "INSERT INTO APP_ClientGroupAssoc (clientGroupId, clientId) VALUES (30, 2)",
             "INSERT INTO TSGlobalParam (name, value) VALUES ('DeferredCatalogSupportedAppTypes', '33, 22')",
             "INSERT INTO SRV_EventMessage (messageId, localeId, formatText, kbArticle) VALUES "
             "(9001, 0, 'Disk %1 is full', 'KB-9001'), (9001, 1, 'Disque %1 plein', 'KB-9001')",
             "INSERT INTO archGroup (id, name) VALUES (5, 'SP-Gold')",
             "INSERT INTO QRPolicy (id, name) VALUES (3, 'Archive Policy')",
             "INSERT INTO TM_Task (taskId, taskName) VALUES (50, 'Nightly')",
             "INSERT INTO TM_SubTask (subTaskId, subTaskName, taskId) VALUES (501, 'Incremental', 50)",
         })
        exec(sql);

    // Plain, failed, archived, indexed jobs on clients 1 to 3.
    for (int id : {131, 132, 133, 134, 135}) addJob(id, id % 2 ? 19 : 10);
    addJob(101, 10, 4, 0, 0, 0, 3);
    exec(
        "UPDATE JMBkpStats SET failureReason = '9001|C:', scanTypeChangeReason = 'full scan forced', "
        "dataArchGrpID = 5, logArchGrpID = 0, diffArchGrpID = 77 WHERE jobId = 101");
    addJob(102, 11);
    exec("INSERT INTO JMMisc (jobId, orbisId, itemType, intValue) VALUES (102, 2, 71, 1)");
    addJob(103, 12);
    exec("UPDATE JMBkpStats SET dataArchGrpID = 3 WHERE jobId = 103");
    // A replication job with its first child, a MySQL job with its proxy, a virtual server job
    // with the status of each machine.
    addJob(104, 13);
    addJob(140, 13, 4, 0, 0, 0, 3);
    exec("INSERT INTO JMJobDataLink (parentJobId, childJobId, orbisId, linkType) VALUES (104, 140, 2, 1)");
    addJob(105, 14);
    addJob(106, 15);
    exec(
        "INSERT INTO APP_VMProp (jobId, orbisId, attrName, attrVal) VALUES (106, 2, 'vmStatus', '0'), "
        "(106, 2, 'vmStatus', '0'), (106, 2, 'vmStatus', '1'), (106, 2, 'vmStatus', '2'), (106, 2, "
        "'vmStatus', '3'), "
        "(106, 2, 'vmStatus', '4'), (106, 2, 'vmStatus', '6'), (106, 2, 'vmStatus', '7'), (106, 2, 'other', "
        "'4')");
    // Retention: applications without retention, restore-like sub-operations, copies.
    addJob(107, 16);
    addJob(108, 17);
    addJob(109, 10, 59, 145);
    addJob(110, 10);
    exec(
        "INSERT INTO JMJobDataStats (jobId, orbisId, retentionFlags, disabled, retainedUntil) VALUES "
        "(110, 2, 3, 0, 1800000000), (110, 2, 8, 2, 1750000000)");
    // Snapshots, and the workflow job of a snapshot.
    addJob(111, 10, 59);
    addJob(112, 10, 65);
    exec(
        "INSERT INTO JMSnapshot (jobId, orbisId, materializationStatus, catalogStatus, enabled) VALUES "
        "(111, 2, 2, 5, 1), (112, 2, 100, 7, 0)");
    addJob(113, 10, 60);
    exec("INSERT INTO JMJobWF (jobId, orbisId, childJobId, processedJobId) VALUES (900, 2, 113, 111)");
    // A pseudo parent with two pseudo children whose times add up.
    addJob(114, 10, 4, 0, 0x40000000);
    addJob(115, 10, 4, 0, 0x4000000);
    addJob(116, 10, 4, 0, 0x4000000);
    exec(
        "INSERT INTO JMJobDataLink (parentJobId, childJobId, orbisId, linkType) VALUES (114, 115, 2, 7), "
        "(114, 116, 2, 7)");
    exec(
        "INSERT INTO JMJobOptions (jobId, orbisId, attributeId, stringValue) VALUES "
        "(115, 2, 91, '10:20:30:40'), (116, 2, 91, '1:2:3:4'), (114, 2, 91, '9:9:9:9')");
    // Backups to another client.
    addJob(117, 10, 4, 0, 0x200);
    exec("UPDATE JMBkpStats SET targetClientId = 6 WHERE jobId = 117");
    addJob(118, 10, 4, 0, 0x200);
    // Content indexing in the cloud, and the cloud of the job.
    addJob(119, 10);
    exec("UPDATE JMBkpStats SET cloudId = 7 WHERE jobId = 119");
    exec(
        "INSERT INTO archFile (id, jobId, orbisId, flags, cloudId, contentIndexTime) VALUES "
        "(1, 119, 2, 497, 7, 1700005000), (2, 119, 2, 16, 0, 1700004000)");
    exec("INSERT INTO archFLAIndexingInfo (archFileId, flags, cloudId) VALUES (1, 9, 0), (2, 3, 0)");
    exec(
        "INSERT INTO app_componentProp (componentId, entityId, propertyTypeId, stringVal, modified) VALUES "
        "(2, 7, 1, 'ci-cloud', 0), (2, 7, 1, 'old-name', 1)");
    // Libraries: from the resources the job used, else from its cached XML.
    addJob(120, 10);
    exec(
        "INSERT INTO MMLibrary (libraryId, aliasName) VALUES (1, 'LibB'), (2, 'LibA'), (3, 'LibC'), (4, "
        "'LibD')");
    exec("INSERT INTO MMMasterPool (masterPoolId, libraryId) VALUES (61, 1), (62, 2), (63, 2)");
    exec(
        "INSERT INTO JMJObResourceHistory (jobId, orbisId, masterPoolId) VALUES (120, 2, 61), (120, 2, 62), "
        "(120, 2, 63)");
    addJob(121, 10);
    exec(
        "INSERT INTO JMMisc (jobId, orbisId, itemType, value) VALUES (121, 2, 74, "
        "'<jobStatsCache><libraryList list=\"4, 3\"/></jobStatsCache>')");
    // Task names, job options, throughput of a plain job.
    addJob(122, 10);
    exec("UPDATE JMJobStats SET subTaskId = 501 WHERE jobId = 122");
    exec(
        "INSERT INTO JMJobOptions (jobId, orbisId, attributeId, intValue, stringValue) VALUES "
        "(122, 2, 73, 123456, ''), (122, 2, 86, 0, '12.5 GB/hr'), (122, 2, 91, 0, '5:6:7:8')");
    // Never listed: a job still being prepared. Listed for compliance 9 only: 126 (127 has status 4).
    addJob(125, 10);
    exec("INSERT INTO JMPreparedJob (jobId, orbisId, status) VALUES (125, 2, 3), (124, 2, 1)");
    addJob(124, 10);
    addJob(126, 10);
    addJob(127, 10);
    exec(
        "INSERT INTO JMCompliancePolicyQualifiedJobs (jobId, orbisId, complianceId, status, reason) VALUES "
        "(126, 2, 9, 0, 'legal hold'), (127, 2, 9, 4, 'excluded'), (201, 2, 9, 0, 'audit')");
    // Virtual-machine-level jobs: machines 4 and 5 of a virtual server job; a pseudo parent one.
    addJob(128, 15, 4, 0, 0x20000000000LL);
    exec(
        "INSERT INTO JMMorrowUpdateStatus (jobId, orbisId, clientId) VALUES (128, 2, 4), (128, 2, 5), (129, "
        "2, 4)");
    exec(
        "INSERT INTO APP_VMProp (jobId, orbisId, attrName, attrVal) VALUES (128, 2, 'vmStatus', '0'), "
        "(128, 2, 'vmStatus', '5')");
    addJob(129, 15, 4, 0, 0x40000000);
    // Carol's own job on a client she is not associated with; data status 1 (still being aged).
    addJob(130, 19, 4, 0, 0, 1, 1, "carol");
    // Administrative jobs.
    for (const char* sql : {
             "INSERT INTO JMAdminJobStatsTable (jobId, orbisId, appId, servStartDate, servEndDate, optype, "
             "username, "
             "status, duration, archGrpId, failureReason) VALUES (201, 2, 18, 1700010000, 1700010030, 31, "
             "'carol', 1, "
             "30, 5, ''), (202, 2, 18, 1700010100, 1700010130, 60, '', 1, 30, 0, ''), "
             "(203, 2, 18, 1700010200, 1700010230, 31, '', 1, 30, 0, '')",
             "INSERT INTO JMJobStats (jobId, orbisId, opType, subOpType, dataStatus) VALUES (201, 2, 31, 0, "
             "0), "
             "(202, 2, 60, 0, 0), (203, 2, 31, 0, 0)",
         })
        exec(sql);
}

std::vector<std::vector<std::string>> JobWorldTest::query(const Args& a) {
    std::vector<std::vector<std::string>> rows;
    DBtran tran;
    std::string err;
    EXPECT_EQ(tran.begin(&err), 0) << err;
    CursorWrapper<JMGetBkpStats, JMGetBkpStats_t> cursor("JobWorldTest", &tran);
    cursor.getCursor()->setValues(a.userId, a.localeId, a.complianceId, a.queryType, a.top.c_str(),
                                  a.t2.c_str(), a.t3.c_str(), a.t4.c_str(), a.t5.c_str(), a.t2.c_str(),
                                  a.t3.c_str(), a.t4.c_str(), a.t5.c_str());
    int rc = cursor.openCursor(&err);
    EXPECT_EQ(rc, 0) << err;
    while (rc == 0 && (rc = cursor.fetchCursor(true, &err)) == 0) {
        std::vector<std::string> row;
        for (int c = 0; c < JMGetBkpStats_t::kColumnCount; ++c)
            row.push_back(jobStatsCell(*cursor.getDataPtr(), c));
        rows.push_back(std::move(row));
    }
    EXPECT_EQ(rc, DB_NO_DATA) << err;
    cursor.closeCursor(&err);
    tran.rollback(&err);
    return rows;
}

std::vector<int> JobWorldTest::jobIds(const Args& a) {
    std::vector<int> ids;
    for (const auto& row : query(a)) ids.push_back(std::stoi(row[0]));
    return ids;
}
