#pragma once
// Compliance kinds and the records that the compliance list operations fill.
#include <string>

// Kinds of compliance option; 1 is a stored content-search request, 11 stands for every kind.
enum koComplianceOptions {
    KO_COMPLIANCE_OPTION_0 = 0,
    KO_COMPLIANCE_SEARCH_REQUEST = 1,
    KO_COMPLIANCE_OPTION_2 = 2,
    KO_COMPLIANCE_OPTION_3 = 3,
    KO_COMPLIANCE_OPTION_4 = 4,
    KO_COMPLIANCE_OPTION_5 = 5,
    KO_COMPLIANCE_OPTION_6 = 6,
    KO_COMPLIANCE_OPTION_7 = 7,
    KO_COMPLIANCE_OPTION_8 = 8,
    KO_COMPLIANCE_OPTION_9 = 9,
    KO_COMPLIANCE_OPTION_10 = 10,
    KO_COMPLIANCE_ALL = 11
};

struct _ComplianceOptionInfo {
    koComplianceOptions optionType = KO_COMPLIANCE_OPTION_0;
    std::string xmlValue;
};

struct _RecordCenterInfo {
    int id = 0;
    std::string url;
    std::string recordName;
    std::string userName;
    std::string password;  // exactly as stored
    std::string domain;
    int type = 0;
    std::string description;
    std::string xmlValue;
    int status = 0;
};

struct _RecordConnectorInfo {
    int id = 0;
    int recordId = 0;
    std::string recordName;
    std::string connectorName;
    std::string description;
    std::string xmlValue;
    int status = 0;
};

struct _LegalHoldInfo {
    std::string legalHoldId;
    std::string name;
    std::string description;
    unsigned long retainUntil = 0;  // seconds since the epoch
    int backupsetId = 0;
    int attribute = 0;
    std::string userGUID;
    unsigned long createTime = 0;
    unsigned long modifiedTime = 0;
};

struct _DM2TagInfo {
    int attribute = 0;
    std::string tagId;
    std::string tagValue;
    std::string description;
    std::string createdBy;
};
