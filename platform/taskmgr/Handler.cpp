// The task manager's work: a task creation request becomes a task with its subtasks, entities,
// patterns and options; a run request becomes one job request and one job per subtask and entity.
// Requests are checked as they are written; the first refusal rolls everything back.
#include "platform/taskmgr/Handler.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <ctime>
#include <pugixml.hpp>
#include <sstream>

#include "platform/db/DBcatalog.h"
#include "platform/taskmgr/StoreWriter.h"
#include "platform/taskmgr/TaskManager.h"
#include "platform/trace/EvDebug.h"

namespace taskmgr {

void (*g_beforeCommit)() = nullptr;

namespace {

constexpr const char* kTrace = "EvTaskMgr::handle";
constexpr int kRunOperation = 5;

// A refusal or a store failure: the status and text of the reply.
struct Failure {
    long long status;
    std::string text;
    long long jobId = 0;  // the running job that refused a run
};

// A run refused because its subclient already has a job running.
constexpr long long KO_TASKMGR_JOB_RUNNING = 0x300001B;

bool parseInt(const char* text, long long& out) {
    const char* end = text + std::strlen(text);
    auto [p, ec] = std::from_chars(text, end, out);
    return ec == std::errc() && p == end && p != text;
}

// A value of the message: the attribute `name`, else the text of the child element `name` (messages
// write some scalars as elements); null when neither is there.
const char* valueOf(const pugi::xml_node& node, const char* name) {
    if (pugi::xml_attribute a = node.attribute(name)) return a.value();
    if (pugi::xml_node c = node.child(name)) return c.text().get();
    return nullptr;
}

// An integer value: `fallback` when absent; a refusal when present but not a number.
long long intAttr(const pugi::xml_node& node, const char* name, long long fallback) {
    const char* a = valueOf(node, name);
    if (!a) return fallback;
    long long v = 0;
    if (!parseInt(a, v))
        throw Failure{KO_TASKMGR_BAD_REQUEST,
                      std::string("value [") + a + "] of " + node.name() + "/@" + name + " is not a number"};
    return v;
}

const DBschemaTable& catalogTable(const char* name) {
    int count = 0;
    const DBschemaTable* tables = DBcatalogTables(&count);
    for (int i = 0; i < count; ++i)
        if (std::strcmp(tables[i].name, name) == 0) return tables[i];
    throw Failure{KO_TASKMGR_BAD_REQUEST, std::string("table ") + name + " is not in the schema"};
}

class Writer {
  public:
    explicit Writer(const Request& request)
        : m_request(request), m_now(static_cast<long long>(std::time(nullptr))) {}

    void begin() { check(m_store.begin(&m_err)); }
    void commit() {
        if (g_beforeCommit) g_beforeCommit();
        check(m_store.commit(&m_err));
    }

    // An INSERT of the attributes of `node` that name columns of `table` (its identity excepted),
    // then of `fixed` (columns the task manager sets itself, which the node cannot override).
    long long insertRow(const char* table, const pugi::xml_node& node,
                        const std::vector<std::pair<const char*, dbl::Param>>& fixed) {
        const DBschemaTable& t = catalogTable(table);
        std::string columns, markers;
        Values values;
        auto add = [&](const char* name, dbl::Param value) {
            columns += (columns.empty() ? "" : ", ") + std::string(name);
            markers += markers.empty() ? "?" : ", ?";
            values.push_back(std::move(value));
        };
        for (int i = 0; i < t.columnCount; ++i) {
            const DBschemaColumn& c = t.columns[i];
            if (std::strcmp(c.name, t.identity) == 0) continue;
            bool isFixed = false;
            for (const auto& f : fixed) isFixed = isFixed || std::strcmp(f.first, c.name) == 0;
            const char* a = valueOf(node, c.name);
            if (isFixed || !a) continue;
            if (c.letter == 's' || c.letter == 'u' || c.letter == 't') {
                std::string v = a;
                if (c.width > 0 && v.size() >= static_cast<size_t>(c.width))
                    throw Failure{KO_TASKMGR_BAD_REQUEST, std::string(table) + "." + c.name +
                                                              " holds at most " +
                                                              std::to_string(c.width - 1) + " characters"};
                add(c.name, textValue(v));
            } else {
                add(c.name, intValue(intAttr(node, c.name, 0)));
            }
        }
        for (const auto& f : fixed) add(f.first, f.second);
        std::string sql = "INSERT INTO " + std::string(table) + " (" + columns + ") VALUES (" + markers + ")";
        long long id = 0;
        if (*t.identity)
            check(m_store.insert(table, t.identity, sql, values, &id, &m_err));
        else
            check(m_store.exec(sql, values, &m_err));
        return id;
    }

    void exec(const std::string& sql, const Values& values) { check(m_store.exec(sql, values, &m_err)); }
    std::vector<std::vector<long long>> rows(const std::string& sql, const Values& values) {
        std::vector<std::vector<long long>> out;
        check(m_store.queryRows(sql, values, &out, &m_err));
        return out;
    }

    const Request& request() const { return m_request; }
    long long now() const { return m_now; }

  private:
    void check(int code) {
        if (code != 0) throw Failure{code, m_err};
    }

    const Request& m_request;
    long long m_now;
    StoreWriter m_store;
    std::string m_err;
};

// ---- runs

struct Subtask {
    long long subTaskId = 0, taskId = 0, subTaskType = 0, operationType = 0;
    std::string subOperationType;
};

struct Entity {
    long long clientGroupId = 0, clientId = 0, apptypeId = 0, instanceId = 0, backupsetId = 0,
              subclientId = 0;
};

struct OptionValue {
    long long optionId;
    std::string value;
};

Subtask readSubtask(Writer& w, long long subTaskId, long long taskId) {
    auto found = w.rows("SELECT taskId, subTaskType, operationType FROM TM_SubTask WHERE subTaskId = ?",
                        {intValue(subTaskId)});
    if (found.empty() || (taskId > 0 && found[0][0] != taskId))
        throw Failure{KO_TASKMGR_NOT_FOUND, "subtask " + std::to_string(subTaskId) +
                                                (taskId > 0 ? " of task " + std::to_string(taskId) : "") +
                                                " does not exist"};
    Subtask s;
    s.subTaskId = subTaskId;
    s.taskId = found[0][0];
    s.subTaskType = found[0][1];
    s.operationType = found[0][2];
    return s;
}

// The entities of the subtask's task, as TM_AssocEntity lists them.
std::vector<Entity> storedEntities(Writer& w, const Subtask& s) {
    std::vector<Entity> out;
    for (const auto& r :
         w.rows("SELECT clientGroupId, clientId, apptypeId, instanceId, backupsetId, subclientId "
                "FROM TM_AssocEntity WHERE taskId = ? ORDER BY assocId",
                {intValue(s.taskId)}))
        out.push_back(Entity{r[0], r[1], r[2], r[3], r[4], r[5]});
    return out;
}

class Runner {
  public:
    Runner(Writer& w, long long opType, long long initiatedFrom, std::vector<OptionValue> options)
        : m_w(w), m_opType(opType), m_initiatedFrom(initiatedFrom), m_options(std::move(options)) {}

    // One job request and job per entity (the given ones, else the task's, else one without entity).
    void run(const Subtask& s, std::vector<Entity> entities) {
        if (m_opType != kRunOperation) {
            request(s);
            return;
        }
        if (entities.empty()) entities = storedEntities(m_w, s);
        if (entities.empty()) entities.push_back(Entity{});
        for (const Entity& e : entities) job(s, e, request(s));
    }

    const std::vector<long long>& jobIds() const { return m_jobIds; }

  private:
    long long request(const Subtask& s) {
        pugi::xml_node none;
        return m_w.insertRow(
            "TM_JobRequest", none,
            {{"taskId", intValue(s.taskId)},
             {"subTaskId", intValue(s.subTaskId)},
             {"subTaskType", intValue(s.subTaskType)},
             {"operationType", intValue(m_opType == kRunOperation ? s.operationType : m_opType)},
             {"initiatedFrom", intValue(m_initiatedFrom)},
             {"userId", intValue(static_cast<long long>(m_w.request().userId))},
             {"created", intValue(m_w.now())},
             {"subOperationType", textValue(s.subOperationType)}});
    }

    void job(const Subtask& s, const Entity& e, long long requestId) {
        refuseWhenRunning(e);
        if (m_nextJobId == 0) {
            // After every job the store knows of, queued or running.
            m_nextJobId = std::max(m_w.rows("SELECT MAX(jobId) FROM TM_Jobs", {})[0][0],
                                   m_w.rows("SELECT MAX(jobId) FROM SRV_RunningJob", {})[0][0]) +
                          1;
            auto local = m_w.rows("SELECT MIN(id) FROM APP_Orbis WHERE isLocal = ?", {intValue(1)});
            m_orbisId = local.empty() ? 0 : local[0][0];
        }
        long long jobId = m_nextJobId++;
        m_w.exec(
            "INSERT INTO TM_Jobs (jobId, jobRequestId, predecessor, status, timeToStart) VALUES (?, ?, ?, ?, "
            "?)",
            {intValue(jobId), intValue(requestId), intValue(0), intValue(0), intValue(m_w.now())});
        for (const OptionValue& o : m_options)
            m_w.exec(
                "INSERT INTO TM_JobOptions (jobId, optionId, type, value, taskId, subTaskId, lastJobId, "
                "created, "
                "modified) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)",
                {intValue(jobId), intValue(o.optionId), intValue(0), textValue(o.value), intValue(s.taskId),
                 intValue(s.subTaskId), intValue(0), intValue(m_w.now()), intValue(0)});
        m_w.exec(
            "INSERT INTO SRV_RunningJob (jobId, orbisId, clientId, subclientId, appTypeId, opType, "
            "backupLevel, "
            "status, startTime) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)",
            {intValue(jobId), intValue(m_orbisId), intValue(e.clientId), intValue(e.subclientId),
             intValue(e.apptypeId), intValue(s.operationType), intValue(0), intValue(0),
             intValue(m_w.now())});
        m_jobIds.push_back(jobId);
    }

    // One job per subclient at a time, jobs of this same request aside. The subclient's row is locked
    // first (a write to it), so that of two run requests for it the second waits here until the first
    // has committed its job, then sees it.
    void refuseWhenRunning(const Entity& e) {
        if (e.subclientId <= 0) return;
        m_w.exec("UPDATE APP_Application SET subclientStatus = subclientStatus WHERE id = ?",
                 {intValue(e.subclientId)});
        for (const auto& row :
             m_w.rows("SELECT jobId FROM SRV_RunningJob WHERE subclientId = ? AND jobId > ? "
                      "ORDER BY jobId",
                      {intValue(e.subclientId), intValue(0)})) {
            if (std::find(m_jobIds.begin(), m_jobIds.end(), row[0]) != m_jobIds.end()) continue;
            throw Failure{KO_TASKMGR_JOB_RUNNING,
                          "job [" + std::to_string(row[0]) + "] is already running for subclient [" +
                              std::to_string(e.subclientId) + "]",
                          row[0]};
        }
    }

    Writer& m_w;
    long long m_opType, m_initiatedFrom;
    std::vector<OptionValue> m_options;
    std::vector<long long> m_jobIds;
    long long m_nextJobId = 0;
    long long m_orbisId = 0;
};

// ---- the two messages

pugi::xml_node parseRoot(pugi::xml_document& doc, const std::string& xml) {
    pugi::xml_parse_result r = doc.load_string(xml.c_str());
    if (!r)
        throw Failure{KO_TASKMGR_BAD_REQUEST, std::string("request XML cannot be read: ") + r.description()};
    pugi::xml_node root = doc.document_element();
    if (!root) throw Failure{KO_TASKMGR_BAD_REQUEST, "request XML has no element"};
    return root;
}

Entity readEntity(const pugi::xml_node& n) {
    Entity e;
    e.clientGroupId = intAttr(n, "clientGroupId", 0);
    e.clientId = intAttr(n, "clientId", 0);
    e.apptypeId = intAttr(n, "applicationId", intAttr(n, "apptypeId", 0));
    e.instanceId = intAttr(n, "instanceId", 0);
    e.backupsetId = intAttr(n, "backupsetId", 0);
    e.subclientId = intAttr(n, "subclientId", 0);
    return e;
}

// The entity, when its client and subclient exist.
const Entity& checkEntity(Writer& w, const Entity& e) {
    if (e.clientId > 0 && w.rows("SELECT id FROM APP_Client WHERE id = ?", {intValue(e.clientId)}).empty())
        throw Failure{KO_TASKMGR_NOT_FOUND, "client " + std::to_string(e.clientId) + " does not exist"};
    if (e.subclientId > 0 &&
        w.rows("SELECT id FROM APP_Application WHERE id = ?", {intValue(e.subclientId)}).empty())
        throw Failure{KO_TASKMGR_NOT_FOUND, "subclient " + std::to_string(e.subclientId) + " does not exist"};
    return e;
}

std::string createTask(Writer& w, const pugi::xml_node& root) {
    pugi::xml_node task = root.child("task");
    if (!task || !valueOf(task, "taskName") || !*valueOf(task, "taskName"))
        throw Failure{KO_TASKMGR_BAD_REQUEST, "the request names no task (task/@taskName)"};
    if (!root.child("subTask")) throw Failure{KO_TASKMGR_BAD_REQUEST, "the task has no subtask (subTask)"};
    long long taskId =
        w.insertRow("TM_Task", task,
                    {{"created", intValue(w.now())},
                     {"ownerId", intValue(intAttr(task, "ownerId", w.request().userId))},
                     {"localeId", intValue(static_cast<long long>(w.request().localeId))},
                     {"sequenceNumber", textValue(std::to_string(w.request().sequenceNumber))}});
    for (pugi::xml_node a : root.children("association")) {
        checkEntity(w, readEntity(a));
        w.insertRow("TM_AssocEntity", a, {{"taskId", intValue(taskId)}, {"created", intValue(w.now())}});
    }

    std::vector<Subtask> subtasks;
    for (pugi::xml_node st : root.children("subTask")) {
        Subtask s;
        s.taskId = taskId;
        s.subTaskType = intAttr(st, "subTaskType", 0);
        s.operationType = intAttr(st, "operationType", 0);
        s.subOperationType = valueOf(st, "subOperationType") ? valueOf(st, "subOperationType") : "";
        s.subTaskId = w.insertRow("TM_SubTask", st, {{"taskId", intValue(taskId)}});
        for (pugi::xml_node p : st.children("pattern")) {
            long long patternId = w.insertRow("TM_Pattern", p, {{"created", intValue(w.now())}});
            w.exec("INSERT INTO TM_PatternAssoc (patternId, subTaskId) VALUES (?, ?)",
                   {intValue(patternId), intValue(s.subTaskId)});
        }
        for (pugi::xml_node o : st.children("option")) {
            if (!valueOf(o, "optionId"))
                throw Failure{KO_TASKMGR_BAD_REQUEST, "an option of subtask [" +
                                                          std::string(st.attribute("subTaskName").value()) +
                                                          "] has no optionId"};
            w.insertRow("TM_SubTaskOptions", o, {{"subTaskId", intValue(s.subTaskId)}});
        }
        if (pugi::xml_node x = st.child("xmlOptions").first_child()) {
            std::ostringstream text;
            x.print(text, "", pugi::format_raw);
            w.exec("INSERT INTO TM_SubTaskXMLOptions (subTaskId, xmlValue) VALUES (?, ?)",
                   {intValue(s.subTaskId), textValue(text.str())});
        }
        subtasks.push_back(s);
    }

    // One run flag per subtask, in subtask order.
    Runner runner(w, kRunOperation, intAttr(task, "initiatedFrom", 0), {});
    size_t i = 0;
    for (pugi::xml_node flag : root.children("runNow")) {
        long long v = 0;
        if (!parseInt(flag.text().get(), v)) throw Failure{KO_TASKMGR_BAD_REQUEST, "runNow is not a number"};
        if (i < subtasks.size() && v != 0) runner.run(subtasks[i], {});
        ++i;
    }
    w.commit();
    return replyXml(0, "", taskId, runner.jobIds());
}

std::string taskOperation(Writer& w, const pugi::xml_node& root) {
    long long opType = intAttr(root, "taskOperation", 0);
    std::vector<OptionValue> options;
    for (pugi::xml_node f : root.child("options").children("option")) {
        if (!f.attribute("optionId"))
            throw Failure{KO_TASKMGR_BAD_REQUEST, "an option filter has no optionId"};
        options.push_back({intAttr(f, "optionId", 0), f.attribute("value").value()});
    }
    Runner runner(w, opType, intAttr(root, "initiatedFrom", 0), std::move(options));
    bool any = false;
    for (pugi::xml_node st : root.children("subTask")) {
        any = true;
        long long subTaskId = intAttr(st, "subtaskId", 0), taskId = intAttr(st, "taskId", 0);
        if (subTaskId != 0 || taskId == 0) {
            runner.run(readSubtask(w, subTaskId, taskId), {});
            continue;
        }
        // Subtask 0 of a task: each of the task's subtasks in order.
        auto ids = w.rows("SELECT subTaskId FROM TM_SubTask WHERE taskId = ? ORDER BY subTaskId",
                          {intValue(taskId)});
        if (ids.empty())
            throw Failure{KO_TASKMGR_NOT_FOUND, "task " + std::to_string(taskId) + " has no subtask"};
        for (const auto& id : ids) runner.run(readSubtask(w, id[0], taskId), {});
    }
    for (pugi::xml_node oe : root.children("operationEntity")) {
        pugi::xml_node st = oe.child("subTask");
        if (!st) throw Failure{KO_TASKMGR_BAD_REQUEST, "an operation entity names no subtask"};
        std::vector<Entity> entities;
        for (pugi::xml_node g : oe.children("entity")) entities.push_back(checkEntity(w, readEntity(g)));
        any = true;
        runner.run(readSubtask(w, intAttr(st, "subtaskId", 0), intAttr(st, "taskId", 0)), entities);
    }
    if (!any) throw Failure{KO_TASKMGR_BAD_REQUEST, "the request names no subtask"};
    w.commit();
    return replyXml(0, "", 0, runner.jobIds());
}

}  // namespace

std::string replyXml(long long status, const std::string& error, long long taskId,
                     const std::vector<long long>& jobIds) {
    pugi::xml_document doc;
    pugi::xml_node root = doc.append_child("TMMsg_TaskManagerResp");
    root.append_attribute("errorCode") = status;
    if (!error.empty()) root.append_attribute("errorMessage") = error.c_str();
    if (taskId != 0) root.append_attribute("taskId") = taskId;
    for (long long id : jobIds) root.append_child("jobId").text() = std::to_string(id).c_str();
    std::ostringstream text;
    doc.save(text, "", pugi::format_raw | pugi::format_no_declaration);
    return text.str();
}

std::string handle(const Request& request) {
    try {
        Writer w(request);
        pugi::xml_document doc;
        if (request.messageType != EvTaskMgr::kCreateTaskMessage &&
            request.messageType != EvTaskMgr::kTaskOperationMessage)
            throw Failure{KO_TASKMGR_UNKNOWN_MESSAGE, "message type " + std::to_string(request.messageType) +
                                                          " is not handled by the task manager"};
        pugi::xml_node root = parseRoot(doc, request.xml);
        w.begin();
        if (request.messageType == EvTaskMgr::kCreateTaskMessage) return createTask(w, root);
        return taskOperation(w, root);
    } catch (const Failure& f) {
        EvDebug::Debug(kTrace, "Request of type [%lu] refused: status [%lld] [%s]", request.messageType,
                       f.status, f.text.c_str());
        return replyXml(f.status, f.text, 0,
                        f.jobId ? std::vector<long long>{f.jobId} : std::vector<long long>{});
    } catch (const std::exception& e) {
        EvDebug::Error(kTrace, "Request of type [%lu] failed: [%s]", request.messageType, e.what());
        return replyXml(KO_TASKMGR_BAD_REQUEST, e.what(), 0, {});
    }
}

}  // namespace taskmgr
