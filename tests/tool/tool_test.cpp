// The taskdb tool as a person runs it: the demo on a fresh store, commands in both output forms, errors.
#include <gtest/gtest.h>
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

ToolRun run(const std::string& args) {
    std::string cmd = std::string(TASKDB_TOOL_PATH) + " " + args + " 2>&1";
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

TEST_F(ToolTest, ErrorsPrintTheTextAndExitNonZero) {
    ToolRun bad = run("task show 7 --url sqlite:/nonexistent-dir/x.sqlite");
    EXPECT_EQ(bad.status, 1);
    EXPECT_NE(bad.out.find("taskdb: task show failed (code "), std::string::npos) << bad.out;
    EXPECT_NE(bad.out.find("unable to open database file"), std::string::npos) << bad.out;

    ToolRun usage = run("options get " + url);
    EXPECT_NE(usage.status, 0);
    EXPECT_NE(usage.out.find("required"), std::string::npos) << usage.out;

    ToolRun init = run("init --json " + url);
    ASSERT_EQ(init.status, 0) << init.out;
    EXPECT_EQ(nlohmann::json::parse(init.out)["schemaVersion"], 1);
}
