#pragma once
// The records that cross the TaskInterface: plain aggregates with public fields, in a fixed order.
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "TaskCarriers.h"

// One task (a TM_Task row).
struct Sched_Task {
    unsigned int taskId = 0;
    unsigned int taskType = 0;
    unsigned int flags = 0;
    unsigned int status = 0;
    unsigned int alertId = 0;
    unsigned int ownerId = 0;
    unsigned int runUserId = 0;
    unsigned int localeId = 0;
    unsigned int initiatedFrom = 0;
    unsigned long long sequenceNumber = 0;
    std::string description;
};

// One subtask (a TM_SubTask row).
struct Sched_SubTask {
    unsigned int subTaskId = 0;
    unsigned int taskId = 0;
    unsigned int subTaskType = 0;
    unsigned int operationType = 0;
    unsigned int subTaskOrder = 0;
};

// One associated entity (a TM_AssocEntity row; flags, created and later columns are not carried).
struct Sched_AssocEntity {
    unsigned int assocId = 0;
    unsigned int assocType = 0;
    unsigned int taskId = 0;
    unsigned int clientGroupId = 0;
    unsigned int clientId = 0;
    unsigned int apptypeId = 0;
    unsigned int instanceId = 0;
    unsigned int backupsetId = 0;
    unsigned int subclientId = 0;
    unsigned int policyId = 0;
    unsigned int copyId = 0;
    unsigned int srmReportSet = 0;
    unsigned int srmReportType = 0;
};

// One schedule pattern (a TM_Pattern row; the pattern id is not carried).
struct Sched_Pattern {
    std::string name;
    unsigned int ownerId = 0;
    unsigned int freq_type = 0;
    unsigned int freq_interval = 0;
    unsigned int freq_relative_interval = 0;
    unsigned int freq_recurrence_factor = 0;
    unsigned int freq_subday_interval = 0;
    unsigned int skipOccurence = 0;
    unsigned int skipDayNumber = 0;
    std::string active_start_date;
    unsigned int active_start_time = 0;
    std::string active_end_date;
    unsigned int active_end_time = 0;
    unsigned int active_end_occurence = 0;
    unsigned int tzId = 0;
    unsigned int calendarId = 0;
    unsigned int local_start_date = 0;
    unsigned int local_end_date = 0;
    unsigned int freq_restart_interval = 0;
};

struct _SubTaskInfo {
    Sched_SubTask subTask;
    std::string name;
};

// One automatic (schedule-fired) run: (subtask id, task id) pairs and the entities of the run.
struct _AutomaticTaskInfo {
    std::vector<_SubTaskInfo> subTasks;
    std::vector<Sched_AssocEntity> entities;
};

struct _SchedClientUpdateInfo {
    unsigned int clientId = 0;
    unsigned int updateFlag = 0;
};

struct _UpdateInformation {
    std::list<_SchedClientUpdateInfo> clients;
};

// The request-and-answer record of most operations.
//
// Ownership: the record owns its eight file lists. Copies are deep (each list is duplicated), so the
// three operations that take the record by value never share or double-free a list. A moved-from
// record keeps null lists, which its destructor skips.
struct _TaskInfo {
    static constexpr int kFileLists = 8;

    long long jobId = 0;
    unsigned long long taskId = 0;
    unsigned long long subTaskId = 0;
    int type = 0;
    unsigned long long optionId = 0;
    std::string value;
    std::string auxText;  // not read or written by the library
    unsigned long long bitOptions = 0;
    std::string extendedOptions;
    std::string xmlOptions;
    bool auxFlag = false;       // not read by the library
    bool addDuplicate = false;  // setOptions adds a second row for an existing option
    Sched_Task task;
    Sched_SubTask subTask;
    std::vector<Sched_AssocEntity> entities;
    std::vector<Sched_Pattern> patterns;
    TaskFileList* fileLists[kFileLists];

    _TaskInfo() {
        for (auto& l : fileLists) l = new TaskFileList;
    }
    ~_TaskInfo() { freeLists(); }
    _TaskInfo(const _TaskInfo& o) : _TaskInfo(o, 0) {
        for (int i = 0; i < kFileLists; ++i)
            fileLists[i] = o.fileLists[i] ? new TaskFileList(*o.fileLists[i]) : nullptr;
    }
    _TaskInfo(_TaskInfo&& o) noexcept : _TaskInfo(std::move(o), 0) {
        for (int i = 0; i < kFileLists; ++i) {
            fileLists[i] = o.fileLists[i];
            o.fileLists[i] = nullptr;
        }
    }
    _TaskInfo& operator=(const _TaskInfo& o) {
        if (this != &o) {
            _TaskInfo copy(o);
            swap(copy);
        }
        return *this;
    }
    _TaskInfo& operator=(_TaskInfo&& o) noexcept {
        if (this != &o) swap(o);
        return *this;
    }
    void swap(_TaskInfo& o) noexcept {
        std::swap(jobId, o.jobId);
        std::swap(taskId, o.taskId);
        std::swap(subTaskId, o.subTaskId);
        std::swap(type, o.type);
        std::swap(optionId, o.optionId);
        value.swap(o.value);
        auxText.swap(o.auxText);
        std::swap(bitOptions, o.bitOptions);
        extendedOptions.swap(o.extendedOptions);
        xmlOptions.swap(o.xmlOptions);
        std::swap(auxFlag, o.auxFlag);
        std::swap(addDuplicate, o.addDuplicate);
        std::swap(task, o.task);
        std::swap(subTask, o.subTask);
        entities.swap(o.entities);
        patterns.swap(o.patterns);
        for (int i = 0; i < kFileLists; ++i) std::swap(fileLists[i], o.fileLists[i]);
    }

  private:
    // Copies or moves every field but the file lists, which the public constructors then set.
    template <class T>
    _TaskInfo(T&& o, int)
        : jobId(o.jobId),
          taskId(o.taskId),
          subTaskId(o.subTaskId),
          type(o.type),
          optionId(o.optionId),
          value(std::forward<T>(o).value),
          auxText(std::forward<T>(o).auxText),
          bitOptions(o.bitOptions),
          extendedOptions(std::forward<T>(o).extendedOptions),
          xmlOptions(std::forward<T>(o).xmlOptions),
          auxFlag(o.auxFlag),
          addDuplicate(o.addDuplicate),
          task(std::forward<T>(o).task),
          subTask(o.subTask),
          entities(std::forward<T>(o).entities),
          patterns(std::forward<T>(o).patterns) {}
    void freeLists() {
        for (auto& l : fileLists) {
            if (l) {
                delete l;
                l = nullptr;
            }
        }
    }
};
