// The management server's functions that the job statistics query calls, on SQLite. Each has the
// meaning written above it; the PostgreSQL functions of the same names give the same answers.
#include <pugixml.hpp>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/db/sqlite/SqliteCore.h"

namespace dbl {
namespace sqlite {

namespace {

// The queries the functions run, each kept prepared on the connection that registered them.
enum Query {
    kClientVisible,
    kMaxRetention,
    kDeferredTypes,
    kAppTypeOf,
    kMessage,
    kKbArticle,
    kMysqlProxy,
    kCount
};

const char* const kQueries[kCount] = {
    // A client the user may see: associated with the user directly, or through one of the user's
    // client groups.
    "SELECT EXISTS (SELECT 1 FROM UMUserClientAssoc WHERE userId = ?1 AND clientId = ?2) "
    "OR EXISTS (SELECT 1 FROM UMUserClientGroupAssoc ug JOIN APP_ClientGroupAssoc ga "
    "ON ga.clientGroupId = ug.clientGroupId WHERE ug.userId = ?1 AND ga.clientId = ?2)",
    // The latest time to which any copy of the job is retained.
    "SELECT MAX(retainedUntil) FROM JMJobDataStats WHERE jobId = ?1 AND orbisId = ?2",
    // The application types whose snapshots are catalogued later, as the server's setting lists them.
    "SELECT MAX(value) FROM TSGlobalParam WHERE name = 'DeferredCatalogSupportedAppTypes'",
    "SELECT MAX(appTypeId) FROM APP_Application WHERE id = ?1",
    // A catalogue message in a locale.
    "SELECT formatText FROM SRV_EventMessage WHERE messageId = ?1 AND localeId IN (?2, 0) "
    "ORDER BY localeId DESC LIMIT 1",
    "SELECT MAX(kbArticle) FROM SRV_EventMessage WHERE messageId = ?1",
    // The proxy client and the instance of a database subclient.
    "SELECT c.name, i.name FROM APP_Application a LEFT JOIN APP_InstanceName i ON i.id = a.instance "
    "LEFT JOIN APP_SubClientProp p ON p.componentNameId = a.id AND p.attrName = 'Proxy Client' AND "
    "p.modified = 0 "
    "LEFT JOIN APP_Client c ON c.id = CAST(p.attrVal AS INTEGER) WHERE a.id = ?1",
};

// The statements are finalized with the connection's others when it closes (~SqliteCore).
struct Cache {
    sqlite3_stmt* stmt[kCount] = {};
};

// Runs query `q` with the function's integer arguments bound in order; false (error set on `ctx`)
// when it cannot run. The statement is left on its first row (or done) for the caller to read.
class Run {
  public:
    Run(sqlite3_context* ctx, Query q) : m_ctx(ctx) {
        auto* cache = static_cast<Cache*>(sqlite3_user_data(ctx));
        sqlite3_stmt*& s = cache->stmt[q];
        if (!s && sqlite3_prepare_v3(sqlite3_context_db_handle(ctx), kQueries[q], -1,
                                     SQLITE_PREPARE_PERSISTENT, &s, nullptr) != SQLITE_OK) {
            sqlite3_result_error(ctx, sqlite3_errmsg(sqlite3_context_db_handle(ctx)), -1);
            s = nullptr;
        }
        m_stmt = s;
    }
    ~Run() {
        if (m_stmt) {
            sqlite3_reset(m_stmt);
            sqlite3_clear_bindings(m_stmt);
        }
    }
    Run& bind(int index, sqlite3_value* v) {
        if (m_stmt) sqlite3_bind_value(m_stmt, index, v);
        return *this;
    }
    Run& bind(int index, const std::string& text) {
        if (m_stmt)
            sqlite3_bind_text(m_stmt, index, text.c_str(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
        return *this;
    }
    // True when a row came back; an error is reported through `ctx`.
    bool row() {
        if (!m_stmt) return false;
        int rc = sqlite3_step(m_stmt);
        if (rc == SQLITE_ROW) return true;
        if (rc != SQLITE_DONE) {
            sqlite3_result_error(m_ctx, sqlite3_errmsg(sqlite3_context_db_handle(m_ctx)), -1);
            m_failed = true;
        }
        return false;
    }
    bool failed() const { return !m_stmt || m_failed; }
    sqlite3_stmt* stmt() const { return m_stmt; }
    std::string text(int col) const {
        const unsigned char* t = sqlite3_column_text(m_stmt, col);
        return t ? reinterpret_cast<const char*>(t) : "";
    }

  private:
    sqlite3_context* m_ctx;
    sqlite3_stmt* m_stmt = nullptr;
    bool m_failed = false;
};

std::string textArg(sqlite3_value* v) {
    const unsigned char* t = sqlite3_value_text(v);
    return t ? reinterpret_cast<const char*>(t) : "";
}

// isClientVisible(userId, clientId, a, b, c, d) and isBkpJobVisible(userId, orbisId, clientId,
// appType, instance, backupSet, subclient): 1 when user 0 asks or the user may see the client
// (see kClientVisible), else 0. Visibility is granted per client; the finer arguments are accepted
// for the server's signature.
void clientVisible(sqlite3_context* ctx, sqlite3_value* user, sqlite3_value* client) {
    if (sqlite3_value_int64(user) == 0) return sqlite3_result_int(ctx, 1);
    Run q(ctx, kClientVisible);
    q.bind(1, user).bind(2, client);
    if (q.row()) sqlite3_result_int(ctx, sqlite3_column_int(q.stmt(), 0) ? 1 : 0);
}
void isClientVisible(sqlite3_context* ctx, int, sqlite3_value** argv) {
    clientVisible(ctx, argv[0], argv[1]);
}
void isBkpJobVisible(sqlite3_context* ctx, int, sqlite3_value** argv) {
    clientVisible(ctx, argv[0], argv[2]);
}

// GetMaxRetentionTime(jobId, orbisId, servStartDate): the latest retention end of the job's copies
// (JMJobDataStats.retainedUntil); the start time when the job has no copy.
void getMaxRetentionTime(sqlite3_context* ctx, int, sqlite3_value** argv) {
    Run q(ctx, kMaxRetention);
    q.bind(1, argv[0]).bind(2, argv[1]);
    if (!q.row()) return;
    if (sqlite3_column_type(q.stmt(), 0) == SQLITE_NULL)
        sqlite3_result_value(ctx, argv[2]);
    else
        sqlite3_result_int64(ctx, sqlite3_column_int64(q.stmt(), 0));
}

// GetDeferredCatalogSupportedAppTypes(): the comma-separated application type ids of the
// TSGlobalParam "DeferredCatalogSupportedAppTypes" ("" when unset).
std::string deferredTypes(sqlite3_context* ctx, bool& ok) {
    Run q(ctx, kDeferredTypes);
    ok = q.row();
    return ok ? q.text(0) : std::string();
}
void getDeferredCatalogSupportedAppTypes(sqlite3_context* ctx, int, sqlite3_value**) {
    bool ok = false;
    std::string types = deferredTypes(ctx, ok);
    if (ok) sqlite3_result_text(ctx, types.c_str(), -1, SQLITE_TRANSIENT);
}

// IsDeferredCatalogSupported(subclientId): 1 when the subclient's application type is listed by
// GetDeferredCatalogSupportedAppTypes, else 0.
void isDeferredCatalogSupported(sqlite3_context* ctx, int, sqlite3_value** argv) {
    std::string appType;
    {
        Run q(ctx, kAppTypeOf);
        q.bind(1, argv[0]);
        if (!q.row()) return;
        appType = q.text(0);
    }
    bool ok = false;
    std::string types = "," + deferredTypes(ctx, ok) + ",";
    if (!ok) return;
    types.erase(std::remove(types.begin(), types.end(), ' '), types.end());
    sqlite3_result_int(ctx, !appType.empty() && types.find("," + appType + ",") != std::string::npos);
}

// A stored failure text "<message id>" or "<message id>|arg1|arg2..." read as its message id and
// arguments; false for any other text.
bool parseMessage(const std::string& text, std::string& id, std::vector<std::string>& args) {
    size_t bar = text.find('|');
    id = text.substr(0, bar);
    if (id.empty() || id.find_first_not_of("0123456789") != std::string::npos) return false;
    while (bar != std::string::npos) {
        size_t next = text.find('|', bar + 1);
        args.push_back(text.substr(bar + 1, next == std::string::npos ? std::string::npos : next - bar - 1));
        bar = next;
    }
    return true;
}

// JMGetLocalizedMessageFunc(localeId, text): a text that names a catalogue message (see
// parseMessage) becomes the message of SRV_EventMessage in that locale (else locale 0) with %1, %2,
// ... replaced by the arguments; any other text, and a message the catalogue lacks, is returned as
// it is. NULL stays NULL.
void localizedMessage(sqlite3_context* ctx, int, sqlite3_value** argv) {
    if (sqlite3_value_type(argv[1]) == SQLITE_NULL) return sqlite3_result_null(ctx);
    std::string text = textArg(argv[1]), id;
    std::vector<std::string> args;
    if (parseMessage(text, id, args)) {
        Run q(ctx, kMessage);
        q.bind(1, id).bind(2, argv[0]);
        if (q.row()) {
            std::string msg = q.text(0);
            for (size_t i = args.size(); i > 0; --i) {
                const std::string mark = "%" + std::to_string(i);
                for (size_t at = msg.find(mark); at != std::string::npos;
                     at = msg.find(mark, at + args[i - 1].size()))
                    msg.replace(at, mark.size(), args[i - 1]);
            }
            text = msg;
        } else if (q.failed()) {
            return;
        }
    }
    sqlite3_result_text(ctx, text.c_str(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

// JMGetKBArticlesForFailures(text, flags): the knowledge-base article of the catalogue message that
// the failure text names ("" for none).
void kbArticles(sqlite3_context* ctx, int, sqlite3_value** argv) {
    std::string id;
    std::vector<std::string> args;
    std::string article;
    if (parseMessage(textArg(argv[0]), id, args)) {
        Run q(ctx, kKbArticle);
        q.bind(1, id);
        if (q.row()) article = q.text(0);
        if (q.failed()) return;
    }
    sqlite3_result_text(ctx, article.c_str(), static_cast<int>(article.size()), SQLITE_TRANSIENT);
}

// getMysqlProxyAndInstance(jobId, subclientId): "<proxy client>:<instance>" of the subclient, the
// proxy being the client named by its "Proxy Client" property ("" when it has none).
void mysqlProxyAndInstance(sqlite3_context* ctx, int, sqlite3_value** argv) {
    Run q(ctx, kMysqlProxy);
    q.bind(1, argv[1]);
    std::string out;
    if (q.row()) {
        std::string proxy = q.text(0), instance = q.text(1);
        out = proxy.empty() ? instance : proxy + ":" + instance;
    }
    if (q.failed()) return;
    sqlite3_result_text(ctx, out.c_str(), static_cast<int>(out.size()), SQLITE_TRANSIENT);
}

// SplitString(text, separator): the trimmed, non-empty items of the text as a JSON array of
// strings, for json_each (the server's function returns them as rows).
void splitString(sqlite3_context* ctx, int, sqlite3_value** argv) {
    std::string text = textArg(argv[0]), sep = textArg(argv[1]), out = "[";
    if (sep.empty()) sep = ",";
    size_t at = 0;
    while (at <= text.size()) {
        size_t end = text.find(sep, at);
        if (end == std::string::npos) end = text.size();
        std::string item = text.substr(at, end - at);
        size_t b = item.find_first_not_of(" \t"), e = item.find_last_not_of(" \t");
        if (b != std::string::npos) {
            out += out.size() > 1 ? ",\"" : "\"";
            for (char c : item.substr(b, e - b + 1)) {
                if (c == '"' || c == '\\') out += '\\';
                if (static_cast<unsigned char>(c) >= 0x20) out += c;
            }
            out += '"';
        }
        at = end + sep.size();
    }
    out += "]";
    sqlite3_result_text(ctx, out.c_str(), static_cast<int>(out.size()), SQLITE_TRANSIENT);
}

// split_part(text, delimiter, n): the n-th (from 1) piece of the text, "" past the last, as
// PostgreSQL's function of that name.
void splitPart(sqlite3_context* ctx, int, sqlite3_value** argv) {
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL) return sqlite3_result_null(ctx);
    std::string text = textArg(argv[0]), sep = textArg(argv[1]);
    long long n = sqlite3_value_int64(argv[2]);
    if (sep.empty() || n < 1)
        return sqlite3_result_text(ctx, n == 1 ? text.c_str() : "", -1, SQLITE_TRANSIENT);
    size_t at = 0;
    for (long long i = 1; i < n; ++i) {
        at = text.find(sep, at);
        if (at == std::string::npos) return sqlite3_result_text(ctx, "", 0, SQLITE_STATIC);
        at += sep.size();
    }
    size_t end = text.find(sep, at);
    std::string piece = text.substr(at, end == std::string::npos ? std::string::npos : end - at);
    sqlite3_result_text(ctx, piece.c_str(), static_cast<int>(piece.size()), SQLITE_TRANSIENT);
}

// JMXmlAttribute(xml, path): the value of the XPath `path` (an attribute or an element's text) in
// the document; NULL when the text is not XML or nothing matches.
void xmlAttribute(sqlite3_context* ctx, int, sqlite3_value** argv) {
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL) return sqlite3_result_null(ctx);
    pugi::xml_document doc;
    std::string xml = textArg(argv[0]), path = textArg(argv[1]);
    if (!doc.load_buffer(xml.data(), xml.size())) return sqlite3_result_null(ctx);
    try {
        pugi::xpath_node found = doc.select_node(path.c_str());
        if (!found) return sqlite3_result_null(ctx);
        std::string value = found.attribute() ? found.attribute().value() : found.node().text().get();
        sqlite3_result_text(ctx, value.c_str(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
    } catch (const pugi::xpath_exception& e) {
        sqlite3_result_error(ctx, e.what(), -1);
    }
}

struct Function {
    const char* name;
    int args;
    bool deterministic;
    void (*fn)(sqlite3_context*, int, sqlite3_value**);
};

const Function kFunctions[] = {
    {"isBkpJobVisible", 7, false, isBkpJobVisible},
    {"isClientVisible", 6, false, isClientVisible},
    {"GetMaxRetentionTime", 3, false, getMaxRetentionTime},
    {"IsDeferredCatalogSupported", 1, false, isDeferredCatalogSupported},
    {"GetDeferredCatalogSupportedAppTypes", 0, false, getDeferredCatalogSupportedAppTypes},
    {"JMGetLocalizedMessageFunc", 2, false, localizedMessage},
    {"JMGetKBArticlesForFailures", 2, false, kbArticles},
    {"getMysqlProxyAndInstance", 2, false, mysqlProxyAndInstance},
    {"SplitString", 2, true, splitString},
    {"split_part", 3, true, splitPart},
    {"JMXmlAttribute", 2, true, xmlAttribute},
};

void freeCache(void* cache) {
    delete static_cast<Cache*>(cache);
}

}  // namespace

int registerJobFunctions(SqliteCore& core, Error& err) {
    // One statement cache per connection, freed with the last function that uses it.
    auto* cache = new Cache;
    for (size_t i = 0; i < sizeof kFunctions / sizeof kFunctions[0]; ++i) {
        const Function& f = kFunctions[i];
        const bool last = i + 1 == sizeof kFunctions / sizeof kFunctions[0];
        int flags = SQLITE_UTF8 | (f.deterministic ? SQLITE_DETERMINISTIC : 0);
        int rc = core.check(sqlite3_create_function_v2(core.db(), f.name, f.args, flags, cache, f.fn, nullptr,
                                                       nullptr, last ? freeCache : nullptr),
                            "create function", err);
        if (rc != SQLITE_OK) {
            if (!last) delete cache;
            return rc;
        }
    }
    return 0;
}

}  // namespace sqlite
}  // namespace dbl
