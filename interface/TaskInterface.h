#pragma once
// The task store as the job manager sees it.
//
//   TaskInterface* ti = getTaskInterface(1);   // a new object, owned by the caller
//   _TaskInfo info; info.jobId = 42; info.optionId = 7;
//   std::string err;
//   int rc = ti->lookup(info, err, nullptr);   // 0: info.value holds the job's FIRST option row's
//   delete ti;                                 // value (any id), or option 7's static default when
//                                              // the job has no option rows
//
// Every operation returns an int code: 0 success, 100 no data where an operation passes it on, any
// other value the database's (or the task manager's) code. `err` receives the failure's text and
// keeps the caller's text on success; a read or write failure that a clean close follows returns 0
// with the text in `err`, so start with an empty `err` and treat text left in it as a failure.
// `tran` is declared void* and is the caller's DBtran* (may be null): with it nothing is committed by
// the operation; without it the operation uses a transaction of its own.
//
// The objects hold no state: any number of threads may call any operation, on one object or on several.
// The virtual slot order below is part of the binary interface and never changes.
#include <list>
#include <string>
#include <vector>

#include "ComplianceRecords.h"
#include "TaskExport.h"
#include "TaskRecords.h"

class TaskInterface {
  public:
    virtual ~TaskInterface() = default;

    virtual int lookup(_TaskInfo& info, std::string& err, void* tran) = 0;
    virtual int update(_TaskInfo& info, std::string& err, void* tran) = 0;
    virtual int getOptions(_TaskInfo& info, OptionCallBack* cb, std::string& err, void* tran) = 0;
    virtual int setOptions(_TaskInfo& info, std::vector<const TaskOption*> options, std::string& err,
                           void* tran) = 0;
    virtual int removeOptions(_TaskInfo& info, std::vector<const TaskOption*> options, std::string& err,
                              void* tran) = 0;
    virtual int removeOptions(_TaskInfo& info, const std::vector<unsigned long long>& optionIds,
                              std::string& err, void* tran) = 0;
    virtual int getDefaults(OptionCallBack* cb, std::string& err, void* tran) = 0;
    virtual int getJobInfo(_TaskInfo& info, std::string& err, void* tran) = 0;
    virtual int getTaskInfo(_TaskInfo& info, std::string& err, void* tran) = 0;
    virtual int getSubTaskInfo(_TaskInfo& info, std::string& err, void* tran) = 0;
    virtual int getEntityInfo(_TaskInfo& info, std::string& err, void* tran) = 0;
    virtual int setTaskInfo(_TaskInfo info, std::string& err, void* tran) = 0;
    virtual int setSubTaskInfo(_TaskInfo info, std::string& err, void* tran) = 0;
    virtual int setEntityInfo(_TaskInfo info, std::string& err, void* tran) = 0;
    virtual int getDefaultTaskId(_TaskInfo& info, std::string& err, void* tran) = 0;
    virtual int getPatternInfo(_TaskInfo& info, std::string& err, void* tran) = 0;
    virtual int getXMLOptions(_TaskInfo& info, std::string& err, void* tran) = 0;
    virtual int getBitOptions(_TaskInfo& info, std::string& err, void* tran) = 0;
    virtual int getExtendedOptions(_TaskInfo& info, std::string& err, void* tran) = 0;
    virtual int getFiles(_TaskInfo& info, FileCallBack* cb, std::string& err, void* tran) = 0;
    virtual int setFiles(_TaskInfo& info, std::vector<const TaskFile*> files, std::string& err,
                         void* tran) = 0;
    virtual int removeFiles(_TaskInfo& info, std::vector<const TaskFile*> files, std::string& err,
                            void* tran) = 0;
    virtual int removeFiles(_TaskInfo& info, const std::vector<std::string>& files, std::string& err,
                            void* tran) = 0;
    virtual int getJobListFromTaskId(_TaskInfo& info, std::list<unsigned long long>& jobIds, std::string& err,
                                     void* tran) = 0;
    virtual int getJobIdsFromBkpStats(std::list<unsigned long long>& jobIds, std::string whereClause,
                                      bool includeStatus1, int localeId, std::string& err, void* tran) = 0;
    virtual int getJobRequestIdFromJobId(long long& jobRequestId, long long jobId, std::string& err,
                                         void* tran) = 0;
    virtual int getComplianceOptionList(long long jobId, std::list<_ComplianceOptionInfo>& options,
                                        std::string& err, int complianceId, koComplianceOptions kind,
                                        int securityUser) = 0;
    virtual int getRecordCenterList(std::list<_RecordCenterInfo>& centers, std::string& err,
                                    int recordId) = 0;
    virtual int getRecordConnectorList(std::list<_RecordConnectorInfo>& connectors, std::string& err,
                                       int connectorId) = 0;
    virtual int getLegalHoldList(std::list<_LegalHoldInfo>& holds, std::string& err,
                                 std::string legalHoldId) = 0;
    virtual int getTagList(std::list<_DM2TagInfo>& tags, std::string& err, _DM2TagInfo* filter) = 0;
    virtual int GetUpdateInfo(_UpdateInformation& info, std::string& err, unsigned long, unsigned long,
                              unsigned long) = 0;
    virtual int CreateTask(std::string& xml, std::list<long long>& jobIds, int& status, int userId,
                           std::string& err, int localeId, long long sequenceNumber, bool fromUpgrade,
                           bool endUser) = 0;
    virtual int TaskRequest(std::string& xml, std::list<long long>& jobIds, int& status, int userId,
                            std::string& err, unsigned long messageType, int localeId,
                            long long sequenceNumber, bool fromUpgrade, bool endUser) = 0;
    virtual int getAutomaticSchedulePattern(_TaskInfo& info, std::string& err, void* tran) = 0;
    virtual int runTasks(std::vector<Sched_SubTask>& subTasks, std::list<long long>& jobIds, std::string& err,
                         int userId, int localeId, long long sequenceNumber, bool endUser, void* tran) = 0;
    virtual int performOperation(std::vector<_AutomaticTaskInfo>& tasks, std::list<long long>& jobIds,
                                 std::string& err, int taskOpType, int initiatedFrom, int userId,
                                 int localeId, long long sequenceNumber, bool endUser, void* tran) = 0;
    virtual int getDefaultOption(unsigned long long optionId, std::string& value, std::string& err,
                                 void* tran) = 0;
};

// The factory: kind 1 gives a new database-backed object (owned by the caller, deleted through the
// virtual destructor); any other kind gives null. Never throws.
extern "C" TASKDB_API TaskInterface* getTaskInterface(int kind);

// The signature of getTaskInterface, for callers that load the library with dlopen/dlsym.
typedef TaskInterface* (*getTaskInterface_t)(int kind);
