#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include "platform/trace/EvDebug.h"

namespace {
std::string readFile(const std::string& path) {
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}
}  // namespace

TEST(Trace, LevelFilterJobFormKindsAndLongTexts) {
    evtrace::Capture cap(5);
    EvDebug::DebugLvl(5, "TaskInterfaceDB::lookup", "Called with jobId[%lld]", 42LL);
    EvDebug::DebugLvl(6, "TaskInterfaceDB::lookup", "filtered out");
    EvDebug::DebugLvl(42LL, 3, "TaskInterfaceDB::lookup", "For optionId[%lld] found value [%s]", 7LL, "x");
    EvDebug::Debug("TaskInterfaceDB::getOptions", "DB_Error: [%s]", "disk I/O error");
    EvDebug::Error("EvTask::runTask", "hard failure %d", 3);
    EvEventWrapper("TaskInterfaceDB::getFiles").Debug(10, "TABLE -> %s {%s}", "TM_JobOptions", "jobId = 1");
    const std::string big(5000, 'q');  // long texts are not cut
    EvDebug::DebugLvl(5, "n", "[%s]", big.c_str());

    auto lines = cap.lines();
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0].level, 5);
    EXPECT_EQ(lines[0].jobId, -1);
    EXPECT_EQ(lines[0].text, "Called with jobId[42]");
    EXPECT_EQ(lines[1].jobId, 42);
    EXPECT_EQ(lines[1].text, "For optionId[7] found value [x]");
    EXPECT_EQ(lines[2].level, EvDebug::kDebugLevel);
    EXPECT_EQ(lines[2].name, "TaskInterfaceDB::getOptions");
    EXPECT_EQ(lines[3].level, EvDebug::kErrorLevel);
    EXPECT_EQ(lines[4].text, "[" + big + "]");
    EXPECT_EQ(cap.find("DB_Error", "TaskInterfaceDB::getOptions").size(), 1u);
    EXPECT_TRUE(cap.find("DB_Error", "TaskInterfaceDB::lookup").empty());
}

TEST(Trace, FileLinesCarryTimePidThreadJobAndName) {
    auto path =
        std::filesystem::temp_directory_path() / ("taskdb-trace-" + std::to_string(getpid()) + ".log");
    std::filesystem::remove(path);
    int saved = evtrace::level();
    evtrace::setLevel(5);
    evtrace::setFile(path.string());
    EvDebug::DebugLvl(1001LL, 5, "TaskInterfaceDB::lookup", "Completed");
    std::thread([] { EvDebug::Error("EvTask::runTask", "from another thread"); }).join();
    evtrace::setFile("");
    evtrace::setLevel(saved);

    std::string text = readFile(path.string());
    std::filesystem::remove(path);
    std::regex line(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6} (\d+) (\d+) L(\d+) (\S+) (\S+): (.*))");
    std::istringstream in(text);
    std::string l1, l2;
    ASSERT_TRUE(std::getline(in, l1));
    ASSERT_TRUE(std::getline(in, l2));
    std::smatch m1, m2;
    ASSERT_TRUE(std::regex_match(l1, m1, line)) << l1;
    ASSERT_TRUE(std::regex_match(l2, m2, line)) << l2;
    EXPECT_EQ(m1[1].str(), std::to_string(getpid()));
    EXPECT_EQ(m1[3].str(), "5");
    EXPECT_EQ(m1[4].str(), "1001");
    EXPECT_EQ(m1[5].str(), "TaskInterfaceDB::lookup");
    EXPECT_EQ(m1[6].str(), "Completed");
    EXPECT_EQ(m2[4].str(), "-");
    EXPECT_NE(m1[2].str(), m2[2].str());  // different threads
}
