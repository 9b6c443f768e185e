// The compliance lists: one table each, read without a transaction, one record appended per row.
//
// All five: 0 on success, also when nothing matched (the close's code); an open or fetch failure returns
// its code with the table's text in `err`, keeping the rows already appended. The caller's list is never
// cleared. Any number of threads may call at once: everything lives on the stack.
#include "ComplianceKinds.h"
#include "Db/Tbl/DM2CompliancePolicy.h"
#include "Db/Tbl/DM2DocTags.h"
#include "Db/Tbl/DM2RecordCenter.h"
#include "Db/Tbl/DM2RecordCenterConnector.h"
#include "Db/Tbl/SchedAdminComplianceOptions.h"
#include "TaskInterfaceDB/Frame.h"
#include "TaskInterfaceDB/SearchRequest.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"
#include "db/Wrappers.h"
#include "platform/text/EvNDetector.h"
#include "platform/text/FXString.h"

#include <cstdint>

namespace {

// The common cursor loop: `where(table)` sets the clause, `onRow(row)` copies and appends.
template <class X, class X_t, class Where, class Row>
int listRows(const char* name, std::string& err, Where&& where, Row&& onRow) {
    TableWrapper<X, X_t> table(name, nullptr);
    where(table);
    int rc = table.openCursor(nullptr);
    if (rc != 0) {
        err = table.getErrorString();
        return rc;
    }
    while ((rc = table.fetchCursor(true, nullptr)) == 0) onRow(*table.getDataPtr());
    if (rc != DB_NO_DATA) {
        err = table.getErrorString();
        return rc;
    }
    return table.closeCursor(&err);
}

// The identifier filters hand the identifier's text to an integer conversion; the clause carries the
// text pointer's low bits, as the server has always built it, so it never selects by the identifier.
int textAsInt(const std::string& text) {
    return static_cast<int>(reinterpret_cast<std::uintptr_t>(text.c_str()));
}

unsigned long seconds(const DB_DATETIME& value) {
    DB_DATETIME copy(value);
    return EvNDetector::DbDatetimeToUlongTime(copy, false);
}

}  // namespace

int TaskInterfaceDB::getComplianceOptionList(long long jobId, std::list<_ComplianceOptionInfo>& options,
                                             std::string& err, int complianceId, koComplianceOptions kind,
                                             int securityUser) {
    const char* name = "TaskInterfaceDB::getComplianceOptionList";
    EvEvent event(name);
    _ComplianceOptionInfo record;
    const long long stored = toComplianceType(kind);
    EvDebug::DebugLvl(3, name, "Input jobId [%lld] type [%d]", jobId, static_cast<int>(stored));
    if (complianceId == 0) {
        err = "Compliance Id not found.";
        return 65538;
    }
    return listRows<SchedAdminComplianceOptions, SchedAdminComplianceOptions_t>(
        name, err,
        [&](auto& table) {
            if (stored >= 0)
                table.setWhere("dataType = %d AND complianceId = %d", static_cast<int>(stored), complianceId);
            else
                table.setWhere("complianceId = %d", complianceId);
        },
        [&](const SchedAdminComplianceOptions_t& row) {
            record.optionType =
                toComplianceOption(static_cast<unsigned long>(static_cast<long>(row.dataType)));
            // Population runs on the value the record still holds from the previous row, and the row's own
            // XML then replaces it: only its side effects survive (kept so).
            if (record.optionType == KO_COMPLIANCE_SEARCH_REQUEST)
                populateSearchOption(record.xmlValue, err, securityUser);
            record.xmlValue = FXString::ToString(row.xmlValue);
            options.push_back(record);
        });
}

int TaskInterfaceDB::getRecordCenterList(std::list<_RecordCenterInfo>& centers, std::string& err,
                                         int recordId) {
    const char* name = "TaskInterfaceDB::getRecordCenterList";
    EvEvent event(name);
    _RecordCenterInfo record;
    EvDebug::DebugLvl(3, name, "Input recordId [%d]", recordId);
    return listRows<DM2RecordCenter, DM2RecordCenter_t>(
        name, err,
        [&](auto& table) {
            if (recordId < 0)
                table.setWhere("id > 0");
            else
                table.setWhere("id = %d", recordId);
        },
        [&](const DM2RecordCenter_t& row) {
            record.id = row.id;
            record.url = row.url.c_str();
            record.recordName = FXString::ToString(row.recordName);
            record.userName = FXString::ToString(row.userName);
            record.password = FXString::ToString(row.password);
            record.domain = FXString::ToString(row.domain);
            record.type = row.type;
            record.description = FXString::ToString(row.description);
            record.xmlValue = FXString::ToString(row.xmlValue);
            record.status = row.status;
            centers.push_back(record);
        });
}

int TaskInterfaceDB::getRecordConnectorList(std::list<_RecordConnectorInfo>& connectors, std::string& err,
                                            int connectorId) {
    const char* name = "TaskInterfaceDB::getRecordConnectorList";
    EvEvent event(name);
    _RecordConnectorInfo record;
    EvDebug::DebugLvl(3, name, "Input conectorId [%d]", connectorId);
    return listRows<DM2RecordCenterConnector, DM2RecordCenterConnector_t>(
        name, err,
        [&](auto& table) {
            if (connectorId < 0)
                table.setWhere("id > 0");
            else
                table.setWhere("id = %d", connectorId);
        },
        [&](const DM2RecordCenterConnector_t& row) {
            record.id = row.id;
            record.recordId = row.recordId;
            record.recordName = FXString::ToString(row.recordName);
            record.connectorName = FXString::ToString(row.connectorName);
            record.description = FXString::ToString(row.description);
            record.xmlValue = FXString::ToString(row.xmlValue);
            record.status = row.status;
            connectors.push_back(record);
        });
}

int TaskInterfaceDB::getLegalHoldList(std::list<_LegalHoldInfo>& holds, std::string& err,
                                      std::string legalHoldId) {
    const char* name = "TaskInterfaceDB::getLegalHoldList";
    EvEvent event(name);
    _LegalHoldInfo record;
    EvDebug::DebugLvl(3, name, "Input legalHoldId [%s]", legalHoldId.c_str());
    return listRows<DM2CompliancePolicy, DM2CompliancePolicy_t>(
        name, err,
        [&](auto& table) {
            if (!legalHoldId.empty())
                table.setWhere("CompPolicyID = %d", textAsInt(legalHoldId));
            else
                table.setWhere("CompPolicyID <> ''");
        },
        [&](const DM2CompliancePolicy_t& row) {
            record.legalHoldId = row.CompPolicyID;
            record.name = FXString::ToString(row.CompPolicyName);
            record.description = FXString::ToString(row.CompPolicyDesc);
            record.retainUntil = seconds(row.RetainUntil);
            record.backupsetId = row.BackupsetId;
            record.attribute = row.Attribute;
            record.userGUID = row.UserGUID;
            record.createTime = seconds(row.CreateTime);
            record.modifiedTime = seconds(row.ModifiedTime);
            holds.push_back(record);
        });
}

int TaskInterfaceDB::getTagList(std::list<_DM2TagInfo>& tags, std::string& err, _DM2TagInfo* filter) {
    const char* name = "TaskInterfaceDB::getTagList";
    EvEvent event(name);
    _DM2TagInfo record;
    const std::string tagId = filter ? filter->tagId : std::string();
    EvDebug::DebugLvl(3, name, "Input tagId [%s]", tagId.c_str());
    return listRows<DM2DocTags, DM2DocTags_t>(
        name, err,
        [&](auto& table) {
            if (!tagId.empty())
                table.setWhere("TagID = %d", textAsInt(tagId));
            else
                table.setWhere("TagID <> ''");
        },
        [&](const DM2DocTags_t& row) {
            record.attribute = row.Attribute;
            record.tagId = row.TagID;
            record.tagValue = FXString::ToString(row.TagValue);
            record.description = FXString::ToString(row.TagDesc);
            record.createdBy = FXString::ToString(row.CreatedBy);
            tags.push_back(record);
        });
}
