#pragma once
// Texts of the job manager's shared header: defined by this library (not read by it) so that callers
// linking the shared header see the same values.
#include <string>

#include "TaskExport.h"

TASKDB_API extern const std::string JMBackupOptypeListForBLR;
TASKDB_API extern const std::string KO_NOMAD_DRIVE_USER_ID;
TASKDB_API extern const std::string KO_NOMAD_DRIVE_USER_GUID;
TASKDB_API extern const std::string KO_PROP_UNC_CREDENTIAL_REF_ID;
TASKDB_API extern const std::string KO_PROP_PREPOST_CREDENTIAL_REF_ID;
TASKDB_API extern const std::string KO_PROP_USE_CREDENTIAL_USER;
TASKDB_API extern const std::string KO_DB_DUMP_CONFIG_XML;
TASKDB_API extern const std::string KO_ORACLE_DB_ARCHIVE_CONFIG_OPTIONS_XML;
TASKDB_API extern const std::string KO_CLOUD_USER_ID;
TASKDB_API extern const std::string KO_CLOUD_USER_PASSWORD;
TASKDB_API extern const std::string KO_CLOUD_AZURE_SUBSCRIPTION_ID;
TASKDB_API extern const std::string KO_CLOUD_AZURE_TENANT_ID;
TASKDB_API extern const std::string KO_PROP_CLOUD_VS_AMAZON_ACCESS_KEY;
TASKDB_API extern const std::string KO_PROP_CLOUD_VS_AMAZON_SECRET_KEY;
TASKDB_API extern const std::string vmFatalError;
