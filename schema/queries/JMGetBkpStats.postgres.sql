WITH scope AS MATERIALIZED (
  SELECT a.userId, a.localeId, a.complianceId,
    CASE WHEN a.userId = 0 THEN '' ELSE COALESCE((SELECT MAX(u.login) FROM UMUsers u WHERE u.id = a.userId), '') END AS userName,
    COALESCE((SELECT MAX(CAST(c.value AS INTEGER)) FROM MMConfigs c
              WHERE c.name = 'DA_CONFIG_HONOR_STORAGE_POLICY_RETENTION_FOR_CONTENT_STORE_DATA'), 0) AS honorRetention,
    CASE WHEN (a.queryType & 2050) <> 0 THEN 0 ELSE 1 END AS subclientQuery,
    CASE WHEN (a.queryType & 512) <> 0 THEN 1 ELSE 0 END AS serverLevel,
    COALESCE((SELECT MAX(CAST(g.value AS INTEGER)) FROM TSGlobalParam g WHERE g.name = 'showVMLevelJobsAtMSLevel'), 0) AS showVmJobs
  FROM (SELECT %d AS userId, %d AS localeId, %d AS complianceId, %d AS queryType) a
),
filteredJobs AS MATERIALIZED (
  SELECT %s * FROM (
    (SELECT JMBkpStats.jobId AS t_jobID, JMBkpStats.orbisId AS t_orbisId, JMBkpStats.servStartDate AS t_servStartDate
    FROM JMBkpStats
    WHERE EXISTS (SELECT 1 FROM scope
    CROSS JOIN APP_Application
    CROSS JOIN JMJobStats
    WHERE APP_Application.id = JMBkpStats.appId
      AND JMJobStats.jobId = JMBkpStats.jobId AND JMJobStats.orbisId = JMBkpStats.orbisId
      AND (scope.complianceId = 0 OR EXISTS (SELECT 1 FROM JMCompliancePolicyQualifiedJobs q
           WHERE q.jobId = JMBkpStats.jobId AND q.complianceId = scope.complianceId AND q.status <> 4))
      AND NOT EXISTS (SELECT 1 FROM JMPreparedJob p WHERE p.jobId = JMBkpStats.jobId AND p.status = 3)
      AND ((%w AND %w
            AND (scope.userId = 0 OR JMBkpStats.username = scope.userName
                 OR isBkpJobVisible(scope.userId, JMBkpStats.orbisId, APP_Application.clientId, APP_Application.appTypeId,
                                    APP_Application.instance, APP_Application.backupSet, JMBkpStats.appId) = 1))
        OR (scope.subclientQuery <> 1 AND (scope.serverLevel = 0 OR scope.showVmJobs = 1)
            AND (JMBkpStats.bkpAttributesEx & 1073741824) = 0
            AND (JMBkpStats.bkpAttributesEx & 72057594037927936) = 0
            AND EXISTS (SELECT 1 FROM JMMorrowUpdateStatus
                WHERE JMMorrowUpdateStatus.jobId = JMBkpStats.jobId AND JMMorrowUpdateStatus.orbisId = JMBkpStats.orbisId
                  AND %w
                  AND (scope.userId = 0 OR JMBkpStats.username = scope.userName
                       OR isBkpJobVisible(scope.userId, JMBkpStats.orbisId, APP_Application.clientId,
                                          APP_Application.appTypeId, APP_Application.instance, APP_Application.backupSet,
                                          JMBkpStats.appId) = 1
                       OR isClientVisible(scope.userId, JMMorrowUpdateStatus.clientId, 0, 0, 0, 0) = 1))
            AND %w)))
    ORDER BY JMBkpStats.servStartDate DESC)
    UNION ALL
    (SELECT JMAdminJobStatsTable.jobId, JMAdminJobStatsTable.orbisId, JMAdminJobStatsTable.servStartDate
    FROM JMAdminJobStatsTable
    WHERE EXISTS (SELECT 1 FROM scope
    CROSS JOIN APP_Application
    CROSS JOIN JMJobStats
    WHERE scope.complianceId <> 0
      AND APP_Application.id = JMAdminJobStatsTable.appId AND APP_Application.orbisId = 2
      AND APP_Application.appTypeId NOT IN (93, 105, 600, 601, 602, 603, 604, 605, 606, 607)
      AND JMJobStats.jobId = JMAdminJobStatsTable.jobId AND JMJobStats.orbisId = JMAdminJobStatsTable.orbisId
      AND JMJobStats.dataStatus IN (0, 3)
      AND JMAdminJobStatsTable.opType <> 60
      AND (scope.userId = 0 OR JMAdminJobStatsTable.username = scope.userName)
      AND EXISTS (SELECT 1 FROM JMCompliancePolicyQualifiedJobs q
           WHERE q.jobId = JMAdminJobStatsTable.jobId AND q.complianceId = scope.complianceId AND q.status <> 4))
    ORDER BY JMAdminJobStatsTable.servStartDate DESC)
  ) candidates
  ORDER BY t_servStartDate DESC
),
jobs AS MATERIALIZED (
  SELECT 1 AS branch, JMBkpStats.jobId, JMBkpStats.orbisId, JMBkpStats.appId,
    JMJobStats.opType AS jobOpType, JMJobStats.subOpType,
    CASE WHEN (JMBkpStats.bkpAttributesEx & 512) <> 0 AND JMBkpStats.targetClientId > 0 THEN JMBkpStats.targetClientId
         ELSE APP_Application.clientId END AS clientId,
    CASE WHEN (JMBkpStats.bkpAttributesEx & 512) <> 0 THEN JMBkpStats.targetClientId ELSE APP_Application.clientId END AS nameClientId,
    APP_Application.appTypeId AS appType, APP_Application.instance, APP_Application.backupSet,
    APP_Application.subclientName, APP_Application.subclientStatus,
    JMBkpStats.numStreams, JMBkpStats.numStreamsRequested,
    JMBkpStats.dataArchGrpId, JMBkpStats.logArchGrpId, JMBkpStats.diffArchGrpId,
    JMBkpStats.bkpLevel, JMBkpStats.secondaryBkpLevel, JMBkpStats.jobIdPrepared, JMBkpStats.jobIdActedOn,
    JMBkpStats.fromTime, JMBkpStats.toTime, JMBkpStats.status, JMJobStats.displayStatus, JMBkpStats.duration,
    JMBkpStats.servStartDate, JMBkpStats.servEndDate, JMBkpStats.uncompBytes, JMBkpStats.compBytes,
    JMBkpStats.nwTransBytes, JMBkpStats.totalBackupSize, JMBkpStats.numObjects, JMBkpStats.numFolders,
    JMJobStats.initFrom, JMBkpStats.version, JMJobStats.subTaskId, JMBkpStats.failureReason, JMBkpStats.bkpOptions,
    JMBkpStats.scanFileFailures, JMBkpStats.scanFolderFailures, JMBkpStats.backupFileFailures,
    JMBkpStats.backupFolderFailures, JMBkpStats.oraSubLevel, JMBkpStats.totalWriteTime, JMBkpStats.cloudId,
    JMBkpStats.username, JMBkpStats.bkpattributes, JMBkpStats.dataStatus, JMBkpStats.filesToXfer,
    JMBkpStats.dataBackedUp, JMBkpStats.logsBackedUp, JMBkpStats.failureErrorCode, JMBkpStats.totSkippedObjects,
    JMBkpStats.scanType, JMBkpStats.bkpAttributesEx, JMBkpStats.jobReferenceTime, JMBkpStats.scanTypeChangeReason,
    JMBkpStats.foreignToken, JMBkpStats.jobDescription, JMBkpStats.xmlJobInfo
  FROM filteredJobs f
  CROSS JOIN scope
  CROSS JOIN JMBkpStats
  CROSS JOIN APP_Application
  CROSS JOIN JMJobStats
  WHERE JMBkpStats.jobId = f.t_jobID AND JMBkpStats.orbisId = f.t_orbisId
    AND APP_Application.id = JMBkpStats.appId AND %w
    AND JMJobStats.jobId = JMBkpStats.jobId AND JMJobStats.orbisId = JMBkpStats.orbisId AND %w
    AND (scope.complianceId = 0 OR EXISTS (SELECT 1 FROM JMCompliancePolicyQualifiedJobs q
         WHERE q.jobId = JMBkpStats.jobId AND q.complianceId = scope.complianceId AND q.status <> 4))
    AND NOT EXISTS (SELECT 1 FROM JMPreparedJob p WHERE p.jobId = JMBkpStats.jobId AND p.status = 3)
  UNION ALL
  SELECT 2, JMBkpStats.jobId, JMBkpStats.orbisId, JMBkpStats.appId,
    JMJobStats.opType, JMJobStats.subOpType,
    CASE WHEN (JMBkpStats.bkpAttributesEx & 512) <> 0 AND JMBkpStats.targetClientId > 0 THEN JMBkpStats.targetClientId
         ELSE APP_Application.clientId END,
    CASE WHEN (JMBkpStats.bkpAttributesEx & 512) <> 0 THEN JMBkpStats.targetClientId ELSE APP_Application.clientId END,
    APP_Application.appTypeId, APP_Application.instance, APP_Application.backupSet,
    APP_Application.subclientName, APP_Application.subclientStatus,
    JMBkpStats.numStreams, JMBkpStats.numStreamsRequested,
    JMBkpStats.dataArchGrpId, JMBkpStats.logArchGrpId, JMBkpStats.diffArchGrpId,
    JMBkpStats.bkpLevel, JMBkpStats.secondaryBkpLevel, JMBkpStats.jobIdPrepared, JMBkpStats.jobIdActedOn,
    JMBkpStats.fromTime, JMBkpStats.toTime, JMBkpStats.status, JMJobStats.displayStatus, JMBkpStats.duration,
    JMBkpStats.servStartDate, JMBkpStats.servEndDate, JMBkpStats.uncompBytes, JMBkpStats.compBytes,
    JMBkpStats.nwTransBytes, JMBkpStats.totalBackupSize, JMBkpStats.numObjects, JMBkpStats.numFolders,
    JMJobStats.initFrom, JMBkpStats.version, JMJobStats.subTaskId, JMBkpStats.failureReason, JMBkpStats.bkpOptions,
    JMBkpStats.scanFileFailures, JMBkpStats.scanFolderFailures, JMBkpStats.backupFileFailures,
    JMBkpStats.backupFolderFailures, JMBkpStats.oraSubLevel, JMBkpStats.totalWriteTime, JMBkpStats.cloudId,
    JMBkpStats.username, JMBkpStats.bkpattributes, JMBkpStats.dataStatus, JMBkpStats.filesToXfer,
    JMBkpStats.dataBackedUp, JMBkpStats.logsBackedUp, JMBkpStats.failureErrorCode, JMBkpStats.totSkippedObjects,
    JMBkpStats.scanType, JMBkpStats.bkpAttributesEx, JMBkpStats.jobReferenceTime, JMBkpStats.scanTypeChangeReason,
    JMBkpStats.foreignToken, JMBkpStats.jobDescription, JMBkpStats.xmlJobInfo
  FROM filteredJobs f
  CROSS JOIN scope
  CROSS JOIN JMBkpStats
  CROSS JOIN APP_Application
  CROSS JOIN JMMorrowUpdateStatus
  CROSS JOIN JMJobStats
  WHERE scope.subclientQuery <> 1 AND (scope.serverLevel = 0 OR scope.showVmJobs = 1)
    AND JMBkpStats.jobId = f.t_jobID AND JMBkpStats.orbisId = f.t_orbisId
    AND APP_Application.id = JMBkpStats.appId
    AND JMMorrowUpdateStatus.jobId = JMBkpStats.jobId AND JMMorrowUpdateStatus.orbisId = JMBkpStats.orbisId AND %w
    AND JMJobStats.jobId = JMBkpStats.jobId AND JMJobStats.orbisId = JMBkpStats.orbisId AND %w
    AND (JMBkpStats.bkpAttributesEx & 1073741824) = 0
    AND (JMBkpStats.bkpAttributesEx & 72057594037927936) = 0
    AND (scope.complianceId = 0 OR EXISTS (SELECT 1 FROM JMCompliancePolicyQualifiedJobs q
         WHERE q.jobId = JMBkpStats.jobId AND q.complianceId = scope.complianceId AND q.status <> 4))
    AND NOT EXISTS (SELECT 1 FROM JMPreparedJob p WHERE p.jobId = JMBkpStats.jobId AND p.status = 3)
  UNION ALL
  SELECT 3, j.jobId, j.orbisId, j.appId, JMJobStats.opType, JMJobStats.subOpType,
    APP_Application.clientId, APP_Application.clientId, APP_Application.appTypeId, APP_Application.instance,
    APP_Application.backupSet, APP_Application.subclientName, APP_Application.subclientStatus,
    0, 0, j.archGrpId, j.archGrpId, j.archGrpId,
    0, 0, 0, 0, 0, 0, j.status, j.status, j.duration, j.servStartDate, j.servEndDate,
    0, 0, 0, j.totalBackupSize, j.numObjects, 0, j.initFrom, 0, j.subTaskId, j.failureReason, 0,
    0, 0, 0, 0, 0, 0, 0, j.username, 0, JMJobStats.dataStatus, 0, 0, 0, j.failureErrorCode, 0, 0, 0, 0,
    '', '', j.jobDescription, j.xmlJobInfo
  FROM filteredJobs f
  CROSS JOIN scope
  CROSS JOIN JMAdminJobStatsTable j
  CROSS JOIN APP_Application
  CROSS JOIN JMJobStats
  WHERE scope.complianceId <> 0
    AND j.jobId = f.t_jobID AND j.orbisId = f.t_orbisId
    AND APP_Application.id = j.appId AND APP_Application.orbisId = 2
    AND APP_Application.appTypeId NOT IN (93, 105, 600, 601, 602, 603, 604, 605, 606, 607)
    AND JMJobStats.jobId = j.jobId AND JMJobStats.orbisId = j.orbisId AND JMJobStats.dataStatus IN (0, 3)
    AND j.optype <> 60
    AND EXISTS (SELECT 1 FROM JMCompliancePolicyQualifiedJobs q
         WHERE q.jobId = j.jobId AND q.complianceId = scope.complianceId AND q.status <> 4)
)
SELECT DISTINCT
  r.jobId AS jobID,
  r.appId AS appID,
  CASE WHEN r.subOpType > 0 THEN r.subOpType ELSE r.jobOpType END AS opType,
  r.orbisId AS orbisId,
  COALESCE(o.number, 0) AS orbisNumber,
  COALESCE(o.aliasName, '') AS orbisName,
  r.clientId AS clientId,
  COALESCE(c.name, '') AS clientName,
  r.appType AS appType,
  COALESCE(qt.name, '') AS appTypeName,
  r.instance AS instance,
  COALESCE(inst.name, '') AS instanceName,
  r.backupSet AS backupSet,
  COALESCE(bs.name, '') AS backupSetName,
  r.appId AS subclient,
  COALESCE(r.subclientName, '') AS subclientName,
  r.numStreams AS numStreams,
  r.numStreamsRequested AS numStreamsRequested,
  1 AS numCopies,
  r.dataArchGrpId AS dataArchGrpId,
  CASE WHEN r.branch <> 3 AND r.appType IN (47, 50)
         THEN COALESCE((SELECT MAX(qp.name) FROM QRPolicy qp WHERE qp.id = r.dataArchGrpId), 'Unavailable')
       WHEN r.dataArchGrpId = 0 THEN ''
       ELSE COALESCE((SELECT MAX(ag.name) FROM archGroup ag WHERE ag.id = r.dataArchGrpId), 'Unavailable') END AS dataArchGrpName,
  r.logArchGrpId AS logArchGrpId,
  CASE WHEN r.logArchGrpId = 0 THEN ''
       ELSE COALESCE((SELECT MAX(ag.name) FROM archGroup ag WHERE ag.id = r.logArchGrpId), 'Unavailable') END AS logArchGrpName,
  r.diffArchGrpId AS diffArchGrpId,
  CASE WHEN r.diffArchGrpId = 0 THEN ''
       ELSE COALESCE((SELECT MAX(ag.name) FROM archGroup ag WHERE ag.id = r.diffArchGrpId), 'Unavailable') END AS diffArchGrpName,
  r.bkpLevel AS bkpLevel,
  r.secondaryBkpLevel AS secondaryBkpLevel,
  r.jobIdPrepared AS jobIdPrepared,
  r.jobIdActedOn AS jobIdActedOn,
  r.fromTime AS fromTime,
  r.toTime AS toTime,
  r.status AS status,
  r.displayStatus AS displayStatus,
  CASE WHEN r.appType = 84 THEN COALESCE((SELECT MIN(l.childJobId) FROM JMJobDataLink l WHERE l.parentJobId = r.jobId), 0)
       ELSE 0 END AS childJobId,
  CASE WHEN r.appType = 84 THEN COALESCE((SELECT MAX(cj.status) FROM JMBkpStats cj WHERE cj.jobId =
         (SELECT MIN(l.childJobId) FROM JMJobDataLink l WHERE l.parentJobId = r.jobId)), 0)
       ELSE 0 END AS childJobStatus,
  r.duration AS duration,
  r.servStartDate AS servStartDate,
  r.servEndDate AS servEndDate,
  r.uncompBytes AS uncompBytes,
  r.compBytes AS compBytes,
  r.nwTransBytes AS nwTransBytes,
  COALESCE((SELECT MAX(jo.intValue) FROM JMJobOptions jo
            WHERE jo.jobId = r.jobId AND jo.orbisId = r.orbisId AND jo.attributeId = 73), 0) AS sizeOnMedia,
  r.totalBackupSize AS totalBackupSize,
  r.numObjects AS numObjects,
  r.numFolders AS numFolders,
  r.initFrom AS initFrom,
  r.version AS version,
  r.subTaskId AS subTaskId,
  COALESCE(JMGetLocalizedMessageFunc(scope.localeId, r.failureReason), '') AS failureReason,
  r.bkpOptions AS bkpOptions,
  r.scanFileFailures AS scanFileFailures,
  r.scanFolderFailures AS scanFolderFailures,
  r.backupFileFailures AS backupFileFailures,
  r.backupFolderFailures AS backupFolderFailures,
  r.oraSubLevel AS oraSubLevel,
  r.totalWriteTime AS totalWriteTime,
  r.cloudId AS cloudId,
  COALESCE((SELECT MAX(ds.retentionFlags) FROM JMJobDataStats ds WHERE ds.jobId = r.jobId AND ds.orbisId = r.orbisId), 0) AS retentionFlags,
  CASE WHEN EXISTS (SELECT 1 FROM JMJobDataStats ds WHERE ds.jobId = r.jobId AND ds.orbisId = r.orbisId
                    AND (ds.disabled & 2) <> 0) THEN 1 ELSE 0 END AS disabled,
  CASE WHEN r.appType IN (131, 124) AND scope.honorRetention = 0 THEN -1
       WHEN r.subOpType BETWEEN 144 AND 147 THEN r.servStartDate
       ELSE GetMaxRetentionTime(r.jobId, r.orbisId, r.servStartDate) END AS retainedUntil,
  CASE WHEN r.jobOpType = 60 THEN COALESCE((SELECT MAX(wf.processedJobId) FROM JMJobWF wf WHERE wf.childJobId = r.jobId), 0)
       ELSE 0 END AS snapJobID,
  CASE WHEN r.jobOpType = 60 THEN COALESCE((SELECT MAX(wf.jobId) FROM JMJobWF wf WHERE wf.childJobId = r.jobId), 0)
       ELSE 0 END AS snapWFJobID,
  CASE WHEN r.jobOpType IN (59, 65) AND r.subOpType <> 145
            AND (r.branch <> 2 OR NOT EXISTS (SELECT 1 FROM JMVSAAppJobLink vl WHERE vl.jobId = r.jobId))
         THEN COALESCE((SELECT MAX(sn.materializationStatus) FROM JMSnapshot sn WHERE sn.jobId = r.jobId
                        AND (sn.enabled = 1 OR sn.materializationStatus = 100)), 0)
       ELSE -1 END AS snapToTapeStatus,
  CASE WHEN r.jobOpType IN (59, 65) AND r.subOpType <> 145
            AND ((r.branch <> 2 AND IsDeferredCatalogSupported(r.appId) = 1)
                 OR (r.branch = 2 AND (',' || GetDeferredCatalogSupportedAppTypes() || ',') LIKE '%%,' || CAST(r.appType AS TEXT) || ',%%'))
         THEN COALESCE((SELECT MAX(sn.catalogStatus) FROM JMSnapshot sn WHERE sn.jobId = r.jobId
                        AND (sn.enabled = 1 OR sn.catalogStatus = 100)), 0)
       ELSE -1 END AS snapDeferredCatalogStatus,
  CASE WHEN (r.bkpAttributesEx & 67108864) <> 0
         THEN COALESCE((SELECT MAX(l.parentJobId) FROM JMJobDataLink l WHERE l.childJobId = r.jobId AND l.linkType = 7), 0)
       ELSE 0 END AS parentJobId,
  COALESCE(r.username, '') AS username,
  r.bkpattributes AS bkpattributes,
  r.dataStatus AS dataStatus,
  r.filesToXfer AS filesToXfer,
  r.dataBackedUp AS dataBackedUp,
  r.logsBackedUp AS logsBackedUp,
  COALESCE(afci.AFCIFlags, 0) AS AFCIFlags,
  CASE WHEN (r.subclientStatus & 131072) <> 0 THEN 512 ELSE COALESCE(afci.AFFLAFlags, 0) END AS AFFLAFlags,
  COALESCE(afci.AFCICloudId, 0) AS AFCICloudId,
  COALESCE(afci.AFCITime, 0) AS AFCITime,
  r.failureErrorCode AS failureErrorCode,
  r.totSkippedObjects AS totSkippedObjects,
  r.scanType AS scanType,
  r.bkpAttributesEx AS bkpAttributesEx,
  r.jobReferenceTime AS jobReferenceTime,
  COALESCE(st.taskId, 0) AS taskId,
  COALESCE(st.subTaskName, '') AS subTaskName,
  COALESCE((SELECT MAX(t.taskName) FROM TM_Task t WHERE t.taskId = st.taskId), '') AS taskName,
  CASE WHEN r.appType = 104 THEN COALESCE(getMysqlProxyAndInstance(r.jobId, r.appId), '') ELSE '' END AS proxyandinstance,
  COALESCE(JMGetLocalizedMessageFunc(scope.localeId, r.scanTypeChangeReason), '') AS scanTypeChangeReason,
  COALESCE(r.foreignToken, '') AS foreignToken,
  COALESCE(
    (SELECT string_agg(lib.aliasName, ',' ORDER BY lib.aliasName) FROM (SELECT DISTINCT ml.aliasName FROM JMJObResourceHistory rh
       JOIN MMMasterPool mp ON mp.masterPoolId = rh.masterPoolId JOIN MMLibrary ml ON ml.libraryId = mp.libraryId
       WHERE rh.jobId = r.jobId) lib),
    (SELECT string_agg(lib.aliasName, ',' ORDER BY lib.aliasName) FROM (SELECT DISTINCT ml.aliasName FROM JMMisc mi
       JOIN SplitString(JMXmlAttribute(mi.value, '/jobStatsCache/libraryList/@list'), ',') ids ON 1=1
       JOIN MMLibrary ml ON ml.libraryId = CAST(ids.value AS INTEGER)
       WHERE mi.jobId = r.jobId AND mi.itemType = 74) lib),
    '') AS LibraryName,
  CASE WHEN r.cloudId = 0 THEN '' ELSE COALESCE((SELECT MAX(cp.stringVal) FROM app_componentProp cp
       WHERE cp.componentId = 2 AND cp.entityId = r.cloudId AND cp.propertyTypeId = 1 AND cp.modified = 0), '') END AS cloudName,
  CASE WHEN COALESCE(afci.AFCICloudId, 0) = 0 THEN '' ELSE COALESCE((SELECT MAX(cp.stringVal) FROM app_componentProp cp
       WHERE cp.componentId = 2 AND cp.entityId = afci.AFCICloudId AND cp.propertyTypeId = 1 AND cp.modified = 0), '') END AS AFCICloudName,
  COALESCE(JMGetKBArticlesForFailures(r.failureReason, 0), '') AS failureKBArticle,
  COALESCE(r.jobDescription, '') AS jobDescription,
  COALESCE(r.xmlJobInfo, '') AS xmlJobInfo,
  CASE WHEN scope.complianceId = 0 THEN '' ELSE COALESCE((SELECT MAX(q.reason) FROM JMCompliancePolicyQualifiedJobs q
       WHERE q.jobId = r.jobId AND q.complianceId = scope.complianceId), '') END AS compPolicyFailReason,
  CASE WHEN EXISTS (SELECT 1 FROM APP_SubClientProp sp WHERE sp.componentNameId = r.appId
                    AND sp.attrName = 'Index SubClient' AND sp.attrVal <> '0' AND sp.modified = 0) THEN 1 ELSE 0 END AS indexBackupJob,
  COALESCE((SELECT MAX(mi.intValue) FROM JMMisc mi WHERE mi.jobId = r.jobId AND mi.itemType = 71), 0) AS encrypted,
  COALESCE(c.displayName, '') AS clientDisplayName,
  COALESCE((SELECT MAX(jo.stringValue) FROM JMJobOptions jo
            WHERE jo.jobId = r.jobId AND jo.orbisId = r.orbisId AND jo.attributeId = 86), '') AS jobThroughPut,
  COALESCE(CASE WHEN r.branch <> 2 AND (r.bkpAttributesEx & 1073741824) <> 0 THEN
      (SELECT CAST(SUM(CAST(split_part(jo.stringValue, ':', 1) AS BIGINT)) AS TEXT) || ':' ||
              CAST(SUM(CAST(split_part(jo.stringValue, ':', 2) AS BIGINT)) AS TEXT) || ':' ||
              CAST(SUM(CAST(split_part(jo.stringValue, ':', 3) AS BIGINT)) AS TEXT) || ':' ||
              CAST(SUM(CAST(split_part(jo.stringValue, ':', 4) AS BIGINT)) AS TEXT)
       FROM JMJobDataLink l JOIN JMJobOptions jo ON jo.jobId = l.childJobId AND jo.attributeId = 91
       WHERE l.parentJobId = r.jobId)
    ELSE (SELECT MAX(jo.stringValue) FROM JMJobOptions jo
          WHERE jo.jobId = r.jobId AND jo.orbisId = r.orbisId AND jo.attributeId = 91) END, '') AS timeThroughPut,
  CASE WHEN vm.present = 1 THEN vm.total ELSE 0 END AS totalClients,
  CASE WHEN vm.present = 1 THEN vm.s0 ELSE 0 END AS successfullClients,
  CASE WHEN vm.present = 1 THEN vm.s6 ELSE 0 END AS skippedClients,
  CASE WHEN vm.present = 1 THEN vm.pending ELSE 0 END AS pendingClients,
  CASE WHEN vm.present = 1 THEN vm.s1 ELSE 0 END AS failedClients,
  CASE WHEN vm.present = 1 THEN vm.s3 ELSE 0 END AS partialSuccessClients,
  CASE WHEN vm.present = 1 THEN vm.s2 ELSE 0 END AS totalInProgressClients
FROM jobs r
CROSS JOIN scope
LEFT JOIN APP_Orbis o ON o.id = r.orbisId
LEFT JOIN APP_Client c ON c.id = r.nameClientId
LEFT JOIN APP_QuorinType qt ON qt.id = r.appType
LEFT JOIN APP_InstanceName inst ON inst.id = r.instance
LEFT JOIN APP_BackupSetName bs ON bs.id = r.backupSet
LEFT JOIN TM_SubTask st ON st.subTaskId = r.subTaskId AND r.subTaskId <> 0
LEFT JOIN (
  SELECT af.jobId AS jobId, af.orbisId AS orbisId, MAX(af.flags & 496) AS AFCIFlags, MAX(af.cloudId) AS AFCICloudId,
         MAX(af.contentIndexTime) AS AFCITime, MAX(fi.flags) AS AFFLAFlags
  FROM filteredJobs f JOIN archFile af ON af.jobId = f.t_jobID AND af.orbisId = f.t_orbisId
  LEFT JOIN archFLAIndexingInfo fi ON fi.archFileId = af.id
  GROUP BY af.jobId, af.orbisId
  HAVING MAX(af.cloudId) <> 0 OR COALESCE(MAX(fi.cloudId), 0) <> 0
) afci ON afci.jobId = r.jobId AND afci.orbisId = r.orbisId
LEFT JOIN (
  SELECT v.jobId AS jobId, v.orbisId AS orbisId, 1 AS present, COUNT(*) AS total,
         SUM(CASE WHEN v.attrVal IN ('4', '5', '7', '8') THEN 1 ELSE 0 END) AS pending,
         SUM(CASE WHEN v.attrVal = '0' THEN 1 ELSE 0 END) AS s0,
         SUM(CASE WHEN v.attrVal = '1' THEN 1 ELSE 0 END) AS s1,
         SUM(CASE WHEN v.attrVal = '2' THEN 1 ELSE 0 END) AS s2,
         SUM(CASE WHEN v.attrVal = '3' THEN 1 ELSE 0 END) AS s3,
         SUM(CASE WHEN v.attrVal = '6' THEN 1 ELSE 0 END) AS s6
  FROM filteredJobs f JOIN APP_VMProp v ON v.jobId = f.t_jobID AND v.orbisId = f.t_orbisId AND v.attrName = 'vmStatus'
  GROUP BY v.jobId, v.orbisId
) vm ON vm.jobId = r.jobId AND vm.orbisId = r.orbisId AND r.appType = 106
        AND (r.branch <> 2 OR (r.bkpAttributesEx & 2199023255552) <> 0)
ORDER BY servStartDate DESC, jobID DESC
