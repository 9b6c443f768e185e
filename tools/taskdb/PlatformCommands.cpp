// taskdb password ..., taskdb config get, taskdb streams: the platform helpers from the command line.
// Passwords are read from standard input only (without echo on a terminal) and never traced.
#include <string.h>
#include <termios.h>
#include <unistd.h>

#include <iostream>
#include <string>

#include "platform/config/Config.h"
#include "platform/secrets/Secrets.h"
#include "tools/taskdb/Commands.h"
#include "tools/taskdb/Output.h"
#include "utilities/BackupStreams.h"
#include "utilities/PasswordWrapper.h"

namespace {

// Wipes the text it holds when it goes.
struct SecretText {
    std::string text;
    ~SecretText() { explicit_bzero(&text[0], text.size()); }
};

// One line from standard input (the whole input when it is not a terminal), without its line end.
bool readSecret(const char* prompt, SecretText& out) {
    const bool tty = isatty(STDIN_FILENO);
    termios saved{};
    if (tty && tcgetattr(STDIN_FILENO, &saved) == 0) {
        termios quiet = saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
        std::cerr << prompt << std::flush;
    }
    char c;
    while (std::cin.get(c) && !(tty && c == '\n')) out.text.push_back(c);
    if (tty) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved);
        std::cerr << '\n';
    }
    if (!out.text.empty() && out.text.back() == '\n') out.text.pop_back();
    if (!out.text.empty() && out.text.back() == '\r') out.text.pop_back();
    return out.text.find('\0') == std::string::npos;
}

int fail(const std::string& text) {
    std::cerr << "taskdb: " << text << '\n';
    return 1;
}

void addPasswordCommands(CLI::App& app, ToolContext& ctx) {
    auto* pw = app.add_subcommand("password", "Encipher and decipher passwords; rotate the password key");
    pw->require_subcommand(1);

    pw->add_subcommand("encrypt", "Encipher the password read from standard input")->callback([&] {
        SecretText secret;
        if (!readSecret("Password: ", secret)) {
            ctx.exitCode = fail("a password cannot hold a zero byte");
            return;
        }
        PasswordWrapper wrapper(secret.text);
        const char* out = wrapper.encrypt();
        if (!out) {
            ctx.exitCode =
                fail("cannot encipher the password: longer than " +
                     std::to_string(KOPassword::maxPlainLength(2049)) + " bytes, or the key file " +
                     KOPassword::keyFilePath() + " cannot be used (the trace says why)");
            return;
        }
        if (ctx.json)
            printJson({{"enciphered", out}});
        else
            std::cout << out << '\n';
    });

    pw->add_subcommand("decrypt", "Decipher the enciphered password read from standard input")->callback([&] {
        SecretText cipher;
        readSecret("Enciphered password: ", cipher);
        PasswordWrapper wrapper(cipher.text);
        const char* out = wrapper.decrypt();
        if (!out) {
            ctx.exitCode =
                fail("cannot decipher the text: damaged, made under another key file, or the key file " +
                     KOPassword::keyFilePath() + " cannot be used (the trace says why)");
            return;
        }
        if (ctx.json)
            printJson({{"password", out}});
        else
            std::cout << out << '\n';
    });

    pw->add_subcommand("rotate", "Add a new password key and make it current; older texts still decipher")
        ->callback([&] {
            std::string error;
            const unsigned int id = KOPassword::rotateKey(error);
            if (id == 0) {
                ctx.exitCode = fail("cannot rotate the password key: " + error);
                return;
            }
            if (ctx.json)
                printJson({{"keyId", id}, {"keyFile", KOPassword::keyFilePath()}});
            else
                std::cout << "key " << id << " of " << KOPassword::keyFilePath() << " is current\n";
        });
}

struct ConfigArgs {
    std::string section, key, focus;
};

void addConfigCommands(CLI::App& app, ToolContext& ctx) {
    auto* config = app.add_subcommand("config", "Read the platform configuration");
    config->require_subcommand(1);
    static ConfigArgs a;
    auto* get = config->add_subcommand("get", "The value of KEY in SECTION");
    get->add_option("section", a.section, "Section name")->required();
    get->add_option("key", a.key, "Key name")->required();
    get->add_option("--focus", a.focus,
                    "Instance whose values are read (default: TASKDB_FOCUS or Instance001)");
    get->callback([&] {
        KOPlatformInfo info;
        if (!a.focus.empty()) info.setFocus(a.focus);
        std::string value;
        const std::string file = KOPlatformInfo::configPath();
        if (!info.getString(a.section, a.key, value)) {
            ctx.exitCode = fail("no key " + a.key + " in section [" + a.section + "] of " + file);
            return;
        }
        if (ctx.json)
            printJson({{"file", file},
                       {"focus", info.getFocusName()},
                       {"section", a.section},
                       {"key", a.key},
                       {"value", value}});
        else
            std::cout << value << '\n';
    });
}

struct StreamArgs {
    int appType = 0, clientId = 0, instanceId = 0;
};

void addStreamsCommand(CLI::App& app, ToolContext& ctx) {
    static StreamArgs a;
    auto* cmd = app.add_subcommand("streams", "The default number of backup streams of an agent");
    cmd->add_option("--apptype", a.appType, "Application type id")->required();
    cmd->add_option("--client", a.clientId, "Client id (version-dependent agents)");
    cmd->add_option("--instance", a.instanceId, "Instance id (cluster and cloud agents)");
    cmd->callback([&] {
        applyUrl(ctx);
        const int streams = getDefaultNumberofBackupStreams(a.appType, a.clientId, a.instanceId, nullptr);
        const char* meaning = streams > 0    ? "default"
                              : streams == 0 ? "no fixed default: the agent's version or kind decides"
                                             : "the agent has no stream default";
        if (ctx.json)
            printJson({{"appType", a.appType},
                       {"clientId", a.clientId},
                       {"instanceId", a.instanceId},
                       {"streams", streams},
                       {"meaning", meaning}});
        else
            std::cout << streams << (streams > 0 ? "" : std::string(" (") + meaning + ")") << '\n';
    });
}

}  // namespace

void addPlatformCommands(CLI::App& app, ToolContext& ctx) {
    addPasswordCommands(app, ctx);
    addConfigCommands(app, ctx);
    addStreamsCommand(app, ctx);
}
