// Search request population: the security check's clients, the domains' directory providers and the
// named date ranges, written into a stored DM2ContentIndexing::SearchRequest.
#include "TaskInterfaceDB/SearchRequest.h"

#include <atomic>
#include <cstdio>
#include <memory>

#include "Db/Proc/SearchSecurityCheck.h"
#include "Db/Tbl/UMDSProviders.h"
#include "platform/db/DBtable.h"
#include "platform/secrets/Secrets.h"
#include "platform/trace/EvDebug.h"
#include "platform/trace/EvEvent.h"
#include "platform/xml/Messages.h"

namespace {

constexpr int KO_XML_INIT_FAILED = 0xB0001;
constexpr int KO_XML_PARSE_FAILED = 0xB0002;
constexpr int KO_XML_SERIALIZE_FAILED = 0xB0008;

// Message family 14 and the member ids of the request's parts.
constexpr std::uint32_t kFamily = 14;
constexpr std::uint32_t kSearchRequest = 174, kSearchClient = 3, kAppType = 2, kDomainCredential = 5;
enum RequestMember {
    kSelection = 1,
    kAdminComp = 2,
    kAppTypeSpecific = 3,
    kBrowseNamed = 4,
    kFilesNamed = 5,
    kEmailsNamed = 6
};
enum SelectionMember { kScope = 43, kClientGroups = 21, kClients = 18, kAppTypes = 19 };
enum AdminMember {
    kBrowseFrom = 1,
    kBrowseTo = 2,
    kOwners = 3,
    kReaders = 4,
    kSearchClients = 5,
    kCredentials = 6
};
enum SpecificMember { kFiles = 1, kEmails = 2 };
enum FilesMember { kModifiedFrom = 1, kModifiedTo = 2, kFileOwners = 3 };
enum EmailsMember { kReceivedFrom = 1, kReceivedTo = 2 };
constexpr int kClientList = 1;                                                 // GSearchClientList
constexpr int kClientId = 1, kClientAppTypes = 2;                              // GSearchClient
constexpr int kAppTypeId = 1, kSubclientIds = 2;                               // GAppType
constexpr int kDomainName = 1, kHostName = 2, kPassword = 4, kSecureLdap = 5;  // GDomainCredential

std::atomic<std::time_t (*)()> g_clock{nullptr};

std::time_t now() {
    std::time_t (*clock)() = g_clock.load();
    return clock ? clock() : std::time(nullptr);
}

// The local calendar fields of now, changed by `adjust`, back to seconds; mktime normalises the days.
template <class Adjust>
int localTime(Adjust&& adjust) {
    std::time_t t = now();
    std::tm fields{};
    localtime_r(&t, &fields);
    adjust(fields);
    return static_cast<int>(std::mktime(&fields));
}

void startOfDay(std::tm& f) {
    f.tm_hour = f.tm_min = f.tm_sec = 0;
}

void endOfDay(std::tm& f) {
    f.tm_sec = 59;
    f.tm_min = 59;
    f.tm_hour = 23;
}

// Writes a named date range into `part` (from member, to member) when the request's kind asks for one.
void namedRange(const CNMessageBase& request, int kindMember, CNMessageBase* part, int fromMember,
                int toMember, const char* missing) {
    if (!request.isSet(kindMember)) return;
    const int kind = static_cast<int>(request.getint64(kindMember));
    if (kind < 1) return;
    if (!part) {
        EvDebug::Error("TaskInterfaceDB::populateNamedDates", "%s", missing);
        return;
    }
    const int from =
        getFrom(kind, part->isSet(fromMember) ? static_cast<int>(part->getint64(fromMember)) : 0);
    const int to = getTo(kind, part->isSet(toMember) ? static_cast<int>(part->getint64(toMember)) : 0);
    part->setint64(fromMember, from);
    part->setint64(toMember, to);
}

// The nested part `id` of `parent` when the request holds it, without marking it present.
CNMessageBase* present(CNMessageBase* parent, int id) {
    if (!parent || !static_cast<const CNMessageBase*>(parent)->getObjectAccessor(id)) return nullptr;
    return parent->getObjectAccessor(id);
}

// The request as traced: the values of password attributes replaced, so that no secret reaches the log.
std::string traceable(const std::string& xml) {
    static const std::string attribute = "password=\"";
    std::string out = xml;
    for (std::size_t at = out.find(attribute); at != std::string::npos; at = out.find(attribute, at)) {
        at += attribute.size();
        const std::size_t end = out.find('"', at);
        if (end == std::string::npos) {
            out.replace(at, std::string::npos, "***");
            break;
        }
        out.replace(at, end - at, "***");
    }
    return out;
}

}  // namespace

namespace searchclock {
void set(std::time_t (*clock)()) {
    g_clock.store(clock);
}
}  // namespace searchclock

int populateSearchOption(std::string& xml, std::string& err, int securityUser) {
    const char* name = "TaskInterfaceDB::populateSearchOption";
    EvEvent event(name);
    if (EvDebug::enabled(3)) EvDebug::DebugLvl(3, name, "Input xmlValue [%s]", traceable(xml).c_str());
    std::unique_ptr<CNMessageBase> request = CNMessageBase::create(kFamily, kSearchRequest);
    if (!request || CNMessageBase::Initialize() != 0) {
        err = "XML Message initilization failed";
        return KO_XML_INIT_FAILED;
    }
    if (request->unserialize(xml) != 0) {
        EvDebug::Debug(name, "%s", request->errorText().c_str());
        err = "XML Message unserilization failed";
        return KO_XML_PARSE_FAILED;
    }
    populateAppIds(*request, xml, static_cast<unsigned int>(securityUser));
    populateADAdministrators(*request);
    populateNamedDates(*request);
    std::string out;
    if (request->serialize(out, false) != 0) {
        EvDebug::Error(name, "%s", request->errorText().c_str());
        return KO_XML_SERIALIZE_FAILED;
    }
    xml.swap(out);
    return 0;
}

int populateAppIds(CNMessageBase& request, const std::string&, unsigned int securityUser) {
    const char* name = "TaskInterfaceDB::populateAppIds";
    EvEvent event(name);
    const CNMessageBase* selection = static_cast<const CNMessageBase&>(request).getObjectAccessor(kSelection);
    const long long scope = selection ? selection->getint64(kScope) : 0;
    const std::string groups =
        getCommaSeparatedStr(selection ? selection->getlistint(kClientGroups) : std::list<int>());
    const std::string clients =
        getCommaSeparatedStr(selection ? selection->getlistint(kClients) : std::list<int>());
    const std::string types =
        getCommaSeparatedStr(selection ? selection->getlistint(kAppTypes) : std::list<int>());

    SearchSecurityCheck proc(nullptr);
    proc.setValues(static_cast<int>(securityUser), types.c_str(), clients.c_str(), groups.c_str(), 0,
                   static_cast<int>(scope));

    // The current client and application type; ids 0 are never appended. Subclient ids gather here and go
    // into the application type when it is appended.
    std::unique_ptr<CNMessageBase> client = CNMessageBase::create(kFamily, kSearchClient);
    std::unique_ptr<CNMessageBase> appType = CNMessageBase::create(kFamily, kAppType);
    int clientId = 0, appTypeId = 0;
    std::list<int> subclients;
    CNListBase* clientList = nullptr;
    auto appendType = [&] {
        appType->setint64(kAppTypeId, appTypeId);
        if (!subclients.empty()) appType->setlistint(kSubclientIds, subclients);
        client->getlistobject(kClientAppTypes)->append(*appType);
    };
    auto appendClient = [&] {
        if (!clientList)
            clientList = request.getObjectAccessor(kAdminComp)
                             ->getObjectAccessor(kSearchClients)
                             ->getlistobject(kClientList);
        client->setint64(kClientId, clientId);
        clientList->append(*client);
    };
    auto freshType = [&](int id) {
        appType = CNMessageBase::create(kFamily, kAppType);
        appTypeId = id;
        subclients.clear();
    };

    int rows = 0, rc = 0;
    while ((rc = getNextRow(&proc, &rows, -1, 0)) == 0) {
        const SearchSecurityCheck_t& row = *proc.getDataPtr();
        if (rows == 1) {
            clientId = row.clientId;
            appTypeId = row.apptypeId;
        }
        if (clientId != row.clientId) {
            if (appTypeId != 0) appendType();
            if (clientId != 0) appendClient();
            client = CNMessageBase::create(kFamily, kSearchClient);
            clientId = row.clientId;
            freshType(row.apptypeId);
        }
        if (appTypeId != row.apptypeId) {
            if (appTypeId != 0) appendType();
            freshType(row.apptypeId);
        }
        if (row.subclientId != 0) subclients.push_back(row.subclientId);
    }
    if (rc != DB_NO_DATA) EvDebug::Debug(name, "DB_Error: [%s]", proc.getErrorStr(rc).c_str());
    if (appTypeId != 0) appendType();
    if (clientId != 0) appendClient();
    EvDebug::DebugLvl(5, name, "Security check for user [%u] gave [%d] rows", securityUser, rows);
    return rows != 0 ? 0 : -1;
}

void populateADAdministrators(CNMessageBase& request) {
    const char* name = "TaskInterfaceDB::populateADAdministrators";
    EvEvent event(name);
    const CNMessageBase& in = request;
    std::set<std::string> domains;
    if (const CNMessageBase* admin = in.getObjectAccessor(kAdminComp)) {
        if (admin->isSet(kOwners)) getDomainNames(domains, admin->getliststring(kOwners));
        if (admin->isSet(kReaders)) getDomainNames(domains, admin->getliststring(kReaders));
    }
    if (const CNMessageBase* specific = in.getObjectAccessor(kAppTypeSpecific))
        if (const CNMessageBase* files = specific->getObjectAccessor(kFiles))
            if (files->isSet(kFileOwners)) getDomainNames(domains, files->getliststring(kFileOwners));

    std::vector<std::unique_ptr<CNMessageBase>> credentials;
    if (!domains.empty()) {
        auto providers = std::make_unique<UMDSProviders>(nullptr);
        KOPassword passwords;
        std::vector<char> clear(4104);
        int rows = 0, rc = 0;
        while ((rc = getNextRow(providers.get(), &rows, -1, 0)) == 0) {
            const UMDSProviders_t& row = *providers->getDataPtr();
            if (domains.count(row.domainName) == 0) continue;
            std::unique_ptr<CNMessageBase> credential = CNMessageBase::create(kFamily, kDomainCredential);
            credential->setstring(kHostName, row.hostName);
            credential->setstring(kDomainName, row.domainName);
            // The login and the deciphered password never reach the credential: it carries no user name and
            // no password (kept so), and the clear text is wiped at once.
            unsigned long size = static_cast<unsigned long>(clear.size());
            if (passwords.decrypt(row.password, clear.data(), &size) != 0)
                for (volatile char* c = clear.data(); c != clear.data() + clear.size(); ++c) *c = 0;
            if (row.useSecureLdap == 1) credential->setint64(kSecureLdap, 1);
            credentials.push_back(std::move(credential));
        }
        if (rc != DB_NO_DATA) EvDebug::Debug(name, "DB_Error: [%s]", providers->getErrorStr(rc).c_str());
    }
    request.getObjectAccessor(kAdminComp)->setlistobject(kCredentials, credentials);
}

void populateNamedDates(CNMessageBase& request) {
    const char* name = "TaskInterfaceDB::populateNamedDates";
    EvEvent event(name);
    CNMessageBase* specific = present(&request, kAppTypeSpecific);
    namedRange(request, kBrowseNamed, present(&request, kAdminComp), kBrowseFrom, kBrowseTo,
               "Missing CFieldsAdminComp tag, could not set browse time date range");
    namedRange(request, kFilesNamed, present(specific, kFiles), kModifiedFrom, kModifiedTo,
               "Missing appTypeSpecific tag, could not set modified date range for files");
    namedRange(request, kEmailsNamed, present(specific, kEmails), kReceivedFrom, kReceivedTo,
               "Missing appTypeSpecific tag, could not set received date range for emails");
}

int getFrom(int kind, int current) {
    switch (kind) {
        case 6:
            return localTime([](std::tm& f) { f.tm_mday -= 1, startOfDay(f); });
        case 7:
            return localTime([](std::tm& f) {
                f.tm_mday -= f.tm_wday;
                if (f.tm_mday < 1) f.tm_mday = 1;
                startOfDay(f);
            });
        case 8:
            return localTime([](std::tm& f) { f.tm_mday = 1, startOfDay(f); });
        case 9:
            return localTime([](std::tm& f) { f.tm_mon = 0, f.tm_mday = 1, startOfDay(f); });
        case 10:
            return static_cast<int>(now() + current);
        default:
            return current;
    }
}

int getTo(int kind, int current) {
    switch (kind) {
        case 6:
            return localTime([](std::tm& f) { f.tm_mday -= 1, endOfDay(f); });
        case 7:
            return localTime([](std::tm& f) {
                f.tm_mday += 6 - f.tm_wday;
                if (f.tm_mday > 31) f.tm_mday = 31;
                endOfDay(f);
            });
        case 8:
            return localTime([](std::tm& f) { f.tm_mday = 31, endOfDay(f); });
        case 9:
            return localTime([](std::tm& f) { f.tm_mon = 11, f.tm_mday = 31, endOfDay(f); });
        case 10:
            return static_cast<int>(now() + current);
        default:
            return current;
    }
}

void getDomainNames(std::set<std::string>& domains, const std::list<std::string>& accounts) {
    for (const std::string& account : accounts) {
        const std::size_t slash = account.find('\\');
        if (slash != std::string::npos) domains.insert(account.substr(0, slash));
    }
}

std::string getCommaSeparatedStr(std::list<int> values) {
    std::string out;
    char digits[16];
    for (int v : values) {
        if (!out.empty()) out += ',';
        std::snprintf(digits, sizeof digits, "%d", v);
        out += digits;
    }
    return out;
}
