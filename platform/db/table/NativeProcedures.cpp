#include "platform/db/NativeProcedures.h"

#include <cstdlib>
#include <cstring>
#include <pugixml.hpp>
#include <sstream>

#include "platform/db/Bind.h"
#include "platform/db/DBerrors.h"

namespace dbl {

namespace {

struct NameToId {
    const char* nameAttribute;
    const char* idAttribute;
    const char* lookup;          // one '?' marker: the name
    const char* lookupInClient;  // the name, then the element's client id; null: names are global
};

// Clients first: the names of subclients, instances and backup sets are looked up within the
// element's client when it has one. No literal in these texts: the backend would bind it first.
const NameToId kNames[] = {
    {"clientName", "clientId", "SELECT MIN(id) FROM APP_Client WHERE name = ?", nullptr},
    {"subclientName", "subclientId", "SELECT MIN(id) FROM APP_Application WHERE subclientName = ?",
     "SELECT MIN(id) FROM APP_Application WHERE subclientName = ? AND clientId = ?"},
    {"instanceName", "instanceId", "SELECT MIN(id) FROM APP_InstanceName WHERE name = ?",
     "SELECT MIN(id) FROM APP_InstanceName WHERE name = ? AND clientId = ?"},
    {"backupsetName", "backupsetId", "SELECT MIN(id) FROM APP_BackupSetName WHERE name = ?",
     "SELECT MIN(id) FROM APP_BackupSetName WHERE name = ? AND clientId = ?"},
    {"taskName", "taskId", "SELECT MIN(taskId) FROM TM_Task WHERE taskName = ?", nullptr},
};

// One row of one text column, computed at the first step from the bound arguments.
class ComputedStatement : public Statement {
  public:
    using Compute = int (*)(Connection&, const std::string&, std::string&, Error&);
    ComputedStatement(Connection& conn, Compute compute) : m_conn(conn), m_compute(compute) {}

    void bindNull(int) override { m_arg.clear(); }
    void bindInt64(int, long long value) override { m_arg = std::to_string(value); }
    void bindText(int, const std::string& value) override { m_arg = value; }
    int step(Error& err) override {
        if (m_stepped) return 100;
        m_stepped = true;
        return m_compute(m_conn, m_arg, m_result, err);
    }
    void reset() override {
        m_stepped = false;
        m_arg.clear();
        m_result.clear();
    }
    int columnCount() override { return 1; }
    bool columnIsNull(int) override { return false; }
    long long columnInt64(int) override { return std::strtoll(m_result.c_str(), nullptr, 10); }
    void columnText(int, std::string& out) override { out = m_result; }
    long long changes() override { return 0; }
    void release() override { delete this; }

  private:
    Connection& m_conn;
    Compute m_compute;
    std::string m_arg, m_result;
    bool m_stepped = false;
};

// The id of `name` by `sql`: 0 with *id (0 when unknown), or the look-up's failure.
int lookupId(Connection& conn, const NameToId& n, const std::string& name, long long clientId, long long* id,
             Error& err) {
    bool inClient = n.lookupInClient && clientId > 0;
    std::vector<Param> params;
    StatementPtr st = conn.prepare(inClient ? n.lookupInClient : n.lookup, params, err);
    if (!st) return err.code ? err.code : DB_ERR_NO_STATEMENT;
    int next = bindParams(*st, params);
    st->bindText(next, name);
    if (inClient) st->bindInt64(next + 1, clientId);
    int rc = st->step(err);
    *id = rc == 0 && !st->columnIsNull(0) ? st->columnInt64(0) : 0;
    return rc == 100 ? 0 : rc;
}

}  // namespace

int entityNameToId(Connection& conn, const std::string& xml, std::string& out, Error& err) {
    out = xml;
    pugi::xml_document doc;
    if (!doc.load_string(xml.c_str(), pugi::parse_default | pugi::parse_declaration)) return 0;
    std::vector<pugi::xml_node> pending{doc};
    bool changed = false;
    while (!pending.empty()) {
        pugi::xml_node node = pending.back();
        pending.pop_back();
        for (pugi::xml_node child : node.children())
            if (child.type() == pugi::node_element) pending.push_back(child);
        for (const NameToId& n : kNames) {
            pugi::xml_attribute name = node.attribute(n.nameAttribute);
            pugi::xml_attribute id = node.attribute(n.idAttribute);
            if (!name || !*name.value() || (id && *id.value() && std::strcmp(id.value(), "0") != 0)) continue;
            long long found = 0;
            if (int rc = lookupId(conn, n, name.value(), node.attribute("clientId").as_llong(), &found, err))
                return rc;
            if (found == 0) continue;
            if (!id) id = node.append_attribute(n.idAttribute);
            id.set_value(found);
            changed = true;
        }
    }
    if (changed) {
        std::ostringstream text;
        doc.save(text, "", pugi::format_raw | pugi::format_no_declaration);
        out = text.str();
    }
    return 0;
}

namespace {

void addError(pugi::xml_node reply, long long code, const std::string& text) {
    pugi::xml_node e = reply.append_child("error");
    e.append_attribute("errorCode") = code;
    e.append_attribute("errorString") = text.c_str();
}

}  // namespace

int jobDetails(Connection& conn, const std::string& xml, std::string& out, Error& err) {
    pugi::xml_document reply;
    pugi::xml_node root = reply.append_child("JobManager_JobInfoResp");
    pugi::xml_document doc;
    pugi::xml_node request;
    if (doc.load_string(xml.c_str())) request = doc.child("JobManager_JobInfoReq");
    if (!request) addError(root, DB_ERR_BAD_ARGUMENTS, "the request is not a JobManager_JobInfoReq document");
    for (pugi::xml_node entity : request.children("entity")) {
        long long type = entity.attribute("entityType").as_llong(-1);
        long long id = entity.attribute("entityId").as_llong(0);
        if (type != KO_JOB_QUERY_SUBCLIENT) {
            addError(root, DB_ERR_BAD_ARGUMENTS,
                     "entity type [" + std::to_string(type) + "] cannot be queried for jobs");
            continue;
        }
        std::vector<Param> params;
        StatementPtr st = conn.prepare(
            "SELECT jobId, backupLevel, opType, status, clientId, appTypeId, subclientId FROM SRV_RunningJob "
            "WHERE subclientId = ? ORDER BY jobId",
            params, err);
        if (!st) return err.code ? err.code : DB_ERR_NO_STATEMENT;
        st->bindInt64(bindParams(*st, params), id);
        int rc;
        while ((rc = st->step(err)) == 0) {
            pugi::xml_node job = root.append_child("job");
            job.append_attribute("jobId") = st->columnInt64(0);
            // A job of no known level is written without one: it conflicts with every level.
            if (st->columnInt64(1) != 0) job.append_attribute("backupLevel") = st->columnInt64(1);
            job.append_attribute("operationType") = st->columnInt64(2);
            job.append_attribute("status") = std::to_string(st->columnInt64(3)).c_str();
            job.append_attribute("clientId") = st->columnInt64(4);
            job.append_attribute("apptypeId") = st->columnInt64(5);
            job.append_attribute("subclientId") = st->columnInt64(6);
        }
        if (rc != 100) return rc;
    }
    std::ostringstream text;
    reply.save(text, "", pugi::format_raw | pugi::format_no_declaration);
    out = text.str();
    return 0;
}

StatementPtr prepareNativeProcedure(Connection& conn, const std::string& name, int argCount, Error& err) {
    ComputedStatement::Compute compute = nullptr;
    if (name == "EntityNameToIdConverter")
        compute = entityNameToId;
    else if (name == "JMGetJobDetails")
        compute = jobDetails;
    else
        return nullptr;
    if (argCount != 1) {
        err.set(DB_ERR_BAD_ARGUMENTS,
                "stored procedure [" + name + "] takes 1 argument, " + std::to_string(argCount) + " given");
        return nullptr;
    }
    return StatementPtr(new ComputedStatement(conn, compute));
}

}  // namespace dbl
