// taskdb import, export, clients, subclients, activity and jobs running: the management server's world.
#include <fstream>
#include <iostream>
#include <sstream>

#include "platform/server/Server.h"
#include "tools/taskdb/Commands.h"
#include "tools/taskdb/Output.h"
#include "tools/taskdb/World.h"

namespace {

// An activity type by name or number; -1 when neither.
int activityType(const std::string& text) {
    if (text == "backup") return KO_ACTIVITY_BACKUP;
    if (text == "restore") return KO_ACTIVITY_RESTORE;
    if (text == "scheduler") return KO_ACTIVITY_SCHEDULER;
    int value = -1;
    std::istringstream in(text);
    if (!(in >> value) || !in.eof() || value < 0) return -1;
    return value;
}

std::string activityName(int type) {
    return type == KO_ACTIVITY_BACKUP      ? "backup"
           : type == KO_ACTIVITY_RESTORE   ? "restore"
           : type == KO_ACTIVITY_SCHEDULER ? "scheduler"
                                           : std::to_string(type);
}

const char* levelName(int level) {
    return level == KO_ACTIVITY_LEVEL_SERVER   ? "server"
           : level == KO_ACTIVITY_LEVEL_CLIENT ? "client"
                                               : "subclient";
}

// The text that a disabled activity gives, as the job manager would show it.
std::string describe(const EvMessageContainer& msg) {
    EvEvent ev("taskdb activity");
    for (const std::string& a : const_cast<EvMessageContainer&>(msg).GetArguments().values) ev << a;
    char buffer[1024];
    ev.evPrintf(msg.GetMessageID(), buffer, sizeof buffer, 0);
    return buffer;
}

struct ActivityTarget {
    bool server = false;
    unsigned long client = 0;
    int subclient = 0;
    std::string type;
    std::string reason;
};

void addTargetOptions(CLI::App* cmd, ActivityTarget& t, bool withReason) {
    cmd->add_option("--type", t.type, "Activity: backup, restore, scheduler or a number")->required();
    auto* server = cmd->add_flag("--server", t.server, "The management server as a whole");
    auto* client = cmd->add_option("--client", t.client, "A client id");
    auto* sub = cmd->add_option("--subclient", t.subclient, "A subclient id");
    server->excludes(client)->excludes(sub);
    client->excludes(sub);
    if (withReason) cmd->add_option("--reason", t.reason, "Why it is disabled (shown to whoever is refused)");
}

int setActivity(const ToolContext& ctx, const ActivityTarget& t, bool enable) {
    const int type = activityType(t.type);
    if (type < 0) {
        std::cerr << "taskdb: --type must be backup, restore, scheduler or a number\n";
        return 2;
    }
    if (!t.server && t.client == 0 && t.subclient <= 0) {
        std::cerr << "taskdb: name one of --server, --client ID or --subclient ID\n";
        return 2;
    }
    const int level = t.server   ? KO_ACTIVITY_LEVEL_SERVER
                      : t.client ? KO_ACTIVITY_LEVEL_CLIENT
                                 : KO_ACTIVITY_LEVEL_SUBCLIENT;
    const unsigned long id = t.server ? 0 : t.client ? t.client : static_cast<unsigned long>(t.subclient);
    int rc = JMActivityCtrl().setActivityEnabled(level, id, type, enable, t.reason);
    if (rc == KO_SRV_NOT_FOUND) {
        std::cerr << "taskdb: no " << levelName(level) << " " << id << '\n';
        return 1;
    }
    if (rc != 0) return reportFailure("activity", rc, "");
    if (ctx.json)
        printJson(
            {{"level", levelName(level)}, {"id", id}, {"activity", activityName(type)}, {"enabled", enable}});
    else
        std::cout << activityName(type) << " is now " << (enable ? "enabled" : "disabled") << " on "
                  << levelName(level) << (level == KO_ACTIVITY_LEVEL_SERVER ? "" : " " + std::to_string(id))
                  << '\n';
    return 0;
}

// With --client/--subclient and --type: whether the activity may run there, and why not. Else every
// disabling setting.
int showActivity(const ToolContext& ctx, const ActivityTarget& t) {
    if (!t.type.empty() && (t.client || t.subclient > 0)) {
        const int type = activityType(t.type);
        if (type < 0) {
            std::cerr << "taskdb: --type must be backup, restore, scheduler or a number\n";
            return 2;
        }
        unsigned long clientId = t.client;
        std::string clientName, subclientName;
        if (t.subclient > 0) {
            unsigned long appType = 0;
            bool deleted = false;
            int rc = SubclientHelper::getSubclientClientAppTypeInfo(
                static_cast<unsigned long>(t.subclient), clientName, appType, clientId, deleted, nullptr);
            if (rc == 0) rc = Subclient(t.subclient).getSubclientName(subclientName, nullptr);
            if (rc == KO_SRV_NOT_FOUND) {
                std::cerr << "taskdb: no subclient " << t.subclient << '\n';
                return 1;
            }
            if (rc != 0) return reportFailure("activity show", rc, "");
        } else if (int rc = KOClient(clientId).getName(clientName, nullptr)) {
            if (rc == KO_SRV_NOT_FOUND) {
                std::cerr << "taskdb: no client " << clientId << '\n';
                return 1;
            }
            return reportFailure("activity show", rc, "");
        }
        EvMessageContainer msg;
        bool enabled = JMActivityCtrl().isActivityEnabled(type, clientId, 0, clientName.c_str(), t.subclient,
                                                          subclientName.c_str(), &msg, 1);
        std::string why = enabled ? "" : describe(msg);
        if (ctx.json)
            printJson({{"activity", activityName(type)},
                       {"clientId", clientId},
                       {"subclientId", t.subclient},
                       {"enabled", enabled},
                       {"messageId", enabled ? 0 : msg.GetMessageID()},
                       {"message", why}});
        else
            std::cout << activityName(type) << (enabled ? " is enabled" : " is disabled: " + why) << '\n';
        return 0;
    }
    std::vector<KOActivitySetting> settings;
    int rc = JMActivityCtrl().getSettings(settings);
    if (rc != 0) return reportFailure("activity show", rc, "");
    Json list = Json::array();
    std::vector<std::vector<std::string>> rows;
    for (const KOActivitySetting& s : settings) {
        list.push_back({{"level", levelName(s.level)},
                        {"id", s.entityId},
                        {"activity", activityName(s.activityType)},
                        {"enabled", s.enabled},
                        {"reason", s.reason}});
        rows.push_back({levelName(s.level),
                        s.level == KO_ACTIVITY_LEVEL_SERVER ? "" : std::to_string(s.entityId),
                        activityName(s.activityType), "disabled", s.reason});
    }
    if (ctx.json)
        printJson(list);
    else
        printTable({"LEVEL", "ID", "ACTIVITY", "STATE", "REASON"}, rows);
    return 0;
}

int listClients(const ToolContext& ctx) {
    std::vector<KOClientInfo> clients;
    int rc = KOClient::getClients(clients, nullptr);
    if (rc != 0) return reportFailure("clients", rc, "");
    Json list = Json::array();
    std::vector<std::vector<std::string>> rows;
    for (const KOClientInfo& c : clients) {
        list.push_back({{"id", c.id},
                        {"name", c.name},
                        {"displayName", c.displayName},
                        {"hostName", c.hostName},
                        {"deleted", c.deleted}});
        rows.push_back({std::to_string(c.id), c.name, c.displayName, c.hostName, c.deleted ? "deleted" : ""});
    }
    if (ctx.json)
        printJson(list);
    else
        printTable({"ID", "NAME", "DISPLAY NAME", "HOST", "STATE"}, rows);
    return 0;
}

int listSubclients(const ToolContext& ctx, unsigned long clientId) {
    std::vector<KOSubclientInfo> subs;
    int rc = Subclient::getSubclients(clientId, subs, nullptr);
    if (rc != 0) return reportFailure("subclients", rc, "");
    if (subs.empty() && clientId > 0) {
        std::string name;
        if (KOClient(clientId).getName(name, nullptr) == KO_SRV_NOT_FOUND) {
            std::cerr << "taskdb: no client " << clientId << '\n';
            return 1;
        }
    }
    Json list = Json::array();
    std::vector<std::vector<std::string>> rows;
    for (const KOSubclientInfo& s : subs) {
        list.push_back({{"id", s.id},
                        {"clientId", s.clientId},
                        {"appTypeId", s.appTypeId},
                        {"instanceId", s.instanceId},
                        {"backupSetId", s.backupSetId},
                        {"name", s.name}});
        rows.push_back({std::to_string(s.id), std::to_string(s.clientId), std::to_string(s.appTypeId),
                        std::to_string(s.instanceId), std::to_string(s.backupSetId), s.name});
    }
    if (ctx.json)
        printJson(list);
    else
        printTable({"ID", "CLIENT", "APP TYPE", "INSTANCE", "BACKUP SET", "NAME"}, rows);
    return 0;
}

int listRunningJobs(const ToolContext& ctx) {
    std::vector<KORunningJobInfo> jobs;
    int rc = KOManageDBForJM().getRunningJobs(jobs);
    if (rc != 0) return reportFailure("jobs running", rc, "");
    static const char* const kStatus[] = {"", "running", "pending", "waiting", "suspended"};
    auto status = [](int s) { return s >= 1 && s <= 4 ? std::string(kStatus[s]) : std::to_string(s); };
    Json list = Json::array();
    std::vector<std::vector<std::string>> rows;
    for (const KORunningJobInfo& j : jobs) {
        list.push_back({{"jobId", j.jobId},
                        {"installationId", j.orbisId},
                        {"clientId", j.clientId},
                        {"subclientId", j.subclientId},
                        {"appTypeId", j.appTypeId},
                        {"opType", j.opType},
                        {"backupLevel", j.backupLevel},
                        {"status", status(j.status)},
                        {"startTime", j.startTime}});
        rows.push_back({std::to_string(j.jobId), std::to_string(j.clientId), std::to_string(j.subclientId),
                        std::to_string(j.appTypeId), std::to_string(j.opType), std::to_string(j.backupLevel),
                        status(j.status), std::to_string(j.startTime)});
    }
    if (ctx.json)
        printJson(list);
    else
        printTable({"JOB", "CLIENT", "SUBCLIENT", "APP TYPE", "OP TYPE", "LEVEL", "STATUS", "STARTED"}, rows);
    return 0;
}

int importFile(const ToolContext& ctx, const std::string& path, bool replace) {
    std::ostringstream text;
    if (path == "-") {
        text << std::cin.rdbuf();
    } else {
        std::ifstream in(path, std::ios::binary);
        if (!in) {
            std::cerr << "taskdb: cannot read " << path << '\n';
            return 1;
        }
        text << in.rdbuf();
    }
    long long rows = 0;
    std::string err;
    int rc = importWorld(text.str(), replace, rows, err);
    if (rc == 2) {
        std::cerr << "taskdb: " << path << ": " << err << " (nothing was imported)\n";
        return 1;
    }
    if (rc != 0) return reportFailure("import", rc, err + " (nothing was imported)");
    if (ctx.json)
        printJson({{"file", path}, {"rows", rows}});
    else
        std::cout << "imported " << rows << " rows from " << path << '\n';
    return 0;
}

int exportFile(const std::string& path) {
    Json world;
    std::string err;
    int rc = exportWorld(world, err);
    if (rc != 0) return reportFailure("export", rc, err);
    if (path.empty() || path == "-") {
        printJson(world);
        return 0;
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << world.dump(2) << '\n';
    if (!out.flush()) {
        std::cerr << "taskdb: cannot write " << path << '\n';
        return 1;
    }
    return 0;
}

}  // namespace

CLI::App* sharedSubcommand(CLI::App& app, const std::string& name, const std::string& description) {
    for (CLI::App* sub : app.get_subcommands([](CLI::App*) { return true; }))
        if (sub->get_name() == name) return sub;
    return app.add_subcommand(name, description);
}

void addWorldCommands(CLI::App& app, ToolContext& ctx) {
    static std::string file, output;
    static bool replace = false;
    static unsigned long clientFilter = 0;
    static ActivityTarget show, enable, disable;

    auto* imp = app.add_subcommand(
        "import", "Load the management server's world from a JSON document (all or nothing)");
    imp->add_option("FILE", file, "The document (- for standard input)")->required();
    imp->add_flag("--replace", replace, "Empty the world's tables first, in the same transaction");
    imp->callback([&ctx] {
        applyUrl(ctx);
        ctx.exitCode = importFile(ctx, file, replace);
    });

    auto* exp = app.add_subcommand("export", "Write the management server's world as a JSON document");
    exp->add_option("FILE", output, "Where to write it (default: standard output)");
    exp->callback([&ctx] {
        applyUrl(ctx);
        ctx.exitCode = exportFile(output);
    });

    app.add_subcommand("clients", "List the clients")->callback([&ctx] {
        applyUrl(ctx);
        ctx.exitCode = listClients(ctx);
    });
    auto* subs = app.add_subcommand("subclients", "List the subclients (of one client with --client)");
    subs->add_option("--client", clientFilter, "A client id");
    subs->callback([&ctx] {
        applyUrl(ctx);
        ctx.exitCode = listSubclients(ctx, clientFilter);
    });

    auto* activity = app.add_subcommand(
        "activity", "Show, enable or disable activities on the server, a client or a subclient");
    activity->require_subcommand(1);
    auto* s = activity->add_subcommand(
        "show", "Disabled activities, or with --type and --client/--subclient whether one may run");
    s->add_option("--type", show.type, "Activity: backup, restore, scheduler or a number");
    s->add_option("--client", show.client, "A client id")
        ->excludes(s->add_option("--subclient", show.subclient, "A subclient id"));
    s->callback([&ctx] {
        applyUrl(ctx);
        ctx.exitCode = showActivity(ctx, show);
    });
    auto* en =
        activity->add_subcommand("enable", "Enable an activity (removes the setting that disabled it)");
    addTargetOptions(en, enable, false);
    en->callback([&ctx] {
        applyUrl(ctx);
        ctx.exitCode = setActivity(ctx, enable, true);
    });
    auto* dis = activity->add_subcommand("disable", "Disable an activity");
    addTargetOptions(dis, disable, true);
    dis->callback([&ctx] {
        applyUrl(ctx);
        ctx.exitCode = setActivity(ctx, disable, false);
    });

    auto* jobs = sharedSubcommand(app, "jobs", "Jobs of the management server");
    jobs->add_subcommand("running", "List the running jobs")->callback([&ctx] {
        applyUrl(ctx);
        ctx.exitCode = listRunningJobs(ctx);
    });
}
