#include "TaskInterfaceDB/TaskInterfaceDB.h"

int TaskInterfaceDB::getXMLOptions(_TaskInfo&, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::getBitOptions(_TaskInfo&, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::getExtendedOptions(_TaskInfo&, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::getJobListFromTaskId(_TaskInfo&, std::list<unsigned long long>&, std::string& err, void*) {
    return notAvailable(err);
}
int TaskInterfaceDB::getJobIdsFromBkpStats(std::list<unsigned long long>&, std::string, bool, int, std::string& err,
                                           void*) {
    return notAvailable(err);
}
int TaskInterfaceDB::getJobRequestIdFromJobId(long long&, long long, std::string& err, void*) {
    return notAvailable(err);
}
