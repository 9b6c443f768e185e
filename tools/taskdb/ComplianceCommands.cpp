// taskdb compliance options|record-centers|connectors|legal-holds|tags and taskdb search populate: the
// compliance lists as the library returns them, and a search request completed from the store.
#include <fstream>
#include <iostream>
#include <sstream>

#include "TaskInterfaceDB/SearchRequest.h"
#include "tools/taskdb/Args.h"
#include "tools/taskdb/Output.h"
#include "tools/taskdb/Session.h"

namespace {

struct ComplianceArgs {
    int kind = 11;  // every kind
    int complianceId = 0;
    int user = 0;
    int id = -1;
    std::string textId;
    std::string file;
};

// Stored passwords are never shown, only whether there is one.
std::string masked(const std::string& secret) {
    return secret.empty() ? "" : "***";
}

int listed(const std::string& what, bool filtered, std::size_t count) {
    return filtered && count == 0 ? reportNotFound(what) : kExitOk;
}

int options(const ToolContext& ctx, const ComplianceArgs& a) {
    Session s(ctx);
    std::list<_ComplianceOptionInfo> rows;
    std::string err;
    int rc = s.ti().getComplianceOptionList(0, rows, err, a.complianceId,
                                            static_cast<koComplianceOptions>(a.kind), a.user);
    if (rc != 0) return checkCall("getComplianceOptionList", rc, err);
    Json out = Json::array();
    std::vector<std::vector<std::string>> table;
    for (const auto& r : rows) {
        out.push_back({{"kind", static_cast<int>(r.optionType)}, {"xmlValue", r.xmlValue}});
        table.push_back({std::to_string(r.optionType), r.xmlValue});
    }
    ctx.json ? printJson(out) : printTable({"KIND", "XML"}, table);
    // Search requests are completed on the previous row's text (the first on an empty one), so a population
    // text in err is expected and does not fail the listing; it is shown as a warning.
    if (!err.empty()) std::cerr << "taskdb: warning: " << maskSecrets(err) << '\n';
    return listed("compliance options of " + std::to_string(a.complianceId), true, rows.size());
}

int recordCenters(const ToolContext& ctx, const ComplianceArgs& a) {
    Session s(ctx);
    std::list<_RecordCenterInfo> rows;
    std::string err;
    int rc = s.ti().getRecordCenterList(rows, err, a.id);
    if (checkCall("getRecordCenterList", rc, err) != kExitOk) return kExitFailure;
    Json out = Json::array();
    std::vector<std::vector<std::string>> table;
    for (const auto& r : rows) {
        out.push_back({{"id", r.id},
                       {"url", r.url},
                       {"recordName", r.recordName},
                       {"userName", r.userName},
                       {"password", masked(r.password)},
                       {"domain", r.domain},
                       {"type", r.type},
                       {"description", r.description},
                       {"xmlValue", r.xmlValue},
                       {"status", r.status}});
        table.push_back({std::to_string(r.id), r.recordName, r.url, r.userName, r.domain,
                         std::to_string(r.type), std::to_string(r.status)});
    }
    ctx.json ? printJson(out) : printTable({"ID", "NAME", "URL", "USER", "DOMAIN", "TYPE", "STATUS"}, table);
    return listed("record center " + std::to_string(a.id), a.id >= 0, rows.size());
}

int connectors(const ToolContext& ctx, const ComplianceArgs& a) {
    Session s(ctx);
    std::list<_RecordConnectorInfo> rows;
    std::string err;
    int rc = s.ti().getRecordConnectorList(rows, err, a.id);
    if (checkCall("getRecordConnectorList", rc, err) != kExitOk) return kExitFailure;
    Json out = Json::array();
    std::vector<std::vector<std::string>> table;
    for (const auto& r : rows) {
        out.push_back({{"id", r.id},
                       {"recordId", r.recordId},
                       {"recordName", r.recordName},
                       {"connectorName", r.connectorName},
                       {"description", r.description},
                       {"xmlValue", r.xmlValue},
                       {"status", r.status}});
        table.push_back({std::to_string(r.id), r.connectorName, std::to_string(r.recordId), r.recordName,
                         std::to_string(r.status)});
    }
    ctx.json ? printJson(out) : printTable({"ID", "NAME", "RECORD", "RECORD NAME", "STATUS"}, table);
    return listed("connector " + std::to_string(a.id), a.id >= 0, rows.size());
}

int legalHolds(const ToolContext& ctx, const ComplianceArgs& a) {
    Session s(ctx);
    std::list<_LegalHoldInfo> rows;
    std::string err;
    int rc = s.ti().getLegalHoldList(rows, err, a.textId);
    if (checkCall("getLegalHoldList", rc, err) != kExitOk) return kExitFailure;
    Json out = Json::array();
    std::vector<std::vector<std::string>> table;
    for (const auto& r : rows) {
        out.push_back({{"legalHoldId", r.legalHoldId},
                       {"name", r.name},
                       {"description", r.description},
                       {"retainUntil", r.retainUntil},
                       {"backupsetId", r.backupsetId},
                       {"attribute", r.attribute},
                       {"userGuid", r.userGUID},
                       {"createTime", r.createTime},
                       {"modifiedTime", r.modifiedTime}});
        table.push_back(
            {r.legalHoldId, r.name, std::to_string(r.backupsetId), std::to_string(r.retainUntil)});
    }
    ctx.json ? printJson(out) : printTable({"ID", "NAME", "BACKUP SET", "RETAIN UNTIL"}, table);
    return listed("legal hold " + a.textId, !a.textId.empty(), rows.size());
}

int tags(const ToolContext& ctx, const ComplianceArgs& a) {
    Session s(ctx);
    std::list<_DM2TagInfo> rows;
    std::string err;
    _DM2TagInfo filter;
    filter.tagId = a.textId;
    int rc = s.ti().getTagList(rows, err, &filter);
    if (checkCall("getTagList", rc, err) != kExitOk) return kExitFailure;
    Json out = Json::array();
    std::vector<std::vector<std::string>> table;
    for (const auto& r : rows) {
        out.push_back({{"tagId", r.tagId},
                       {"tagValue", r.tagValue},
                       {"description", r.description},
                       {"attribute", r.attribute},
                       {"createdBy", r.createdBy}});
        table.push_back({r.tagId, r.tagValue, r.description, r.createdBy});
    }
    ctx.json ? printJson(out) : printTable({"ID", "VALUE", "DESCRIPTION", "CREATED BY"}, table);
    return listed("tag " + a.textId, !a.textId.empty(), rows.size());
}

int populate(const ToolContext& ctx, const ComplianceArgs& a) {
    std::ifstream in(a.file, std::ios::binary);
    if (!in) return reportFailure("search populate", kExitFailure, "cannot read " + a.file);
    std::ostringstream text;
    text << in.rdbuf();
    std::string xml = text.str(), err;
    Session s(ctx);
    int rc = populateSearchOption(xml, err, a.user);
    if (checkCall("populateSearchOption", rc, err) != kExitOk) return kExitFailure;
    if (ctx.json)
        printJson({{"xml", xml}});
    else
        std::cout << xml << '\n';
    return 0;
}

}  // namespace

void addComplianceCommands(CLI::App& app, ToolContext& ctx) {
    static ComplianceArgs a;
    auto* comp = app.add_subcommand("compliance", "The compliance lists");
    comp->require_subcommand(1);
    auto* opts = comp->add_subcommand("options", "A compliance definition's options");
    addNumber(opts, "--id", a.complianceId, "Compliance id")->required();
    addNumber(opts, "--kind", a.kind, "Option kind 0-10, 11 every kind (default)", 0, 11);
    addNumber(opts, "--user", a.user, "User of the search requests' security check (0: every client)");
    opts->callback([&] { ctx.exitCode = options(ctx, a); });
    auto* rc = comp->add_subcommand("record-centers", "Record centers");
    addNumber(rc, "--id", a.id, "Record center id (default: all)");
    rc->callback([&] { ctx.exitCode = recordCenters(ctx, a); });
    auto* conn = comp->add_subcommand("connectors", "Record center connectors");
    addNumber(conn, "--id", a.id, "Connector id (default: all)");
    conn->callback([&] { ctx.exitCode = connectors(ctx, a); });
    auto* holds = comp->add_subcommand("legal-holds", "Legal holds");
    holds->add_option("--id", a.textId, "Legal hold id (the library's filter never selects by it)");
    holds->callback([&] { ctx.exitCode = legalHolds(ctx, a); });
    auto* tagCmd = comp->add_subcommand("tags", "Document tags");
    tagCmd->add_option("--id", a.textId, "Tag id (the library's filter never selects by it)");
    tagCmd->callback([&] { ctx.exitCode = tags(ctx, a); });

    auto* search = app.add_subcommand("search", "Content-search requests");
    search->require_subcommand(1);
    auto* pop =
        search->add_subcommand("populate", "Print a search request completed from the store and the clock");
    pop->add_option("file", a.file, "The request (DM2ContentIndexing_SearchRequest XML)")->required();
    addNumber(pop, "--user", a.user, "User of the security check (0: every client)");
    pop->callback([&] { ctx.exitCode = populate(ctx, a); });
}
