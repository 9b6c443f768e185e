#pragma once
// The database-backed TaskInterface. Holds no data: every call is independent. The operations live
// in one source file per area (Options, OptionWrites, Records, Readers, Requests, Automatic, Compliance).
#include <string>

#include "TaskInterface.h"

// Returned by an operation that this build does not provide yet, with the text "operation not available".
constexpr int KO_ERR_NOT_AVAILABLE = 0x7FFF0001;
int notAvailable(std::string& err);

class TaskInterfaceDB : public TaskInterface {
  public:
    int lookup(_TaskInfo& info, std::string& err, void* tran) override;
    int update(_TaskInfo& info, std::string& err, void* tran) override;
    int getOptions(_TaskInfo& info, OptionCallBack* cb, std::string& err, void* tran) override;
    int setOptions(_TaskInfo& info, std::vector<const TaskOption*> options, std::string& err,
                   void* tran) override;
    int removeOptions(_TaskInfo& info, std::vector<const TaskOption*> options, std::string& err,
                      void* tran) override;
    int removeOptions(_TaskInfo& info, const std::vector<unsigned long long>& optionIds, std::string& err,
                      void* tran) override;
    int getDefaults(OptionCallBack* cb, std::string& err, void* tran) override;
    int getJobInfo(_TaskInfo& info, std::string& err, void* tran) override;
    int getTaskInfo(_TaskInfo& info, std::string& err, void* tran) override;
    int getSubTaskInfo(_TaskInfo& info, std::string& err, void* tran) override;
    int getEntityInfo(_TaskInfo& info, std::string& err, void* tran) override;
    int setTaskInfo(_TaskInfo info, std::string& err, void* tran) override;
    int setSubTaskInfo(_TaskInfo info, std::string& err, void* tran) override;
    int setEntityInfo(_TaskInfo info, std::string& err, void* tran) override;
    int getDefaultTaskId(_TaskInfo& info, std::string& err, void* tran) override;
    int getPatternInfo(_TaskInfo& info, std::string& err, void* tran) override;
    int getXMLOptions(_TaskInfo& info, std::string& err, void* tran) override;
    int getBitOptions(_TaskInfo& info, std::string& err, void* tran) override;
    int getExtendedOptions(_TaskInfo& info, std::string& err, void* tran) override;
    int getFiles(_TaskInfo& info, FileCallBack* cb, std::string& err, void* tran) override;
    int setFiles(_TaskInfo& info, std::vector<const TaskFile*> files, std::string& err, void* tran) override;
    int removeFiles(_TaskInfo& info, std::vector<const TaskFile*> files, std::string& err,
                    void* tran) override;
    int removeFiles(_TaskInfo& info, const std::vector<std::string>& files, std::string& err,
                    void* tran) override;
    int getJobListFromTaskId(_TaskInfo& info, std::list<unsigned long long>& jobIds, std::string& err,
                             void* tran) override;
    int getJobIdsFromBkpStats(std::list<unsigned long long>& jobIds, std::string whereClause,
                              bool includeStatus1, int localeId, std::string& err, void* tran) override;
    int getJobRequestIdFromJobId(long long& jobRequestId, long long jobId, std::string& err,
                                 void* tran) override;
    int getComplianceOptionList(long long jobId, std::list<_ComplianceOptionInfo>& options, std::string& err,
                                int complianceId, koComplianceOptions kind, int securityUser) override;
    int getRecordCenterList(std::list<_RecordCenterInfo>& centers, std::string& err, int recordId) override;
    int getRecordConnectorList(std::list<_RecordConnectorInfo>& connectors, std::string& err,
                               int connectorId) override;
    int getLegalHoldList(std::list<_LegalHoldInfo>& holds, std::string& err,
                         std::string legalHoldId) override;
    int getTagList(std::list<_DM2TagInfo>& tags, std::string& err, _DM2TagInfo* filter) override;
    int GetUpdateInfo(_UpdateInformation& info, std::string& err, unsigned long, unsigned long,
                      unsigned long) override;
    int CreateTask(std::string& xml, std::list<long long>& jobIds, int& status, int userId, std::string& err,
                   int localeId, long long sequenceNumber, bool fromUpgrade, bool endUser) override;
    int TaskRequest(std::string& xml, std::list<long long>& jobIds, int& status, int userId, std::string& err,
                    unsigned long messageType, int localeId, long long sequenceNumber, bool fromUpgrade,
                    bool endUser) override;
    int getAutomaticSchedulePattern(_TaskInfo& info, std::string& err, void* tran) override;
    int runTasks(std::vector<Sched_SubTask>& subTasks, std::list<long long>& jobIds, std::string& err,
                 int userId, int localeId, long long sequenceNumber, bool endUser, void* tran) override;
    int performOperation(std::vector<_AutomaticTaskInfo>& tasks, std::list<long long>& jobIds,
                         std::string& err, int taskOpType, int initiatedFrom, int userId, int localeId,
                         long long sequenceNumber, bool endUser, void* tran) override;
    int getDefaultOption(unsigned long long optionId, std::string& value, std::string& err,
                         void* tran) override;
};
