#include "TaskInterfaceDB/TaskInterfaceDB.h"

int TaskInterfaceDB::getComplianceOptionList(long long, std::list<_ComplianceOptionInfo>&, std::string& err,
                                             int, koComplianceOptions, int) {
    return notAvailable(err);
}
int TaskInterfaceDB::getRecordCenterList(std::list<_RecordCenterInfo>&, std::string& err, int) {
    return notAvailable(err);
}
int TaskInterfaceDB::getRecordConnectorList(std::list<_RecordConnectorInfo>&, std::string& err, int) {
    return notAvailable(err);
}
int TaskInterfaceDB::getLegalHoldList(std::list<_LegalHoldInfo>&, std::string& err, std::string) {
    return notAvailable(err);
}
int TaskInterfaceDB::getTagList(std::list<_DM2TagInfo>&, std::string& err, _DM2TagInfo*) {
    return notAvailable(err);
}
