// taskdb password and taskdb config as a person runs them: secrets through standard input only.
#include <sys/wait.h>

#include <cstdio>
#include <nlohmann/json.hpp>

#include "tests/helpers/PlatformDir.h"

namespace {

class PlatformToolTest : public PlatformDirTest {
  protected:
    void SetUp() override {
        PlatformDirTest::SetUp();
        writeConfig("[Base]\nsPasswordKeyFile = " + (dir / "tool.key").string() + "\n[Quorin]\nsName = q\n");
        setenv("TASKDB_LOG", (dir / "trace.log").c_str(), 1);
        setenv("TASKDB_LOG_LEVEL", "10", 1);
    }
    void TearDown() override {
        unsetenv("TASKDB_LOG");
        unsetenv("TASKDB_LOG_LEVEL");
        PlatformDirTest::TearDown();
    }
    // Runs the tool with `input` on its standard input; the exit status and standard output.
    std::pair<int, std::string> run(const std::string& args, const std::string& input = "") {
        writeFile(dir / "stdin", input);
        const std::string cmd =
            std::string(TASKDB_TOOL_PATH) + " " + args + " < " + (dir / "stdin").string() + " 2>/dev/null";
        std::string out;
        FILE* p = popen(cmd.c_str(), "r");
        char buf[4096];
        for (size_t n; p && (n = fread(buf, 1, sizeof buf, p)) > 0;) out.append(buf, n);
        const int status = p ? pclose(p) : -1;
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
    }
};

}  // namespace

TEST_F(PlatformToolTest, PasswordsRoundTripAcrossARotationWithoutReachingTheTrace) {
    const std::string secret = "s3cret w\xC3\xB6rd";
    auto enc = run("password encrypt", secret + "\n");
    ASSERT_EQ(enc.first, 0);
    ASSERT_EQ(enc.second.rfind("KP1:1:", 0), 0u) << enc.second;
    auto rot = run("password rotate --json");
    ASSERT_EQ(rot.first, 0);
    EXPECT_EQ(nlohmann::json::parse(rot.second)["keyId"], 2);
    auto dec = run("password decrypt --json", enc.second);
    ASSERT_EQ(dec.first, 0);
    EXPECT_EQ(nlohmann::json::parse(dec.second)["password"], secret);
    EXPECT_EQ(run("password decrypt", enc.second.substr(0, 20)).first, 1);
    EXPECT_EQ(run("password encrypt", std::string(3000, 'x')).first, 1);
    EXPECT_EQ(run("password encrypt", std::string("a\0b", 3)).first, 1);

    const std::string trace = readFile(dir / "trace.log");
    EXPECT_NE(trace.find("rotateKey"), std::string::npos);
    EXPECT_EQ(trace.find(secret), std::string::npos);
    EXPECT_EQ(trace.find(enc.second.substr(6, 16)), std::string::npos);
}

TEST_F(PlatformToolTest, ConfigGetAnswersOrSaysNotFound) {
    auto got = run("config get Quorin sName");
    EXPECT_EQ(got, std::make_pair(0, std::string("q\n")));
    auto json = run("config get Quorin sName --json");
    ASSERT_EQ(json.first, 0);
    EXPECT_EQ(nlohmann::json::parse(json.second)["value"], "q");
    EXPECT_EQ(run("config get Quorin sOther").first, 1);
}

TEST_F(PlatformToolTest, StreamsPrintsTheDefaultOfAnAgent) {
    const std::string url = " --url sqlite:" + (dir / "store.sqlite").string();
    ASSERT_EQ(run("init" + url).first, 0);
    auto json = run("streams --apptype 106 --json" + url);
    ASSERT_EQ(json.first, 0);
    EXPECT_EQ(nlohmann::json::parse(json.second)["streams"], 5);
    EXPECT_EQ(run("streams --apptype 11 --client 0" + url), std::make_pair(0, std::string("4\n")));
    EXPECT_EQ(run("streams --apptype 999" + url).second, "-1 (the agent has no stream default)\n");
}
