#include "TaskInterfaceDB/TaskInterfaceDB.h"

int TaskInterfaceDB::performOperation(std::vector<_AutomaticTaskInfo>&, std::list<long long>&,
                                      std::string& err, int, int, int, int, long long, bool, void*) {
    return notAvailable(err);
}
