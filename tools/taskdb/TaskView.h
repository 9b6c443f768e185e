#pragma once
// Reading and showing a whole task: the task, one subtask, its entities and its schedule patterns.
#include <string>

#include "TaskInterface.h"
#include "tools/taskdb/Output.h"

// Fills info.task, info.subTask, info.entities and info.patterns from info.taskId (and info.subTaskId when
// set). 0, or the failing operation's code with "<operation>: <error text>" in err.
int readTask(TaskInterface& ti, _TaskInfo& info, std::string& err);
void printTask(const _TaskInfo& info);
Json taskJson(const _TaskInfo& info);
