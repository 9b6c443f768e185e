#include "TaskInterfaceDB/TaskInterfaceDB.h"

int TaskInterfaceDB::GetUpdateInfo(_UpdateInformation&, std::string& err, unsigned long, unsigned long,
                                   unsigned long) {
    return notAvailable(err);
}
int TaskInterfaceDB::CreateTask(std::string&, std::list<long long>&, int&, int, std::string& err, int,
                                long long, bool, bool) {
    return notAvailable(err);
}
int TaskInterfaceDB::TaskRequest(std::string&, std::list<long long>&, int&, int, std::string& err,
                                 unsigned long, int, long long, bool, bool) {
    return notAvailable(err);
}
int TaskInterfaceDB::getAutomaticSchedulePattern(_TaskInfo&, std::string& err, void*) {
    return notAvailable(err);
}
int TaskInterfaceDB::runTasks(std::vector<Sched_SubTask>&, std::list<long long>&, std::string& err, int, int,
                              long long, bool, void*) {
    return notAvailable(err);
}
