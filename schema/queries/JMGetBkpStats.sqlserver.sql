SET NOCOUNT ON
SET TRANSACTION ISOLATION LEVEL READ UNCOMMITTED
DECLARE @userId INT = %d, @localeId INT = %d, @complianceId INT = %d, @queryType INT = %d
DECLARE @t1 NVARCHAR(MAX) = N'%s', @t2 NVARCHAR(MAX) = N'%s', @t3 NVARCHAR(MAX) = N'%s', @t4 NVARCHAR(MAX) = N'%s',
        @t5 NVARCHAR(MAX) = N'%s', @t6 NVARCHAR(MAX) = N'%s', @t7 NVARCHAR(MAX) = N'%s', @t8 NVARCHAR(MAX) = N'%s',
        @t9 NVARCHAR(MAX) = N'%s'
DECLARE @userName NVARCHAR(255) = N''
IF @userId <> 0 SELECT @userName = ISNULL((SELECT TOP 1 login FROM UMUsers WHERE id = @userId), N'')
DECLARE @honorRetention INT = ISNULL((SELECT TOP 1 CAST(value AS INT) FROM MMConfigs
        WHERE name = N'DA_CONFIG_HONOR_STORAGE_POLICY_RETENTION_FOR_CONTENT_STORE_DATA'), 0)
DECLARE @subclientQuery INT = CASE WHEN (@queryType & 2050) <> 0 THEN 0 ELSE 1 END
DECLARE @serverLevel INT = CASE WHEN (@queryType & 512) <> 0 THEN 1 ELSE 0 END
DECLARE @showVmJobs INT = ISNULL((SELECT TOP 1 CAST(value AS INT) FROM TSGlobalParam WHERE name = N'showVMLevelJobsAtMSLevel'), 0)
DECLARE @w2 NVARCHAR(MAX) = CASE WHEN LTRIM(RTRIM(@t2)) = N'' THEN N'1=1' ELSE N'(' + @t2 + N')' END
DECLARE @w3 NVARCHAR(MAX) = CASE WHEN LTRIM(RTRIM(@t3)) = N'' THEN N'1=1' ELSE N'(' + @t3 + N')' END
DECLARE @w4 NVARCHAR(MAX) = CASE WHEN LTRIM(RTRIM(@t4)) = N'' THEN N'1=1' ELSE N'(' + @t4 + N')' END
DECLARE @w5 NVARCHAR(MAX) = CASE WHEN LTRIM(RTRIM(@t5)) = N'' THEN N'1=1' ELSE N'(' + @t5 + N')' END
DECLARE @w6 NVARCHAR(MAX) = CASE WHEN LTRIM(RTRIM(@t6)) = N'' THEN N'1=1' ELSE N'(' + @t6 + N')' END
DECLARE @w7 NVARCHAR(MAX) = CASE WHEN LTRIM(RTRIM(@t7)) = N'' THEN N'1=1' ELSE N'(' + @t7 + N')' END
DECLARE @w8 NVARCHAR(MAX) = CASE WHEN LTRIM(RTRIM(@t8)) = N'' THEN N'1=1' ELSE N'(' + @t8 + N')' END
DECLARE @w9 NVARCHAR(MAX) = CASE WHEN LTRIM(RTRIM(@t9)) = N'' THEN N'1=1' ELSE N'(' + @t9 + N')' END
DECLARE @params NVARCHAR(MAX) = N'@userId INT, @localeId INT, @complianceId INT, @userName NVARCHAR(255), @honorRetention INT, @subclientQuery INT, @serverLevel INT, @showVmJobs INT'

IF OBJECT_ID('tempdb..#filteredJobs') IS NOT NULL DROP TABLE #filteredJobs
IF OBJECT_ID('tempdb..#throughputJobs') IS NOT NULL DROP TABLE #throughputJobs
IF OBJECT_ID('tempdb..#TmpAFCIInfo') IS NOT NULL DROP TABLE #TmpAFCIInfo
IF OBJECT_ID('tempdb..#VsaVmStatusCount') IS NOT NULL DROP TABLE #VsaVmStatusCount
IF OBJECT_ID('tempdb..#VsaVmStatusCountSum') IS NOT NULL DROP TABLE #VsaVmStatusCountSum
CREATE TABLE #filteredJobs (t_jobID INT, t_orbisId INT, t_servStartDate INT)
CREATE INDEX IDX_filteredJobs_JOBID ON #filteredJobs (t_jobID, t_orbisId)
CREATE TABLE #throughputJobs (t_jobID INT, t_orbisId INT, timeThroughPut VARCHAR(1024))
CREATE INDEX IDX_throughputJobs_JOBID ON #throughputJobs (t_jobID, t_orbisId)
CREATE TABLE #TmpAFCIInfo (AFCIJobId INT, AFCIOrbisId INT, AFCIFlags INT, AFCICloudId INT, AFCITime INT, AFFLAFlags INT)
CREATE TABLE #VsaVmStatusCount (JobID INT, orbisID INT, status NVARCHAR(32) NOT NULL, statusCount INT)
CREATE CLUSTERED INDEX IDX_VsaVmStatusCount ON #VsaVmStatusCount (status, JobID, orbisID)
CREATE TABLE #VsaVmStatusCountSum (JobID INT, orbisID INT, status NVARCHAR(32) NOT NULL, statusCount INT)
CREATE CLUSTERED INDEX IDX_VsaVmStatusCountSum ON #VsaVmStatusCountSum (status, JobID, orbisID)

DECLARE @compliance NVARCHAR(MAX) = N' AND (@complianceId = 0 OR EXISTS (SELECT 1 FROM JMCompliancePolicyQualifiedJobs q WHERE q.jobId = JMBkpStats.jobId AND q.complianceId = @complianceId AND q.status <> 4)) AND NOT EXISTS (SELECT 1 FROM JMPreparedJob p WHERE p.jobId = JMBkpStats.jobId AND p.status = 3)'
DECLARE @sql NVARCHAR(MAX) = N'INSERT INTO #filteredJobs (t_jobID, t_orbisId, t_servStartDate) SELECT ' + @t1 + N' * FROM ('
 + N'SELECT JMBkpStats.jobId AS t_jobID, JMBkpStats.orbisId AS t_orbisId, JMBkpStats.servStartDate AS t_servStartDate FROM JMBkpStats'
 + N' JOIN APP_Application ON APP_Application.id = JMBkpStats.appId AND ' + @w2
 + N' JOIN JMJobStats ON JMJobStats.jobId = JMBkpStats.jobId AND JMJobStats.orbisId = JMBkpStats.orbisId AND ' + @w3
 + N' WHERE (@userId = 0 OR JMBkpStats.username = @userName OR dbo.isBkpJobVisible(@userId, JMBkpStats.orbisId, APP_Application.clientId, APP_Application.appTypeId, APP_Application.instance, APP_Application.backupSet, JMBkpStats.appId) = 1)'
 + @compliance
 + N' UNION SELECT JMBkpStats.jobId, JMBkpStats.orbisId, JMBkpStats.servStartDate FROM JMBkpStats'
 + N' JOIN APP_Application ON APP_Application.id = JMBkpStats.appId'
 + N' JOIN JMMorrowUpdateStatus ON JMMorrowUpdateStatus.jobId = JMBkpStats.jobId AND JMMorrowUpdateStatus.orbisId = JMBkpStats.orbisId AND ' + @w4
 + N' JOIN JMJobStats ON JMJobStats.jobId = JMBkpStats.jobId AND JMJobStats.orbisId = JMBkpStats.orbisId AND ' + @w5
 + N' WHERE @subclientQuery <> 1 AND (@serverLevel = 0 OR @showVmJobs = 1)'
 + N' AND (@userId = 0 OR JMBkpStats.username = @userName OR dbo.isBkpJobVisible(@userId, JMBkpStats.orbisId, APP_Application.clientId, APP_Application.appTypeId, APP_Application.instance, APP_Application.backupSet, JMBkpStats.appId) = 1 OR dbo.isClientVisible(@userId, JMMorrowUpdateStatus.clientId, 0, 0, 0, 0) = 1)'
 + N' AND (JMBkpStats.bkpAttributesEx & 1073741824) = 0 AND (JMBkpStats.bkpAttributesEx & CAST(72057594037927936 AS BIGINT)) = 0'
 + @compliance
 + N' UNION SELECT j.jobId, j.orbisId, j.servStartDate FROM JMAdminJobStatsTable j'
 + N' JOIN APP_Application ON APP_Application.id = j.appId AND APP_Application.orbisId = 2 AND APP_Application.appTypeId NOT IN (93, 105, 600, 601, 602, 603, 604, 605, 606, 607)'
 + N' JOIN JMJobStats ON JMJobStats.jobId = j.jobId AND JMJobStats.orbisId = j.orbisId AND JMJobStats.dataStatus IN (0, 3)'
 + N' WHERE @complianceId <> 0 AND j.optype <> 60 AND (@userId = 0 OR j.username = @userName)'
 + N' AND EXISTS (SELECT 1 FROM JMCompliancePolicyQualifiedJobs q WHERE q.jobId = j.jobId AND q.complianceId = @complianceId AND q.status <> 4)'
 + N') candidates ORDER BY t_servStartDate DESC'
EXEC sp_executesql @sql, @params, @userId, @localeId, @complianceId, @userName, @honorRetention, @subclientQuery, @serverLevel, @showVmJobs

INSERT INTO #TmpAFCIInfo (AFCIJobId, AFCIOrbisId, AFCIFlags, AFCICloudId, AFCITime, AFFLAFlags)
SELECT af.jobId, af.orbisId, MAX(af.flags & 496), MAX(af.cloudId), MAX(af.contentIndexTime), MAX(fi.flags)
FROM #filteredJobs f JOIN archFile af ON af.jobId = f.t_jobID AND af.orbisId = f.t_orbisId
LEFT JOIN archFLAIndexingInfo fi ON fi.archFileId = af.id
GROUP BY af.jobId, af.orbisId
HAVING MAX(af.cloudId) <> 0 OR ISNULL(MAX(fi.cloudId), 0) <> 0

INSERT INTO #throughputJobs (t_jobID, t_orbisId, timeThroughPut)
SELECT f.t_jobID, f.t_orbisId,
  CASE WHEN (b.bkpAttributesEx & 1073741824) <> 0 THEN
    (SELECT CAST(SUM(CAST(PARSENAME(REPLACE(jo.stringValue, ':', '.'), 4) AS BIGINT)) AS VARCHAR(32)) + ':'
          + CAST(SUM(CAST(PARSENAME(REPLACE(jo.stringValue, ':', '.'), 3) AS BIGINT)) AS VARCHAR(32)) + ':'
          + CAST(SUM(CAST(PARSENAME(REPLACE(jo.stringValue, ':', '.'), 2) AS BIGINT)) AS VARCHAR(32)) + ':'
          + CAST(SUM(CAST(PARSENAME(REPLACE(jo.stringValue, ':', '.'), 1) AS BIGINT)) AS VARCHAR(32))
     FROM JMJobDataLink l JOIN JMJobOptions jo ON jo.jobId = l.childJobId AND jo.attributeId = 91 WHERE l.parentJobId = f.t_jobID)
  ELSE (SELECT MAX(jo.stringValue) FROM JMJobOptions jo WHERE jo.jobId = f.t_jobID AND jo.orbisId = f.t_orbisId AND jo.attributeId = 91) END
FROM #filteredJobs f JOIN JMBkpStats b ON b.jobId = f.t_jobID AND b.orbisId = f.t_orbisId

INSERT INTO #VsaVmStatusCount (JobID, orbisID, status, statusCount)
SELECT v.jobId, v.orbisId, v.attrVal, COUNT(*)
FROM #filteredJobs f JOIN APP_VMProp v ON v.jobId = f.t_jobID AND v.orbisId = f.t_orbisId AND v.attrName = N'vmStatus'
GROUP BY v.jobId, v.orbisId, v.attrVal
INSERT INTO #VsaVmStatusCountSum (JobID, orbisID, status, statusCount)
SELECT JobID, orbisID, N'TotalClients', SUM(statusCount) FROM #VsaVmStatusCount GROUP BY JobID, orbisID
UNION ALL
SELECT JobID, orbisID, N'PendingClients', SUM(statusCount) FROM #VsaVmStatusCount
WHERE status IN (N'4', N'5', N'7', N'8') GROUP BY JobID, orbisID

SET @sql = N'SELECT DISTINCT r.jobId AS jobID, r.appId AS appID, CASE WHEN r.subOpType > 0 THEN r.subOpType ELSE r.jobOpType END AS opType,'
 + N' r.orbisId AS orbisId, ISNULL(o.number, 0) AS orbisNumber, ISNULL(o.aliasName, N'''') AS orbisName, r.clientId AS clientId, ISNULL(c.name, N'''') AS clientName,'
 + N' r.appType AS appType, ISNULL(qt.name, N'''') AS appTypeName, r.instance AS instance, ISNULL(inst.name, N'''') AS instanceName, r.backupSet AS backupSet, ISNULL(bs.name, N'''') AS backupSetName,'
 + N' r.appId AS subclient, ISNULL(r.subclientName, N'''') AS subclientName, r.numStreams, r.numStreamsRequested, 1 AS numCopies,'
 + N' r.dataArchGrpId, CASE WHEN r.branch <> 3 AND r.appType IN (47, 50) THEN ISNULL((SELECT MAX(qp.name) FROM QRPolicy qp WHERE qp.id = r.dataArchGrpId), N''Unavailable'') WHEN r.dataArchGrpId = 0 THEN N'''' ELSE ISNULL((SELECT MAX(ag.name) FROM archGroup ag WHERE ag.id = r.dataArchGrpId), N''Unavailable'') END AS dataArchGrpName,'
 + N' r.logArchGrpId, CASE WHEN r.logArchGrpId = 0 THEN N'''' ELSE ISNULL((SELECT MAX(ag.name) FROM archGroup ag WHERE ag.id = r.logArchGrpId), N''Unavailable'') END AS logArchGrpName,'
 + N' r.diffArchGrpId, CASE WHEN r.diffArchGrpId = 0 THEN N'''' ELSE ISNULL((SELECT MAX(ag.name) FROM archGroup ag WHERE ag.id = r.diffArchGrpId), N''Unavailable'') END AS diffArchGrpName,'
 + N' r.bkpLevel, r.secondaryBkpLevel, r.jobIdPrepared, r.jobIdActedOn, r.fromTime, r.toTime, r.status, r.displayStatus,'
 + N' CASE WHEN r.appType = 84 THEN ISNULL((SELECT MIN(l.childJobId) FROM JMJobDataLink l WHERE l.parentJobId = r.jobId), 0) ELSE 0 END AS childJobId,'
 + N' CASE WHEN r.appType = 84 THEN ISNULL((SELECT MAX(cj.status) FROM JMBkpStats cj WHERE cj.jobId = (SELECT MIN(l.childJobId) FROM JMJobDataLink l WHERE l.parentJobId = r.jobId)), 0) ELSE 0 END AS childJobStatus,'
 + N' r.duration, r.servStartDate, r.servEndDate, r.uncompBytes, r.compBytes, r.nwTransBytes,'
 + N' ISNULL((SELECT MAX(jo.intValue) FROM JMJobOptions jo WHERE jo.jobId = r.jobId AND jo.orbisId = r.orbisId AND jo.attributeId = 73), 0) AS sizeOnMedia,'
 + N' r.totalBackupSize, r.numObjects, r.numFolders, r.initFrom, r.version, r.subTaskId,'
 + N' ISNULL(dbo.JMGetLocalizedMessageFunc(@localeId, r.failureReason), N'''') AS failureReason, r.bkpOptions, r.scanFileFailures, r.scanFolderFailures, r.backupFileFailures, r.backupFolderFailures,'
 + N' r.oraSubLevel, r.totalWriteTime, r.cloudId,'
 + N' ISNULL((SELECT MAX(ds.retentionFlags) FROM JMJobDataStats ds WHERE ds.jobId = r.jobId AND ds.orbisId = r.orbisId), 0) AS retentionFlags,'
 + N' CASE WHEN EXISTS (SELECT 1 FROM JMJobDataStats ds WHERE ds.jobId = r.jobId AND ds.orbisId = r.orbisId AND (ds.disabled & 2) <> 0) THEN 1 ELSE 0 END AS disabled,'
 + N' CASE WHEN r.appType IN (131, 124) AND @honorRetention = 0 THEN -1 WHEN r.subOpType BETWEEN 144 AND 147 THEN r.servStartDate ELSE dbo.GetMaxRetentionTime(r.jobId, r.orbisId, r.servStartDate) END AS retainedUntil,'
 + N' CASE WHEN r.jobOpType = 60 THEN ISNULL((SELECT MAX(wf.processedJobId) FROM JMJobWF wf WHERE wf.childJobId = r.jobId), 0) ELSE 0 END AS snapJobID,'
 + N' CASE WHEN r.jobOpType = 60 THEN ISNULL((SELECT MAX(wf.jobId) FROM JMJobWF wf WHERE wf.childJobId = r.jobId), 0) ELSE 0 END AS snapWFJobID,'
 + N' CASE WHEN r.jobOpType IN (59, 65) AND r.subOpType <> 145 AND (r.branch <> 2 OR NOT EXISTS (SELECT 1 FROM JMVSAAppJobLink vl WHERE vl.jobId = r.jobId))'
 + N'   THEN ISNULL((SELECT MAX(sn.materializationStatus) FROM JMSnapshot sn WHERE sn.jobId = r.jobId AND (sn.enabled = 1 OR sn.materializationStatus = 100)), 0) ELSE -1 END AS snapToTapeStatus,'
 + N' CASE WHEN r.jobOpType IN (59, 65) AND r.subOpType <> 145 AND ((r.branch <> 2 AND dbo.IsDeferredCatalogSupported(r.appId) = 1)'
 + N'   OR (r.branch = 2 AND r.appType IN (SELECT CAST(value AS INT) FROM dbo.SplitString(dbo.GetDeferredCatalogSupportedAppTypes(), N'',''))))'
 + N'   THEN ISNULL((SELECT MAX(sn.catalogStatus) FROM JMSnapshot sn WHERE sn.jobId = r.jobId AND (sn.enabled = 1 OR sn.catalogStatus = 100)), 0) ELSE -1 END AS snapDeferredCatalogStatus,'
 + N' CASE WHEN (r.bkpAttributesEx & 67108864) <> 0 THEN ISNULL((SELECT MAX(l.parentJobId) FROM JMJobDataLink l WHERE l.childJobId = r.jobId AND l.linkType = 7), 0) ELSE 0 END AS parentJobId,'
 + N' ISNULL(r.username, N'''') AS username, r.bkpattributes, r.dataStatus, r.filesToXfer, r.dataBackedUp, r.logsBackedUp,'
 + N' ISNULL(afci.AFCIFlags, 0) AS AFCIFlags, CASE WHEN (r.subclientStatus & 131072) <> 0 THEN 512 ELSE ISNULL(afci.AFFLAFlags, 0) END AS AFFLAFlags,'
 + N' ISNULL(afci.AFCICloudId, 0) AS AFCICloudId, ISNULL(afci.AFCITime, 0) AS AFCITime,'
 + N' r.failureErrorCode, r.totSkippedObjects, r.scanType, r.bkpAttributesEx, r.jobReferenceTime,'
 + N' ISNULL(st.taskId, 0) AS taskId, ISNULL(st.subTaskName, N'''') AS subTaskName, ISNULL((SELECT MAX(t.taskName) FROM TM_Task t WHERE t.taskId = st.taskId), N'''') AS taskName,'
 + N' CASE WHEN r.appType = 104 THEN ISNULL(dbo.getMysqlProxyAndInstance(r.jobId, r.appId), N'''') ELSE N'''' END AS proxyandinstance,'
 + N' ISNULL(dbo.JMGetLocalizedMessageFunc(@localeId, r.scanTypeChangeReason), N'''') AS scanTypeChangeReason, ISNULL(r.foreignToken, N'''') AS foreignToken,'
 + N' ISNULL(ISNULL(STUFF((SELECT DISTINCT N'','' + ml.aliasName FROM JMJObResourceHistory rh JOIN MMMasterPool mp ON mp.masterPoolId = rh.masterPoolId JOIN MMLibrary ml ON ml.libraryId = mp.libraryId WHERE rh.jobId = r.jobId FOR XML PATH(N'''')), 1, 1, N''''),'
 + N'   STUFF((SELECT DISTINCT N'','' + ml.aliasName FROM JMMisc mi CROSS APPLY dbo.SplitString(CAST(mi.value AS XML).value(N''(/jobStatsCache/libraryList/@list)[1]'', N''NVARCHAR(MAX)''), N'','') ids'
 + N'     JOIN MMLibrary ml ON ml.libraryId = CAST(ids.value AS INT) WHERE mi.jobId = r.jobId AND mi.itemType = 74 FOR XML PATH(N'''')), 1, 1, N'''')), N'''') AS LibraryName,'
 + N' CASE WHEN r.cloudId = 0 THEN N'''' ELSE ISNULL((SELECT MAX(cp.stringVal) FROM app_componentProp cp WHERE cp.componentId = 2 AND cp.entityId = r.cloudId AND cp.propertyTypeId = 1 AND cp.modified = 0), N'''') END AS cloudName,'
 + N' CASE WHEN ISNULL(afci.AFCICloudId, 0) = 0 THEN N'''' ELSE ISNULL((SELECT MAX(cp.stringVal) FROM app_componentProp cp WHERE cp.componentId = 2 AND cp.entityId = afci.AFCICloudId AND cp.propertyTypeId = 1 AND cp.modified = 0), N'''') END AS AFCICloudName,'
 + N' ISNULL(dbo.JMGetKBArticlesForFailures(r.failureReason, 0), N'''') AS failureKBArticle, ISNULL(r.jobDescription, N'''') AS jobDescription, ISNULL(r.xmlJobInfo, N'''') AS xmlJobInfo,'
 + N' CASE WHEN @complianceId = 0 THEN N'''' ELSE ISNULL((SELECT MAX(q.reason) FROM JMCompliancePolicyQualifiedJobs q WHERE q.jobId = r.jobId AND q.complianceId = @complianceId), N'''') END AS compPolicyFailReason,'
 + N' CASE WHEN EXISTS (SELECT 1 FROM APP_SubClientProp sp WHERE sp.componentNameId = r.appId AND sp.attrName = N''Index SubClient'' AND sp.attrVal <> N''0'' AND sp.modified = 0) THEN 1 ELSE 0 END AS indexBackupJob,'
 + N' ISNULL((SELECT MAX(mi.intValue) FROM JMMisc mi WHERE mi.jobId = r.jobId AND mi.itemType = 71), 0) AS encrypted,'
 + N' ISNULL(c.displayName, N'''') AS clientDisplayName,'
 + N' ISNULL((SELECT MAX(jo.stringValue) FROM JMJobOptions jo WHERE jo.jobId = r.jobId AND jo.orbisId = r.orbisId AND jo.attributeId = 86), N'''') AS jobThroughPut,'
 + N' ISNULL(CASE WHEN r.branch = 2 THEN (SELECT MAX(jo.stringValue) FROM JMJobOptions jo WHERE jo.jobId = r.jobId AND jo.orbisId = r.orbisId AND jo.attributeId = 91) ELSE tp.timeThroughPut END, N'''') AS timeThroughPut,'
 + N' CASE WHEN vmOn.ok = 1 THEN ISNULL((SELECT SUM(statusCount) FROM #VsaVmStatusCountSum s WHERE s.JobID = r.jobId AND s.orbisID = r.orbisId AND s.status = N''TotalClients''), 0) ELSE 0 END AS totalClients,'
 + N' CASE WHEN vmOn.ok = 1 THEN ISNULL((SELECT SUM(statusCount) FROM #VsaVmStatusCount s WHERE s.JobID = r.jobId AND s.orbisID = r.orbisId AND s.status = N''0''), 0) ELSE 0 END AS successfullClients,'
 + N' CASE WHEN vmOn.ok = 1 THEN ISNULL((SELECT SUM(statusCount) FROM #VsaVmStatusCount s WHERE s.JobID = r.jobId AND s.orbisID = r.orbisId AND s.status = N''6''), 0) ELSE 0 END AS skippedClients,'
 + N' CASE WHEN vmOn.ok = 1 THEN ISNULL((SELECT SUM(statusCount) FROM #VsaVmStatusCountSum s WHERE s.JobID = r.jobId AND s.orbisID = r.orbisId AND s.status = N''PendingClients''), 0) ELSE 0 END AS pendingClients,'
 + N' CASE WHEN vmOn.ok = 1 THEN ISNULL((SELECT SUM(statusCount) FROM #VsaVmStatusCount s WHERE s.JobID = r.jobId AND s.orbisID = r.orbisId AND s.status = N''1''), 0) ELSE 0 END AS failedClients,'
 + N' CASE WHEN vmOn.ok = 1 THEN ISNULL((SELECT SUM(statusCount) FROM #VsaVmStatusCount s WHERE s.JobID = r.jobId AND s.orbisID = r.orbisId AND s.status = N''3''), 0) ELSE 0 END AS partialSuccessClients,'
 + N' CASE WHEN vmOn.ok = 1 THEN ISNULL((SELECT SUM(statusCount) FROM #VsaVmStatusCount s WHERE s.JobID = r.jobId AND s.orbisID = r.orbisId AND s.status = N''2''), 0) ELSE 0 END AS totalInProgressClients'
 + N' FROM ('
 + N' SELECT 1 AS branch, JMBkpStats.jobId, JMBkpStats.orbisId, JMBkpStats.appId,'
 + N' JMJobStats.opType AS jobOpType, JMJobStats.subOpType,'
 + N' CASE WHEN (JMBkpStats.bkpAttributesEx & 512) <> 0 AND JMBkpStats.targetClientId > 0 THEN JMBkpStats.targetClientId'
 + N' ELSE APP_Application.clientId END AS clientId,'
 + N' CASE WHEN (JMBkpStats.bkpAttributesEx & 512) <> 0 THEN JMBkpStats.targetClientId ELSE APP_Application.clientId END AS nameClientId,'
 + N' APP_Application.appTypeId AS appType, APP_Application.instance, APP_Application.backupSet,'
 + N' APP_Application.subclientName, APP_Application.subclientStatus,'
 + N' JMBkpStats.numStreams, JMBkpStats.numStreamsRequested,'
 + N' JMBkpStats.dataArchGrpId, JMBkpStats.logArchGrpId, JMBkpStats.diffArchGrpId,'
 + N' JMBkpStats.bkpLevel, JMBkpStats.secondaryBkpLevel, JMBkpStats.jobIdPrepared, JMBkpStats.jobIdActedOn,'
 + N' JMBkpStats.fromTime, JMBkpStats.toTime, JMBkpStats.status, JMJobStats.displayStatus, JMBkpStats.duration,'
 + N' JMBkpStats.servStartDate, JMBkpStats.servEndDate, JMBkpStats.uncompBytes, JMBkpStats.compBytes,'
 + N' JMBkpStats.nwTransBytes, JMBkpStats.totalBackupSize, JMBkpStats.numObjects, JMBkpStats.numFolders,'
 + N' JMJobStats.initFrom, JMBkpStats.version, JMJobStats.subTaskId, JMBkpStats.failureReason, JMBkpStats.bkpOptions,'
 + N' JMBkpStats.scanFileFailures, JMBkpStats.scanFolderFailures, JMBkpStats.backupFileFailures,'
 + N' JMBkpStats.backupFolderFailures, JMBkpStats.oraSubLevel, JMBkpStats.totalWriteTime, JMBkpStats.cloudId,'
 + N' JMBkpStats.username, JMBkpStats.bkpattributes, JMBkpStats.dataStatus, JMBkpStats.filesToXfer,'
 + N' JMBkpStats.dataBackedUp, JMBkpStats.logsBackedUp, JMBkpStats.failureErrorCode, JMBkpStats.totSkippedObjects,'
 + N' JMBkpStats.scanType, JMBkpStats.bkpAttributesEx, JMBkpStats.jobReferenceTime, JMBkpStats.scanTypeChangeReason,'
 + N' JMBkpStats.foreignToken, JMBkpStats.jobDescription, JMBkpStats.xmlJobInfo'
 + N' FROM #filteredJobs f'
 + N' CROSS JOIN JMBkpStats'
 + N' CROSS JOIN APP_Application'
 + N' CROSS JOIN JMJobStats'
 + N' WHERE JMBkpStats.jobId = f.t_jobID AND JMBkpStats.orbisId = f.t_orbisId'
 + N' AND APP_Application.id = JMBkpStats.appId AND ' + @w6 + N''
 + N' AND JMJobStats.jobId = JMBkpStats.jobId AND JMJobStats.orbisId = JMBkpStats.orbisId AND ' + @w7 + N''
 + N' AND (@complianceId = 0 OR EXISTS (SELECT 1 FROM JMCompliancePolicyQualifiedJobs q'
 + N' WHERE q.jobId = JMBkpStats.jobId AND q.complianceId = @complianceId AND q.status <> 4))'
 + N' AND NOT EXISTS (SELECT 1 FROM JMPreparedJob p WHERE p.jobId = JMBkpStats.jobId AND p.status = 3)'
 + N' UNION ALL'
 + N' SELECT 2, JMBkpStats.jobId, JMBkpStats.orbisId, JMBkpStats.appId,'
 + N' JMJobStats.opType, JMJobStats.subOpType,'
 + N' CASE WHEN (JMBkpStats.bkpAttributesEx & 512) <> 0 AND JMBkpStats.targetClientId > 0 THEN JMBkpStats.targetClientId'
 + N' ELSE APP_Application.clientId END,'
 + N' CASE WHEN (JMBkpStats.bkpAttributesEx & 512) <> 0 THEN JMBkpStats.targetClientId ELSE APP_Application.clientId END,'
 + N' APP_Application.appTypeId, APP_Application.instance, APP_Application.backupSet,'
 + N' APP_Application.subclientName, APP_Application.subclientStatus,'
 + N' JMBkpStats.numStreams, JMBkpStats.numStreamsRequested,'
 + N' JMBkpStats.dataArchGrpId, JMBkpStats.logArchGrpId, JMBkpStats.diffArchGrpId,'
 + N' JMBkpStats.bkpLevel, JMBkpStats.secondaryBkpLevel, JMBkpStats.jobIdPrepared, JMBkpStats.jobIdActedOn,'
 + N' JMBkpStats.fromTime, JMBkpStats.toTime, JMBkpStats.status, JMJobStats.displayStatus, JMBkpStats.duration,'
 + N' JMBkpStats.servStartDate, JMBkpStats.servEndDate, JMBkpStats.uncompBytes, JMBkpStats.compBytes,'
 + N' JMBkpStats.nwTransBytes, JMBkpStats.totalBackupSize, JMBkpStats.numObjects, JMBkpStats.numFolders,'
 + N' JMJobStats.initFrom, JMBkpStats.version, JMJobStats.subTaskId, JMBkpStats.failureReason, JMBkpStats.bkpOptions,'
 + N' JMBkpStats.scanFileFailures, JMBkpStats.scanFolderFailures, JMBkpStats.backupFileFailures,'
 + N' JMBkpStats.backupFolderFailures, JMBkpStats.oraSubLevel, JMBkpStats.totalWriteTime, JMBkpStats.cloudId,'
 + N' JMBkpStats.username, JMBkpStats.bkpattributes, JMBkpStats.dataStatus, JMBkpStats.filesToXfer,'
 + N' JMBkpStats.dataBackedUp, JMBkpStats.logsBackedUp, JMBkpStats.failureErrorCode, JMBkpStats.totSkippedObjects,'
 + N' JMBkpStats.scanType, JMBkpStats.bkpAttributesEx, JMBkpStats.jobReferenceTime, JMBkpStats.scanTypeChangeReason,'
 + N' JMBkpStats.foreignToken, JMBkpStats.jobDescription, JMBkpStats.xmlJobInfo'
 + N' FROM #filteredJobs f'
 + N' CROSS JOIN JMBkpStats'
 + N' CROSS JOIN APP_Application'
 + N' CROSS JOIN JMMorrowUpdateStatus'
 + N' CROSS JOIN JMJobStats'
 + N' WHERE @subclientQuery <> 1 AND (@serverLevel = 0 OR @showVmJobs = 1)'
 + N' AND JMBkpStats.jobId = f.t_jobID AND JMBkpStats.orbisId = f.t_orbisId'
 + N' AND APP_Application.id = JMBkpStats.appId'
 + N' AND JMMorrowUpdateStatus.jobId = JMBkpStats.jobId AND JMMorrowUpdateStatus.orbisId = JMBkpStats.orbisId AND ' + @w8 + N''
 + N' AND JMJobStats.jobId = JMBkpStats.jobId AND JMJobStats.orbisId = JMBkpStats.orbisId AND ' + @w9 + N''
 + N' AND (JMBkpStats.bkpAttributesEx & 1073741824) = 0'
 + N' AND (JMBkpStats.bkpAttributesEx & CAST(72057594037927936 AS BIGINT)) = 0'
 + N' AND (@complianceId = 0 OR EXISTS (SELECT 1 FROM JMCompliancePolicyQualifiedJobs q'
 + N' WHERE q.jobId = JMBkpStats.jobId AND q.complianceId = @complianceId AND q.status <> 4))'
 + N' AND NOT EXISTS (SELECT 1 FROM JMPreparedJob p WHERE p.jobId = JMBkpStats.jobId AND p.status = 3)'
 + N' UNION ALL'
 + N' SELECT 3, j.jobId, j.orbisId, j.appId, JMJobStats.opType, JMJobStats.subOpType,'
 + N' APP_Application.clientId, APP_Application.clientId, APP_Application.appTypeId, APP_Application.instance,'
 + N' APP_Application.backupSet, APP_Application.subclientName, APP_Application.subclientStatus,'
 + N' 0, 0, j.archGrpId, j.archGrpId, j.archGrpId,'
 + N' 0, 0, 0, 0, 0, 0, j.status, j.status, j.duration, j.servStartDate, j.servEndDate,'
 + N' 0, 0, 0, j.totalBackupSize, j.numObjects, 0, j.initFrom, 0, j.subTaskId, j.failureReason, 0,'
 + N' 0, 0, 0, 0, 0, 0, 0, j.username, 0, JMJobStats.dataStatus, 0, 0, 0, j.failureErrorCode, 0, 0, 0, 0,'
 + N' '''', '''', j.jobDescription, j.xmlJobInfo'
 + N' FROM #filteredJobs f'
 + N' CROSS JOIN JMAdminJobStatsTable j'
 + N' CROSS JOIN APP_Application'
 + N' CROSS JOIN JMJobStats'
 + N' WHERE @complianceId <> 0'
 + N' AND j.jobId = f.t_jobID AND j.orbisId = f.t_orbisId'
 + N' AND APP_Application.id = j.appId AND APP_Application.orbisId = 2'
 + N' AND APP_Application.appTypeId NOT IN (93, 105, 600, 601, 602, 603, 604, 605, 606, 607)'
 + N' AND JMJobStats.jobId = j.jobId AND JMJobStats.orbisId = j.orbisId AND JMJobStats.dataStatus IN (0, 3)'
 + N' AND j.optype <> 60'
 + N' AND EXISTS (SELECT 1 FROM JMCompliancePolicyQualifiedJobs q'
 + N' WHERE q.jobId = j.jobId AND q.complianceId = @complianceId AND q.status <> 4)'
 + N' ) r'
 + N' LEFT JOIN APP_Orbis o ON o.id = r.orbisId LEFT JOIN APP_Client c ON c.id = r.nameClientId LEFT JOIN APP_QuorinType qt ON qt.id = r.appType'
 + N' LEFT JOIN APP_InstanceName inst ON inst.id = r.instance LEFT JOIN APP_BackupSetName bs ON bs.id = r.backupSet'
 + N' LEFT JOIN TM_SubTask st ON st.subTaskId = r.subTaskId AND r.subTaskId <> 0'
 + N' LEFT JOIN #TmpAFCIInfo afci ON afci.AFCIJobId = r.jobId AND afci.AFCIOrbisId = r.orbisId'
 + N' LEFT JOIN #throughputJobs tp ON tp.t_jobID = r.jobId AND tp.t_orbisId = r.orbisId'
 + N' CROSS APPLY (SELECT CASE WHEN r.appType = 106 AND (r.branch <> 2 OR (r.bkpAttributesEx & CAST(2199023255552 AS BIGINT)) <> 0) THEN 1 ELSE 0 END AS ok) vmOn'
 + N' ORDER BY servStartDate DESC, jobID DESC'
EXEC sp_executesql @sql, @params, @userId, @localeId, @complianceId, @userName, @honorRetention, @subclientQuery, @serverLevel, @showVmJobs

DROP TABLE #filteredJobs
DROP TABLE #throughputJobs
DROP TABLE #TmpAFCIInfo
DROP TABLE #VsaVmStatusCount
DROP TABLE #VsaVmStatusCountSum
