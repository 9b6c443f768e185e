#include "TaskInterfaceDB/TaskInterfaceDB.h"

int TaskInterfaceDB::setOptions(_TaskInfo&, std::vector<const TaskOption*>, std::string& err, void*) {
    return notAvailable(err);
}
int TaskInterfaceDB::removeOptions(_TaskInfo&, std::vector<const TaskOption*>, std::string& err, void*) {
    return notAvailable(err);
}
int TaskInterfaceDB::removeOptions(_TaskInfo&, const std::vector<unsigned long long>&, std::string& err, void*) {
    return notAvailable(err);
}
int TaskInterfaceDB::getFiles(_TaskInfo&, FileCallBack*, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::setFiles(_TaskInfo&, std::vector<const TaskFile*>, std::string& err, void*) {
    return notAvailable(err);
}
int TaskInterfaceDB::removeFiles(_TaskInfo&, std::vector<const TaskFile*>, std::string& err, void*) {
    return notAvailable(err);
}
int TaskInterfaceDB::removeFiles(_TaskInfo&, const std::vector<std::string>&, std::string& err, void*) {
    return notAvailable(err);
}
