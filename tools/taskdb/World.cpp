// Import and export of the management server's world: each section of the document maps its fields
// onto the columns of one main table, optional companion tables that share its key, and lists kept in
// association tables.
#include "tools/taskdb/World.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <map>
#include <memory>

#include "platform/db/DBrecordTable.h"
#include "platform/db/DBtran.h"
#include "platform/records/APP_Application.h"
#include "platform/records/APP_BackupSetName.h"
#include "platform/records/APP_Client.h"
#include "platform/records/APP_ClientGroup.h"
#include "platform/records/APP_ClientGroupAssoc.h"
#include "platform/records/APP_InstanceName.h"
#include "platform/records/APP_Orbis.h"
#include "platform/records/APP_QuorinType.h"
#include "platform/records/JMBkpStats.h"
#include "platform/records/JMJobStats.h"
#include "platform/records/SRV_ActivityControl.h"
#include "platform/records/SRV_BackupSetOwner.h"
#include "platform/records/SRV_ClientProp.h"
#include "platform/records/SRV_EventMessage.h"
#include "platform/records/SRV_InstanceType.h"
#include "platform/records/SRV_RunningJob.h"
#include "platform/records/SRV_SubclientMark.h"
#include "platform/records/UMUserClientAssoc.h"
#include "platform/records/UMUserClientGroupAssoc.h"
#include "platform/records/UMUsers.h"

namespace {

// A fault of the document at a JSON pointer path.
struct Fault {
    std::string path;
    std::string why;
};

// How a document value is kept in its column.
enum class As { Number, Flag, Text, Level };
struct FieldMap {
    const char* json;
    const char* column;
    As as;
    bool required = false;
};

const char* const kLevels[] = {"", "server", "client", "subclient"};

const DBcolumn& columnOf(const DBcolumn* columns, int count, const char* name) {
    for (int i = 0; i < count; ++i)
        if (std::strcmp(columns[i].name, name) == 0) return columns[i];
    throw std::logic_error(std::string("no column ") + name);
}

size_t utf8Length(const std::string& s) {
    return static_cast<size_t>(std::count_if(s.begin(), s.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

void put(char* base, const DBcolumn& c, As as, const Json& v, const std::string& path) {
    char* at = base + c.offset;
    if (as == As::Flag) {
        if (!v.is_boolean()) throw Fault{path, "must be true or false"};
        *reinterpret_cast<int*>(at) = v.get<bool>() ? 1 : 0;
    } else if (as == As::Level) {
        const std::string level = v.is_string() ? v.get<std::string>() : "";
        auto found = std::find(std::begin(kLevels) + 1, std::end(kLevels), level);
        if (found == std::end(kLevels)) throw Fault{path, "must be \"server\", \"client\" or \"subclient\""};
        *reinterpret_cast<int*>(at) = static_cast<int>(found - std::begin(kLevels));
    } else if (as == As::Number) {
        if (!v.is_number_integer()) throw Fault{path, "must be a whole number"};
        if (c.letter == 'i') {
            if (v.is_number_unsigned() ? v.get<unsigned long long>() > INT_MAX
                                       : v.get<long long>() < INT_MIN || v.get<long long>() > INT_MAX)
                throw Fault{path, "is out of range"};
            *reinterpret_cast<int*>(at) = v.get<int>();
        } else {
            if (v.is_number_unsigned() && v.get<unsigned long long>() > LLONG_MAX)
                throw Fault{path, "is out of range"};
            *reinterpret_cast<long long*>(at) = v.get<long long>();
        }
    } else {
        if (!v.is_string()) throw Fault{path, "must be a text"};
        const std::string& s = v.get_ref<const std::string&>();
        if (c.letter == 's' && c.width > 0) {
            if (s.size() >= static_cast<size_t>(c.width))
                throw Fault{path, "is longer than " + std::to_string(c.width - 1) + " bytes"};
            std::memcpy(at, s.c_str(), s.size() + 1);
        } else {
            if (c.width > 0 && utf8Length(s) >= static_cast<size_t>(c.width))
                throw Fault{path, "is longer than " + std::to_string(c.width - 1) + " characters"};
            *reinterpret_cast<std::string*>(at) = s;
        }
    }
}

Json get(const char* base, const DBcolumn& c, As as) {
    const char* at = base + c.offset;
    if (as == As::Flag) return *reinterpret_cast<const int*>(at) != 0;
    if (as == As::Level) {
        int level = *reinterpret_cast<const int*>(at);
        return level >= 1 && level <= 3 ? kLevels[level] : "";
    }
    if (as == As::Number) {
        if (c.letter == 'i') return *reinterpret_cast<const int*>(at);
        return *reinterpret_cast<const long long*>(at);
    }
    if (c.letter == 's' && c.width > 0) return std::string(at);
    return *reinterpret_cast<const std::string*>(at);
}

// Key of a row within its section: one or two integer columns.
using Key = std::pair<long long, long long>;

// One table of a section.
class Part {
  public:
    virtual ~Part() = default;
    virtual bool accepts(const std::string& field) const = 0;
    virtual void begin() = 0;
    virtual void put(const std::string& field, const Json& value, const std::string& path) = 0;
    // Fills the key columns of a companion row from the main row's key.
    virtual void link(const Key& key) = 0;
    virtual Key key() const = 0;
    virtual bool touched() const = 0;
    virtual void checkRequired(const std::string& path) const = 0;
    virtual int insert(DBtran* tran, std::string& err) = 0;
    virtual int clear(DBtran* tran, std::string& err) = 0;
    // Every row in key order as (key, its fields).
    virtual int readAll(DBtran* tran, std::vector<std::pair<Key, Json>>& rows, std::string& err) = 0;
};

template <class R>
class TablePart : public Part {
  public:
    // `keys`: the one or two columns that make the row's key; `order`: the export's ORDER BY.
    TablePart(std::vector<FieldMap> fields, std::vector<const char*> keys, const char* order)
        : m_fields(std::move(fields)), m_order(order) {
        for (const char* k : keys) m_keys.push_back(&columnOf(R::columns(), R::kColumnCount, k));
    }
    bool accepts(const std::string& field) const override { return find(field) != nullptr; }
    void begin() override {
        m_row = R();
        m_seen.clear();
    }
    void put(const std::string& field, const Json& value, const std::string& path) override {
        const FieldMap* f = find(field);
        ::put(reinterpret_cast<char*>(&m_row), columnOf(R::columns(), R::kColumnCount, f->column), f->as,
              value, path);
        m_seen.push_back(f->json);
    }
    void link(const Key& key) override {
        setInt(*m_keys[0], key.first);
        if (m_keys.size() > 1) setInt(*m_keys[1], key.second);
    }
    Key key() const override { return {getInt(*m_keys[0]), m_keys.size() > 1 ? getInt(*m_keys[1]) : 0}; }
    bool touched() const override { return !m_seen.empty(); }
    void checkRequired(const std::string& path) const override {
        for (const FieldMap& f : m_fields)
            if (f.required && std::find(m_seen.begin(), m_seen.end(), std::string(f.json)) == m_seen.end())
                throw Fault{path, std::string("has no \"") + f.json + "\""};
    }
    int insert(DBtran* tran, std::string& err) override {
        DBrecordTable<R> t(tran);
        t.row() = m_row;
        int rc = t.rowInsert(false);
        if (rc != 0) err = t.getErrorStr(rc);
        return rc;
    }
    int clear(DBtran* tran, std::string& err) override {
        DBrecordTable<R> t(tran);
        t.setWhereText("");
        int rc = t.rowDelete();
        if (rc == DB_NO_DATA) rc = 0;
        if (rc != 0) err = t.getErrorStr(rc);
        return rc;
    }
    int readAll(DBtran* tran, std::vector<std::pair<Key, Json>>& rows, std::string& err) override {
        DBrecordTable<R> t(tran);
        t.setOrderBy(m_order);
        t.setWhereText("");
        int rc;
        while ((rc = getNextRow(&t, nullptr, 0, 0)) == 0) {
            m_row = t.row();
            Json fields = Json::object();
            for (const FieldMap& f : m_fields)
                fields[f.json] = get(reinterpret_cast<const char*>(&m_row),
                                     columnOf(R::columns(), R::kColumnCount, f.column), f.as);
            rows.emplace_back(key(), std::move(fields));
        }
        if (rc != DB_NO_DATA) {
            err = t.getErrorStr(rc);
            return rc;
        }
        return 0;
    }

  private:
    const FieldMap* find(const std::string& field) const {
        for (const FieldMap& f : m_fields)
            if (field == f.json) return &f;
        return nullptr;
    }
    void setInt(const DBcolumn& c, long long v) {
        char* at = reinterpret_cast<char*>(&m_row) + c.offset;
        if (c.letter == 'i')
            *reinterpret_cast<int*>(at) = static_cast<int>(v);
        else
            *reinterpret_cast<long long*>(at) = v;
    }
    long long getInt(const DBcolumn& c) const {
        const char* at = reinterpret_cast<const char*>(&m_row) + c.offset;
        return c.letter == 'i' ? *reinterpret_cast<const int*>(at) : *reinterpret_cast<const long long*>(at);
    }

    std::vector<FieldMap> m_fields;
    std::vector<const DBcolumn*> m_keys;
    const char* m_order;
    R m_row;
    std::vector<std::string> m_seen;
};

// A list of ids kept as (owner, value) rows of an association table.
template <class R>
class ListPart {
  public:
    ListPart(const char* json, const char* owner, const char* value)
        : m_json(json), m_owner(owner), m_value(value) {}
    const char* json() const { return m_json; }
    int insert(DBtran* tran, long long owner, const Json& list, const std::string& path, std::string& err) {
        if (!list.is_array()) throw Fault{path, "must be a list of ids"};
        DBrecordTable<R> t(tran);
        for (size_t i = 0; i < list.size(); ++i) {
            t.clearRow();
            const std::string at = path + "/" + std::to_string(i);
            ::put(reinterpret_cast<char*>(&t.row()), col(m_value), As::Number, list[i], at);
            ::put(reinterpret_cast<char*>(&t.row()), col(m_owner), As::Number, Json(owner), at);
            int rc = t.rowInsert(false);
            if (rc != 0) {
                err = t.getErrorStr(rc);
                return rc;
            }
        }
        return 0;
    }
    int clear(DBtran* tran, std::string& err) {
        DBrecordTable<R> t(tran);
        t.setWhereText("");
        int rc = t.rowDelete();
        if (rc != 0 && rc != DB_NO_DATA) {
            err = t.getErrorStr(rc);
            return rc;
        }
        return 0;
    }
    int readAll(DBtran* tran, std::map<long long, Json>& lists, std::string& err) {
        DBrecordTable<R> t(tran);
        t.setOrderBy((std::string(m_owner) + ", " + m_value).c_str());
        t.setWhereText("");
        int rc;
        while ((rc = getNextRow(&t, nullptr, 0, 0)) == 0) {
            const char* base = reinterpret_cast<const char*>(&t.row());
            long long owner = get(base, col(m_owner), As::Number).get<long long>();
            Json& list = lists[owner];
            if (list.is_null()) list = Json::array();
            list.push_back(get(base, col(m_value), As::Number));
        }
        if (rc != DB_NO_DATA) {
            err = t.getErrorStr(rc);
            return rc;
        }
        return 0;
    }

  private:
    static const DBcolumn& col(const char* name) { return columnOf(R::columns(), R::kColumnCount, name); }
    const char* m_json;
    const char* m_owner;
    const char* m_value;
};

// One section of the document: its main table, companions sharing the key, and id lists.
struct Section {
    const char* name;
    std::vector<std::unique_ptr<Part>> parts;  // parts[0] is the main table
    std::vector<std::unique_ptr<ListPart<UMUserClientAssoc_t>>> userClients;
    std::vector<std::unique_ptr<ListPart<UMUserClientGroupAssoc_t>>> userGroups;
    std::vector<std::unique_ptr<ListPart<APP_ClientGroupAssoc_t>>> groupClients;
};

template <class R>
std::unique_ptr<Part> part(std::vector<FieldMap> fields, std::vector<const char*> keys, const char* order) {
    return std::make_unique<TablePart<R>>(std::move(fields), std::move(keys), order);
}

std::vector<Section> sections() {
    const As N = As::Number, F = As::Flag, T = As::Text;
    std::vector<Section> s(11);
    s[0].name = "installations";
    s[0].parts.push_back(part<APP_Orbis_t>(
        {{"id", "id", N, true}, {"number", "number", N}, {"name", "aliasName", T}, {"local", "isLocal", F}},
        {"id"}, "id"));
    s[1].name = "appTypes";
    s[1].parts.push_back(part<APP_QuorinType_t>({{"id", "id", N, true}, {"name", "name", T}}, {"id"}, "id"));
    s[2].name = "clientGroups";
    s[2].parts.push_back(part<APP_ClientGroup_t>({{"id", "id", N, true}, {"name", "name", T}}, {"id"}, "id"));
    s[2].groupClients.push_back(
        std::make_unique<ListPart<APP_ClientGroupAssoc_t>>("clients", "clientGroupId", "clientId"));
    s[3].name = "clients";
    s[3].parts.push_back(part<APP_Client_t>({{"id", "id", N, true},
                                             {"name", "name", T, true},
                                             {"displayName", "displayName", T},
                                             {"hostName", "net_hostname", T},
                                             {"guid", "GUID", T},
                                             {"status", "status", N},
                                             {"deleted", "deleted", F},
                                             {"created", "created", N}},
                                            {"id"}, "id"));
    s[3].parts.push_back(part<SRV_ClientProp_t>({{"userCentric", "userCentric", F},
                                                 {"physicalClientId", "physicalClientId", N},
                                                 {"version", "versionInfo", T},
                                                 {"nas", "isNAS", F},
                                                 {"nonNdmp", "nonNDMP", F},
                                                 {"actualClientId", "actualClientId", N}},
                                                {"clientId"}, "clientId"));
    s[4].name = "instances";
    s[4].parts.push_back(part<APP_InstanceName_t>({{"id", "id", N, true},
                                                   {"name", "name", T},
                                                   {"clientId", "clientId", N},
                                                   {"appTypeId", "appTypeId", N}},
                                                  {"id"}, "id"));
    s[4].parts.push_back(part<SRV_InstanceType_t>(
        {{"clusterType", "clusterType", N}, {"cloudInstanceType", "cloudInstanceType", N}}, {"instanceId"},
        "instanceId"));
    s[5].name = "backupSets";
    s[5].parts.push_back(part<APP_BackupSetName_t>({{"id", "id", N, true},
                                                    {"name", "name", T},
                                                    {"clientId", "clientId", N},
                                                    {"appTypeId", "appTypeId", N},
                                                    {"instanceId", "instance", N}},
                                                   {"id"}, "id"));
    s[5].parts.push_back(
        part<SRV_BackupSetOwner_t>({{"ownerUserId", "ownerUserId", N}}, {"backupSetId"}, "backupSetId"));
    s[6].name = "subclients";
    s[6].parts.push_back(part<APP_Application_t>({{"id", "id", N, true},
                                                  {"clientId", "clientId", N, true},
                                                  {"appTypeId", "appTypeId", N},
                                                  {"instanceId", "instance", N},
                                                  {"backupSetId", "backupSet", N},
                                                  {"name", "subclientName", T},
                                                  {"status", "subclientStatus", N},
                                                  {"created", "created", N}},
                                                 {"id"}, "id"));
    s[6].parts.push_back(
        part<SRV_SubclientMark_t>({{"nomadDrive", "nomadDrive", F},
                                   {"maxBackupIntervalExpired", "maxBackupIntervalExpired", F},
                                   {"uninstalled", "uninstalled", F}},
                                  {"subclientId"}, "subclientId"));
    s[7].name = "users";
    s[7].parts.push_back(part<UMUsers_t>({{"id", "id", N, true},
                                          {"login", "login", T, true},
                                          {"name", "name", T},
                                          {"email", "email", T},
                                          {"enabled", "enabled", F},
                                          {"flags", "flags", N}},
                                         {"id"}, "id"));
    s[7].userClients.push_back(
        std::make_unique<ListPart<UMUserClientAssoc_t>>("clients", "userId", "clientId"));
    s[7].userGroups.push_back(
        std::make_unique<ListPart<UMUserClientGroupAssoc_t>>("clientGroups", "userId", "clientGroupId"));
    s[8].name = "disabledActivities";
    s[8].parts.push_back(part<SRV_ActivityControl_t>({{"level", "entityLevel", As::Level, true},
                                                      {"entityId", "entityId", N},
                                                      {"activityType", "activityType", N, true},
                                                      {"reason", "reasonText", T},
                                                      {"messageId", "reasonMessageId", N}},
                                                     {"entityLevel", "entityId"},
                                                     "entityLevel, entityId, activityType"));
    s[9].name = "runningJobs";
    s[9].parts.push_back(part<SRV_RunningJob_t>({{"jobId", "jobId", N, true},
                                                 {"installationId", "orbisId", N},
                                                 {"clientId", "clientId", N},
                                                 {"subclientId", "subclientId", N},
                                                 {"appTypeId", "appTypeId", N},
                                                 {"opType", "opType", N},
                                                 {"backupLevel", "backupLevel", N},
                                                 {"status", "status", N},
                                                 {"startTime", "startTime", N}},
                                                {"jobId", "orbisId"}, "jobId, orbisId"));
    s[10].name = "finishedJobs";
    s[10].parts.push_back(part<JMBkpStats_t>({{"jobId", "jobId", N, true},
                                              {"installationId", "orbisId", N},
                                              {"subclientId", "appId", N, true},
                                              {"backupLevel", "bkpLevel", N},
                                              {"status", "status", N},
                                              {"startTime", "servStartDate", N},
                                              {"endTime", "servEndDate", N},
                                              {"duration", "duration", N},
                                              {"user", "username", T},
                                              {"failureReason", "failureReason", T},
                                              {"uncompBytes", "uncompBytes", N},
                                              {"compBytes", "compBytes", N},
                                              {"totalBackupSize", "totalBackupSize", N},
                                              {"numObjects", "numObjects", N}},
                                             {"jobId", "orbisId"}, "jobId, orbisId"));
    s[10].parts.push_back(part<JMJobStats_t>({{"opType", "opType", N},
                                              {"subOpType", "subOpType", N},
                                              {"status", "status", N},
                                              {"startTime", "servStartDate", N},
                                              {"endTime", "servEndDate", N},
                                              {"subTaskId", "subTaskId", N}},
                                             {"jobId", "orbisId"}, "jobId, orbisId"));
    return s;
}

// The messages section is the catalogue: (id, locale) is its key.
std::unique_ptr<Part> messagesPart() {
    return part<SRV_EventMessage_t>({{"id", "messageId", As::Number, true},
                                     {"locale", "localeId", As::Number, true},
                                     {"text", "formatText", As::Text}},
                                    {"messageId", "localeId"}, "messageId, localeId");
}

bool isListField(const Section* s, const std::string& key) {
    if (!s) return false;
    for (auto& l : s->userClients)
        if (key == l->json()) return true;
    for (auto& l : s->userGroups)
        if (key == l->json()) return true;
    for (auto& l : s->groupClients)
        if (key == l->json()) return true;
    return false;
}

std::string pointer(const std::string& base, const std::string& key) {
    std::string out = base + "/";
    for (char c : key) out += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    return out;
}

// An iterator over the document that records how far the parser has read.
struct Counting {
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;
    const char* p;
    const char** seen;
    reference operator*() const { return *p; }
    Counting& operator++() {
        *seen = ++p;
        return *this;
    }
    Counting operator++(int) {
        Counting old = *this;
        ++*this;
        return old;
    }
    bool operator==(const Counting& o) const { return p == o.p; }
    bool operator!=(const Counting& o) const { return p != o.p; }
};

// The line where the value at `path` starts, found by parsing again with nlohmann's parser and
// following the path through its events; 0 when not found.
int lineOf(const std::string& text, const std::string& path) {
    struct Frame {
        bool array;
        size_t index;
        std::string key;
    };
    const char* seen = text.data();
    std::vector<Frame> stack;
    const char* found = nullptr;
    auto here = [&] {
        std::string p;
        for (const Frame& f : stack) p = f.array ? p + "/" + std::to_string(f.index) : pointer(p, f.key);
        return p;
    };
    auto check = [&] {
        if (!found && here() == path) found = seen;
    };
    auto next = [&] {
        if (!stack.empty() && stack.back().array) ++stack.back().index;
    };
    // Every event must be kept: the parser stops reporting the inside of a discarded container.
    Json::parser_callback_t cb = [&](int, Json::parse_event_t ev, Json& parsed) {
        switch (ev) {
            case Json::parse_event_t::object_start:
                check();
                stack.push_back({false, 0, ""});
                break;
            case Json::parse_event_t::array_start:
                check();
                stack.push_back({true, 0, ""});
                break;
            case Json::parse_event_t::key:
                stack.back().key = parsed.get<std::string>();
                check();
                break;
            case Json::parse_event_t::value:
                check();
                next();
                break;
            case Json::parse_event_t::object_end:
            case Json::parse_event_t::array_end:
                stack.pop_back();
                next();
                break;
        }
        return true;
    };
    const char* begin = text.data();
    Json ignored = Json::parse(Counting{begin, &seen}, Counting{begin + text.size(), &seen}, cb, false);
    (void)ignored;
    if (!found) return 0;
    return 1 + static_cast<int>(std::count(begin, found, '\n'));
}

}  // namespace

int importWorld(const std::string& text, bool replace, long long& rows, std::string& err) {
    Json doc;
    try {
        doc = Json::parse(text);
    } catch (const Json::parse_error& e) {
        size_t byte = std::min<size_t>(e.byte, text.size());
        int line = 1 + static_cast<int>(std::count(
                           text.begin(), text.begin() + static_cast<long>(byte ? byte - 1 : 0), '\n'));
        err = "line " + std::to_string(line) + ": not JSON: " + e.what();
        return 2;
    }
    std::vector<Section> secs = sections();
    std::unique_ptr<Part> messages = messagesPart();
    DBtran tran;
    int rc = tran.begin(&err);
    if (rc != 0) return rc;
    rows = 0;
    try {
        if (!doc.is_object()) throw Fault{"", "the document must be an object"};
        for (auto it = doc.begin(); it != doc.end(); ++it) {
            bool known = it.key() == "format" || it.key() == "messages";
            for (const Section& s : secs) known = known || it.key() == s.name;
            if (!known) throw Fault{pointer("", it.key()), "is not a section of the world"};
        }
        if (doc.contains("format") && doc["format"] != "taskdb-world/1")
            throw Fault{"/format", "must be \"taskdb-world/1\""};
        if (replace) {
            for (Section& s : secs) {
                for (auto& p : s.parts)
                    if ((rc = p->clear(&tran, err))) return rc;
                for (auto& l : s.userClients)
                    if ((rc = l->clear(&tran, err))) return rc;
                for (auto& l : s.userGroups)
                    if ((rc = l->clear(&tran, err))) return rc;
                for (auto& l : s.groupClients)
                    if ((rc = l->clear(&tran, err))) return rc;
            }
            if ((rc = messages->clear(&tran, err))) return rc;
        }
        auto load = [&](const char* name, std::vector<Part*> parts, Section* s) -> int {
            if (!doc.contains(name)) return 0;
            const Json& list = doc[name];
            const std::string base = pointer("", name);
            if (!list.is_array()) throw Fault{base, "must be a list"};
            for (size_t i = 0; i < list.size(); ++i) {
                const Json& item = list[i];
                const std::string path = base + "/" + std::to_string(i);
                if (!item.is_object()) throw Fault{path, "must be an object"};
                for (Part* p : parts) p->begin();
                for (auto f = item.begin(); f != item.end(); ++f) {
                    bool taken = false;
                    for (Part* p : parts)
                        if (p->accepts(f.key())) {
                            p->put(f.key(), f.value(), pointer(path, f.key()));
                            taken = true;
                        }
                    if (!taken && !isListField(s, f.key()))
                        throw Fault{pointer(path, f.key()), "is not a field of " + std::string(name)};
                }
                parts[0]->checkRequired(path);
                const Key key = parts[0]->key();
                if ((rc = parts[0]->insert(&tran, err))) throw Fault{path, err};
                ++rows;
                for (size_t p = 1; p < parts.size(); ++p) {
                    if (!parts[p]->touched()) continue;
                    parts[p]->link(key);
                    if ((rc = parts[p]->insert(&tran, err))) throw Fault{path, err};
                    ++rows;
                }
                if (!s) continue;
                auto lists = [&](auto& owners) {
                    for (auto& l : owners) {
                        if (!item.contains(l->json())) continue;
                        if ((rc =
                                 l->insert(&tran, key.first, item[l->json()], pointer(path, l->json()), err)))
                            throw Fault{pointer(path, l->json()), err};
                        rows += static_cast<long long>(item[l->json()].size());
                    }
                };
                lists(s->userClients);
                lists(s->userGroups);
                lists(s->groupClients);
            }
            return 0;
        };
        for (Section& s : secs) {
            std::vector<Part*> parts;
            for (auto& p : s.parts) parts.push_back(p.get());
            load(s.name, parts, &s);
        }
        load("messages", {messages.get()}, nullptr);
    } catch (const Fault& f) {
        const int line = f.path.empty() ? 1 : lineOf(text, f.path);
        err = (line ? "line " + std::to_string(line) + ": " : std::string()) +
              (f.path.empty() ? "/" : f.path) + ": " + f.why;
        return 2;  // the transaction rolls back as it goes away
    }
    return tran.commit(&err);
}

int exportWorld(Json& world, std::string& err) {
    std::vector<Section> secs = sections();
    std::unique_ptr<Part> messages = messagesPart();
    DBtran tran;
    tran.setHint(DBtran::kHintRead);
    int rc = tran.begin(&err);
    if (rc != 0) return rc;
    Json out = Json::object();
    out["format"] = "taskdb-world/1";
    auto collect = [&](const char* name, std::vector<Part*> parts, Section* s) -> int {
        std::vector<std::pair<Key, Json>> main;
        if ((rc = parts[0]->readAll(&tran, main, err))) return rc;
        std::vector<std::map<Key, Json>> companions(parts.size());
        for (size_t p = 1; p < parts.size(); ++p) {
            std::vector<std::pair<Key, Json>> rowsOf;
            if ((rc = parts[p]->readAll(&tran, rowsOf, err))) return rc;
            for (auto& r : rowsOf) companions[p][r.first] = std::move(r.second);
        }
        std::vector<std::pair<const char*, std::map<long long, Json>>> lists;
        if (s) {
            auto read = [&](auto& owners) -> int {
                for (auto& l : owners) {
                    lists.emplace_back(l->json(), std::map<long long, Json>());
                    if ((rc = l->readAll(&tran, lists.back().second, err))) return rc;
                }
                return 0;
            };
            if ((rc = read(s->userClients)) || (rc = read(s->userGroups)) || (rc = read(s->groupClients)))
                return rc;
        }
        Json list = Json::array();
        for (auto& m : main) {
            Json item = std::move(m.second);
            for (size_t p = 1; p < parts.size(); ++p) {
                auto c = companions[p].find(m.first);
                if (c == companions[p].end()) continue;
                for (auto f = c->second.begin(); f != c->second.end(); ++f) item[f.key()] = f.value();
            }
            for (auto& l : lists) {
                auto found = l.second.find(m.first.first);
                if (found != l.second.end()) item[l.first] = found->second;
            }
            list.push_back(std::move(item));
        }
        out[name] = std::move(list);
        return 0;
    };
    for (Section& s : secs) {
        std::vector<Part*> parts;
        for (auto& p : s.parts) parts.push_back(p.get());
        if ((rc = collect(s.name, parts, &s))) return rc;
    }
    if ((rc = collect("messages", {messages.get()}, nullptr))) return rc;
    rc = tran.commit(&err);
    if (rc == 0) world = std::move(out);
    return rc;
}
