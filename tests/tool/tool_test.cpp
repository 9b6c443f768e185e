// The taskdb tool as a person runs it: the demo on a fresh store, commands in both output forms, errors.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <filesystem>

namespace {

struct ToolRun {
    int status;
    std::string out;
};

// Runs the tool with `args` through the shell; `before` may set variables or pipe into it.
ToolRun run(const std::string& args, const std::string& before = "") {
    std::string cmd = before + std::string(TASKDB_TOOL_PATH) + " " + args + " 2>&1";
    FILE* p = popen(cmd.c_str(), "r");
    ToolRun r{-1, {}};
    if (!p) return r;
    std::array<char, 4096> buf;
    size_t n;
    while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) r.out.append(buf.data(), n);
    int st = pclose(p);
    r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
    return r;
}

class ToolTest : public ::testing::Test {
  protected:
    void SetUp() override {
        dir = std::filesystem::temp_directory_path() / ("taskdb-tool-" + std::to_string(getpid()));
        std::filesystem::remove_all(dir);
        std::filesystem::create_directories(dir);
        url = "--url sqlite:" + (dir / "store.sqlite").string();
        setenv("TASKDB_LOG", (dir / "taskdb.log").c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(dir); }
    std::filesystem::path dir;
    std::string url;
};

}  // namespace

TEST_F(ToolTest, DemoRunsCleanlyAndLeavesAStoreTheCommandsRead) {
    ToolRun demo = run("demo " + url);
    ASSERT_EQ(demo.status, 0) << demo.out;
    EXPECT_NE(demo.out.find("== Finished\n"), std::string::npos) << demo.out;
    EXPECT_EQ(demo.out.find("error:"), std::string::npos) << demo.out;
    EXPECT_NE(demo.out.find("option 1008 after the rollback: gone"), std::string::npos);

    ToolRun job = run("job 1001 --json " + url);
    ASSERT_EQ(job.status, 0) << job.out;
    auto j = nlohmann::json::parse(job.out);
    EXPECT_EQ(j["taskId"], 7);
    EXPECT_EQ(j["subTaskId"], 11);
    EXPECT_EQ(j["jobRequestId"], 501);

    ASSERT_EQ(run("options set 1001 1009 \"it's -- fine\" --type 4 " + url).status, 0);
    ToolRun list = run("options list 1001 --json " + url);
    ASSERT_EQ(list.status, 0) << list.out;
    bool found = false;
    for (const auto& o : nlohmann::json::parse(list.out))
        found = found || (o["optionId"] == 1009 && o["value"] == "it's -- fine");
    EXPECT_TRUE(found) << list.out;

    ToolRun task = run("task show 7 " + url);
    ASSERT_EQ(task.status, 0) << task.out;
    EXPECT_NE(task.out.find("Sunday 22:00"), std::string::npos) << task.out;
    EXPECT_NE(task.out.find("sequence:    42"), std::string::npos) << task.out;

    // A second demo on the same store refuses to seed twice and says why.
    ToolRun again = run("demo " + url);
    EXPECT_NE(again.status, 0);
    EXPECT_NE(again.out.find("run the demo on an empty store"), std::string::npos) << again.out;
}

TEST_F(ToolTest, UsageErrorsExit2NotFoundExits1) {
    ASSERT_EQ(run("demo " + url).status, 0);
    struct Case {
        std::string args;
        int status;
        std::string says;
    };
    const Case cases[] = {
        {"bogus", 2, "unknown command 'bogus'\ntaskdb commands: version, init, demo, status,"},
        {"options frob", 2, "unknown command 'frob'\ntaskdb options commands: list, get, set, remove"},
        {"options get", 2, "usage: taskdb options get JOB OPTION"},
        {"job 9223372036854775808", 2, "out of range"},
        {"job -1", 2, "out of range"},
        {"options get 1001 18446744073709551616", 2, "out of range"},
        {"task show 4294967297", 2, "out of range"},
        {"files set 1001 5 123 x", 2, "'123' is out of range (150001 to 150014)"},
        {"files list 1001 --type 7", 2, "out of range"},
        {"task show 99", 1, "task 99 not found"},
        {"jobs 99", 1, "task 99 not found"},
        {"job 9999", 1, "job 9999 not found"},
        {"options list 9999", 1, "job 9999 not found"},
        {"options get 1002 4242", 1, "option 4242 of job 1002"},
        {"defaults 4242", 1, "static default of option 4242 not found"},
        {"task show 7 --subtask 99", 1, "subtask 99 of task 7 not found"},
    };
    for (const auto& c : cases) {
        ToolRun r = run(c.args + " " + url);
        EXPECT_EQ(r.status, c.status) << c.args << "\n" << r.out;
        EXPECT_NE(r.out.find(c.says), std::string::npos) << c.args << "\n" << r.out;
    }
    // The option asked for, not the job's first row; a job without it gets the static default.
    EXPECT_EQ(run("options get 1001 1001 " + url).out, "1\n");
    EXPECT_EQ(run("options get 1002 1005 " + url).out, "30\n");
}

TEST_F(ToolTest, AFailureLeftInErrIsAFailureEvenWithCode0) {
    ASSERT_EQ(run("demo " + url).status, 0);
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open((dir / "store.sqlite").c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db,
                           "CREATE TRIGGER refuse BEFORE INSERT ON TM_JobOptions "
                           "BEGIN SELECT RAISE(ABORT, 'refused by trigger'); END",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(db);
    for (std::string args : {"options set 1001 1011 x", "files set 1001 150005 150005 y"}) {
        ToolRun r = run(args + " --json " + url);
        EXPECT_EQ(r.status, 1) << args << "\n" << r.out;
        EXPECT_NE(r.out.find("failed (code 0): refused by trigger"), std::string::npos) << r.out;
        EXPECT_EQ(r.out.find("\"result\""), std::string::npos) << r.out;
    }
}

TEST_F(ToolTest, OnlyInitAndDemoCreateAStore) {
    const auto missing = dir / "missing.sqlite";
    for (std::string args : {"task show 7", "options list 1", "status", "defaults"}) {
        ToolRun r = run(args + " --url sqlite:" + missing.string());
        EXPECT_EQ(r.status, 1) << r.out;
        EXPECT_NE(r.out.find("no store at " + missing.string() + ": run taskdb init"), std::string::npos)
            << r.out;
    }
    EXPECT_FALSE(std::filesystem::exists(missing));
    ToolRun empty = run("defaults --url sqlite:");
    EXPECT_EQ(empty.status, 2) << empty.out;
    EXPECT_NE(empty.out.find("sqlite: needs a file path"), std::string::npos) << empty.out;
    EXPECT_EQ(run("init --url sqlite:").status, 2);
    ToolRun init = run("init --json " + url);
    ASSERT_EQ(init.status, 0) << init.out;
    EXPECT_EQ(nlohmann::json::parse(init.out)["schemaVersion"], 1);
    EXPECT_EQ(run("task default " + url).status, 1);  // an empty store has no default task
}

TEST_F(ToolTest, SecretsAreMaskedAndValuesKeptWhole) {
    for (std::string u :
         {"'postgres:Uid=jm;Password={se;cr}}et};Port=1'", "'odbc:DSN=none;UID=jm;PWD=secret'"}) {
        for (std::string cmd : {"init", "demo", "status --json"}) {
            ToolRun r = run(cmd + " --url " + u);
            EXPECT_EQ(r.status, 1) << r.out;
            EXPECT_EQ(r.out.find("cr}}et"), std::string::npos) << r.out;
            EXPECT_EQ(r.out.find("secret"), std::string::npos) << r.out;
        }
    }
    EXPECT_NE(
        run("init --url 'postgres:Uid=jm;Password={se;cr}}et};Port=1'").out.find("Password=****;Port=1"),
        std::string::npos);

    ASSERT_EQ(run("init " + url).status, 0);
    ASSERT_EQ(run("options set 0 1 " + std::string("\"$(printf 'a\\377b')\" ") + url).status, 0);
    ToolRun list = run("options list 0 --json " + url);
    ASSERT_EQ(list.status, 0) << list.out;
    EXPECT_NE(list.out.find("\"value\": \"a\\\\xffb\""), std::string::npos) << list.out;
    EXPECT_NE(list.out.find("not valid UTF-8"), std::string::npos) << list.out;

    ToolRun nul = run("options set 0 2 - " + url, "printf 'ab\\000cd' | ");
    EXPECT_EQ(nul.status, 2) << nul.out;
    EXPECT_NE(nul.out.find("NUL byte at offset 2"), std::string::npos) << nul.out;
    ASSERT_EQ(run("options set 0 3 - " + url, "printf 'two\\nlines\\n' | ").status, 0);
    EXPECT_EQ(run("options get 0 3 " + url).out, "two\nlines\n");
}

TEST_F(ToolTest, VersionStatusAndDemoSpeakJson) {
    ToolRun version = run("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out.rfind("taskdb ", 0), 0u) << version.out;
    EXPECT_EQ(nlohmann::json::parse(run("version --json").out)["schemaVersion"], 1);

    ToolRun demo = run("demo --json " + url);
    ASSERT_EQ(demo.status, 0) << demo.out;
    auto d = nlohmann::json::parse(demo.out);
    EXPECT_EQ(d["failures"], 0);
    EXPECT_TRUE(d["finished"].get<bool>());
    EXPECT_GT(d["steps"].size(), 20u);

    ToolRun status = run("status --json " + url);
    ASSERT_EQ(status.status, 0) << status.out;
    auto st = nlohmann::json::parse(status.out);
    EXPECT_EQ(st["schemaVersion"], 1);
    EXPECT_EQ(st["tables"]["TM_Task"], 2);
    EXPECT_EQ(st["tables"]["TM_Jobs"], 2);
    EXPECT_EQ(st["traceFile"], (dir / "taskdb.log").string());
    EXPECT_EQ(st["traceLevel"], 5);
    EXPECT_NE(st["library"].get<std::string>().find("libTaskInterfaceDB"), std::string::npos);
    EXPECT_NE(run("status " + url).out.find("TM_JobOptions"), std::string::npos);

    // One key style: camelCase everywhere.
    auto task = nlohmann::json::parse(run("task show 7 --json " + url).out);
    EXPECT_TRUE(task["patterns"][0].contains("freqType")) << task.dump();
    EXPECT_EQ(task.dump().find('_'), std::string::npos) << task.dump();
}

TEST_F(ToolTest, BadTraceSettingsWarnOnceAndFallBack) {
    ASSERT_EQ(run("init " + url).status, 0);
    ToolRun r = run("options set 0 1 x " + url, "TASKDB_LOG=/nonexistent-dir/t.log TASKDB_LOG_LEVEL=loud ");
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_NE(r.out.find("TASKDB_LOG_LEVEL 'loud' is not a whole number from -1 to 10; using 5"),
              std::string::npos)
        << r.out;
    auto first = r.out.find("cannot open TASKDB_LOG '/nonexistent-dir/t.log'");
    EXPECT_NE(first, std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("cannot open", first + 1), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find(" L5 "), std::string::npos) << r.out;  // errors and refusals only
}

TEST(DevScript, AnUnknownCommandExitsWithItsUsage) {
    std::string source = TASKDB_SHARED_TESTDATA;
    source.resize(source.size() - std::string("/../shared/testdata").size());
    ToolRun r{-1, {}};
    FILE* p = popen((source + "/dev frobnicate 2>&1").c_str(), "r");
    ASSERT_NE(p, nullptr);
    std::array<char, 4096> buf;
    for (size_t n; (n = fread(buf.data(), 1, buf.size(), p)) > 0;) r.out.append(buf.data(), n);
    int st = pclose(p);
    EXPECT_EQ(WIFEXITED(st) ? WEXITSTATUS(st) : -1, 2);
    EXPECT_NE(r.out.find("unknown command 'frobnicate'"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("./dev test"), std::string::npos) << r.out;
}
