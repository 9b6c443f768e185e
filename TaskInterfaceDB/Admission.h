#pragma once
// Whether a scheduled job may start for one entity of a task, and the facts the decision needs.
#include <list>
#include <string>

#include "TaskExport.h"
#include "TaskRecords.h"

// Codes of a refused start; 0 means the job may start.
constexpr unsigned int KO_ADMIT_XML_INIT_FAILED = 0xB0001;
constexpr unsigned int KO_ADMIT_XML_PARSE_FAILED = 0xB0002;
constexpr unsigned int KO_ADMIT_XML_SERIALIZE_FAILED = 0xB0008;
constexpr unsigned int KO_ADMIT_SCHEDULER_DISABLED = 0x1300028F;
constexpr unsigned int KO_ADMIT_ACTIVITY_DISABLED_TYPE1 = 0x130002E4;
constexpr unsigned int KO_ADMIT_ACTIVITY_DISABLED_TYPE2 = 0x130002E5;
constexpr unsigned int KO_ADMIT_ACTIVITY_DISABLED_TYPE3 = 0x1300027F;
constexpr unsigned int KO_ADMIT_JOB_RUNNING = 0x300001B;
constexpr unsigned int KO_ADMIT_ENTITY_REMOVED = 0x23000544;
constexpr unsigned int KO_ADMIT_NOMAD_DB_ERROR = 0xFFFFFFFF;

// The backup-level option of a subtask (TM_SubTaskOptions.optionId).
constexpr long long KO_BACKUP_LEVEL_OPTION_ID = 458405394;

// 0 when a job of `subTask` may start for `entity`, else why not. The flags report what was learnt
// about the entity on the way; a flag the decision never reached keeps the caller's value.
TASKDB_API unsigned int checkIfJobCanStart(Sched_AssocEntity entity, Sched_SubTask subTask,
                                           std::string& errorString, int localeId, bool& isNomadDrive,
                                           bool& isUserCentric, bool& maxBackupIntervalExpired, void* db,
                                           std::list<long long>& jobIds, bool& isMediaAgentClient);

// 0, KO_ADMIT_JOB_RUNNING (the running job's id appended to jobIds) or -1 on a database error.
TASKDB_API int checkIfNomadJobCanStart(Sched_AssocEntity entity, std::string& errorString, void* db,
                                       std::list<long long>& jobIds);

// 0 when the client is an enabled media agent (isMA true), else the look-up's code (isMA false).
TASKDB_API int isMediaAgent(int clientId, bool& isMA, void* db);

// The job manager's backup-level bit for a stored backup-level option value; 0 for unknown values.
TASKDB_API int getMappedBackupLevel(int storedLevel);
