#include "TaskInterfaceDB/TaskInterfaceDB.h"

int TaskInterfaceDB::lookup(_TaskInfo&, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::getDefaultOption(unsigned long long, std::string&, std::string& err, void*) {
    return notAvailable(err);
}
int TaskInterfaceDB::getOptions(_TaskInfo&, OptionCallBack*, std::string& err, void*) { return notAvailable(err); }
int TaskInterfaceDB::getDefaults(OptionCallBack*, std::string& err, void*) { return notAvailable(err); }
