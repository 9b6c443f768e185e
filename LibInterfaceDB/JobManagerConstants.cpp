#include "LibInterfaceDB/JobManagerConstants.h"

const std::string JMBackupOptypeListForBLR = "4, 14, 18, 30, 43, 59, 60, 65";
const std::string KO_NOMAD_DRIVE_USER_ID = "Nomad Drive User Id";
const std::string KO_NOMAD_DRIVE_USER_GUID = "Nomad Drive User GUID";
const std::string KO_PROP_UNC_CREDENTIAL_REF_ID = "UNCPath Credential Assoc Id";
const std::string KO_PROP_PREPOST_CREDENTIAL_REF_ID = "prepost Credential Assoc Id";
const std::string KO_PROP_USE_CREDENTIAL_USER = "Use Credential Record";
const std::string KO_DB_DUMP_CONFIG_XML = "DB Dump Config";
const std::string KO_ORACLE_DB_ARCHIVE_CONFIG_OPTIONS_XML = "Oracle DB Archive Config Options XML";
const std::string KO_CLOUD_USER_ID = "Cloud User ID";
const std::string KO_CLOUD_USER_PASSWORD = "Cloud User Password";
const std::string KO_CLOUD_AZURE_SUBSCRIPTION_ID = "Azure Subscription Id";
const std::string KO_CLOUD_AZURE_TENANT_ID = "Azure Tenant Id";
const std::string KO_PROP_CLOUD_VS_AMAZON_ACCESS_KEY = "Amazon Center Access Key";
const std::string KO_PROP_CLOUD_VS_AMAZON_SECRET_KEY = "Amazon Center Secret Key";
const std::string vmFatalError = "**FatalError**";
