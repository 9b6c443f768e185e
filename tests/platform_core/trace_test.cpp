#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <regex>
#include <thread>

#include "platform/trace/EvDebug.h"

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
    EXPECT_EQ(lines[0].jobId, -1);
    EXPECT_EQ(lines[0].text, "Called with jobId[42]");
    EXPECT_EQ(lines[1].jobId, 42);
    EXPECT_EQ(lines[1].text, "For optionId[7] found value [x]");
    EXPECT_EQ(lines[2].level, EvDebug::kDebugLevel);
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

    std::ifstream in(path);
    std::regex line(
        R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}([+-]\d\d:\d\d) (\d+) (\d+) L(\d+) (\S+) (\S+): (.*))");
    std::string l1, l2;
    std::smatch m1, m2;
    ASSERT_TRUE(std::getline(in, l1) && std::getline(in, l2));
    std::filesystem::remove(path);
    ASSERT_TRUE(std::regex_match(l1, m1, line)) << l1;
    ASSERT_TRUE(std::regex_match(l2, m2, line)) << l2;
    time_t now = time(nullptr);
    tm local;
    localtime_r(&now, &local);
    char offset[40];
    std::snprintf(offset, sizeof offset, "%c%02ld:%02ld", local.tm_gmtoff < 0 ? '-' : '+',
                  std::labs(local.tm_gmtoff) / 3600, std::labs(local.tm_gmtoff) / 60 % 60);
    EXPECT_EQ(m1[1].str(), offset);
    EXPECT_EQ(m1[2].str(), std::to_string(getpid()));
    EXPECT_EQ(m1[4].str() + " " + m1[5].str() + " " + m1[6].str() + ": " + m1[7].str(),
              "5 1001 TaskInterfaceDB::lookup: Completed");
    EXPECT_EQ(m2[5].str(), "-");
    EXPECT_NE(m1[3].str(), m2[3].str());  // different threads
}

namespace {
std::filesystem::path tracePath(const std::string& tag) {
    auto path = std::filesystem::temp_directory_path() /
                ("taskdb-trace-" + tag + "-" + std::to_string(getpid()) + ".log");
    for (int i = 0; i < 4; ++i) std::filesystem::remove(path.string() + (i ? "." + std::to_string(i) : ""));
    return path;
}
std::string slurp(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}
}  // namespace

TEST(Trace, ControlCharactersCannotForgeALine) {
    auto path = tracePath("escape");
    evtrace::setFile(path.string());
    EvDebug::Error("TaskInterfaceDB::set\nOptions", "value[%s]",
                   "x\n2026-01-01T00:00:00 1 1 L0 - forged: y\r\t\x01\x7f");
    evtrace::setFile("");
    std::string text = slurp(path);
    std::filesystem::remove(path);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    EXPECT_NE(
        text.find(" L0 - TaskInterfaceDB::set\\nOptions: value[x\\n2026-01-01T00:00:00 1 1 L0 - forged: "
                  "y\\r\\t\\x01\\x7f]\n"),
        std::string::npos)
        << text;
}

TEST(Trace, OrdinaryLinesWaitInTheBufferErrorsAreWrittenAtOnce) {
    auto path = tracePath("buffer");
    int saved = evtrace::level();
    evtrace::setLevel(5);
    evtrace::setFile(path.string());
    EvDebug::DebugLvl(5, "n", "first");
    EXPECT_EQ(slurp(path), "");
    EvDebug::Debug("n", "DB_Error: [%s]", "second");
    std::string both = slurp(path);
    EvDebug::DebugLvl(5, "n", "third");
    evtrace::flush();
    std::string all = slurp(path);
    evtrace::setFile("");
    evtrace::setLevel(saved);
    std::filesystem::remove(path);
    ASSERT_NE(both.find("first"), std::string::npos) << both;
    EXPECT_LT(both.find("first"), both.find("DB_Error: [second]"));
    EXPECT_NE(all.find("third"), std::string::npos) << all;
}

TEST(Trace, FilesRotateAtTheLimitKeepingTheCountGiven) {
    auto path = tracePath("rotate");
    evtrace::setRotation(1000, 2);
    evtrace::setFile(path.string());
    for (int i = 0; i < 60; ++i) EvDebug::Error("n", "line %03d %s", i, std::string(40, 'r').c_str());
    evtrace::setFile("");
    evtrace::setRotation(10LL * 1024 * 1024, 5);
    std::string current = slurp(path), older = slurp(path.string() + ".1"),
                oldest = slurp(path.string() + ".2");
    EXPECT_FALSE(std::filesystem::exists(path.string() + ".3"));
    for (const auto& f : {path.string(), path.string() + ".1", path.string() + ".2"}) {
        EXPECT_LE(std::filesystem::file_size(f), 1000u) << f;
        std::filesystem::remove(f);
    }
    EXPECT_NE(current.find("line 059"), std::string::npos) << current;
    EXPECT_FALSE(older.empty());
    EXPECT_FALSE(oldest.empty());
    EXPECT_EQ(current.find("line 000"), std::string::npos);
}

TEST(Trace, FileTextMatchesPrintfForEveryConversionKind) {
    auto path = tracePath("printf");
    evtrace::setFile(path.string());
    char expected[512];
    std::snprintf(expected, sizeof expected, "%d %i %u %ld %lu %lld %llu [%s] %c %% %08x|%5s|%.2f",
                  -2147483647 - 1, 42, 4294967295u, -9223372036854775807L - 1, 18446744073709551615UL,
                  -9223372036854775807LL - 1, 18446744073709551615ULL, "text", 'z', 255u, "ab", 2.5);
    EvDebug::Error("n", "%d %i %u %ld %lu %lld %llu [%s] %c %% %08x|%5s|%.2f", -2147483647 - 1, 42,
                   4294967295u, -9223372036854775807L - 1, 18446744073709551615UL, -9223372036854775807LL - 1,
                   18446744073709551615ULL, "text", 'z', 255u, "ab", 2.5);
    EvDebug::Error("n", "%d %i %u %ld %lu %lld %llu [%s] %c %%", -2147483647 - 1, 42, 4294967295u,
                   -9223372036854775807L - 1, 18446744073709551615UL, -9223372036854775807LL - 1,
                   18446744073709551615ULL, "text", 'z');
    evtrace::setFile("");
    std::ifstream in(path);
    std::string slow, fast;
    ASSERT_TRUE(std::getline(in, slow) && std::getline(in, fast));
    std::filesystem::remove(path);
    EXPECT_EQ(slow.substr(slow.find(" n: ") + 4), expected);
    std::string plain(expected, std::strstr(expected, " %") - expected + 2);
    EXPECT_EQ(fast.substr(fast.find(" n: ") + 4), plain);
}
