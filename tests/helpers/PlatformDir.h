#pragma once
// A private platform configuration per test: a temporary directory holding the configuration file that
// TASKDB_PLATFORM_CONFIG names while the test runs.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

class PlatformDirTest : public ::testing::Test {
  protected:
    void SetUp() override {
        static int serial = 0;
        dir = std::filesystem::temp_directory_path() /
              ("taskdb-helpers-" + std::to_string(getpid()) + "-" + std::to_string(++serial));
        std::filesystem::remove_all(dir);
        std::filesystem::create_directories(dir);
        writeConfig("[Base]\ndTESSERATEMPDIR = " + dir.string() + "\n");
    }
    void TearDown() override {
        unsetenv("TASKDB_PLATFORM_CONFIG");
        std::filesystem::remove_all(dir);
    }
    // Replaces the configuration file (a new file each time, so the change is always seen) and names it.
    void writeConfig(const std::string& text, const std::string& name = "platform.ini") {
        const auto path = dir / name;
        writeFile(dir / (name + ".new"), text);
        std::filesystem::rename(dir / (name + ".new"), path);
        setenv("TASKDB_PLATFORM_CONFIG", path.c_str(), 1);
    }
    static void writeFile(const std::filesystem::path& path, const std::string& text) {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
    }
    static std::string readFile(const std::filesystem::path& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    std::filesystem::path dir;
};
