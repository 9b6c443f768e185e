#include "TaskInterfaceDB/TaskInterfaceDB.h"

int TaskInterfaceDB::getJobInfo(_TaskInfo&, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::getTaskInfo(_TaskInfo&, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::getSubTaskInfo(_TaskInfo&, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::getEntityInfo(_TaskInfo&, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::setTaskInfo(_TaskInfo, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::setSubTaskInfo(_TaskInfo, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::setEntityInfo(_TaskInfo, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::getDefaultTaskId(_TaskInfo&, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::getPatternInfo(_TaskInfo&, std::string& err, void*) { return notAvailable(err); }
