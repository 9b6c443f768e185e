// The generator as the build runs it: refuses an inconsistent description, and leaves unchanged
// outputs untouched so that an unchanged schema recompiles nothing.
#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;

namespace {

const fs::path kSource = fs::path(__FILE__).parent_path().parent_path().parent_path();
// Every program of the build lands in one folder, the generator beside the tool.
const fs::path kBindgen = fs::path(TASKDB_TOOL_PATH).parent_path() / "bindgen";

class GeneratorTest : public ::testing::Test {
  protected:
    void SetUp() override {
        m_dir = fs::temp_directory_path() / ("bindgen-test-" + std::to_string(::getpid()));
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
    }
    void TearDown() override { fs::remove_all(m_dir); }

    // Exit status of bindgen on `def`, its error output in `out`.
    int run(const fs::path& def, std::string& out) {
        fs::path log = m_dir / "stderr.txt";
        std::string cmd =
            kBindgen.string() + " " + def.string() + " " + (m_dir / "out").string() + " 2>" + log.string();
        int rc = std::system(cmd.c_str());
        std::ifstream in(log);
        out.assign(std::istreambuf_iterator<char>(in), {});
        return rc;
    }
    fs::path write(const std::string& text) {
        fs::path p = m_dir / "bad.def";
        std::ofstream(p) << text;
        return p;
    }
    fs::path m_dir;
};

TEST_F(GeneratorTest, RefusesDescriptionsThatDisagreeWithThemselves) {
    std::string out;
    const std::string head = "table T\n    version 1.0\n    identity id 0\n    orderby id\n    key \"id\"\n";
    EXPECT_NE(run(write(head + "    format i|s|\n    column id i\nend\n"), out), 0);
    EXPECT_NE(out.find("bad.def:8: T: format i|s| does not match the columns i|"), std::string::npos) << out;

    EXPECT_NE(run(write(head + "    format i|s|\n    column id i\n    column id s\nend\n"), out), 0);
    EXPECT_NE(out.find("appears twice"), std::string::npos) << out;

    const std::string proc =
        "procedure P\n    signature 00010008000000000000\n    room 26\n    format b|\n"
        "    column o b\n";
    EXPECT_NE(run(write(proc + "    args b\n    argformat \"%d\"\nend\n"), out), 0);
    EXPECT_NE(out.find("argformat does not match args b"), std::string::npos) << out;
    EXPECT_NE(run(write(proc + "    args b\n    argformat \"%lld\"\n"), out), 0);
    EXPECT_NE(out.find("P has no end"), std::string::npos) << out;
    EXPECT_EQ(run(write(proc + "    args b\n    argformat \"%lld\"\nend\n"), out), 0) << out;
}

TEST_F(GeneratorTest, RewritesOnlyWhatChanged) {
    std::string out;
    ASSERT_EQ(run(kSource / "schema/objects.def", out), 0) << out;
    fs::path header = m_dir / "out/include/Db/Tbl/TM_Task.h";
    fs::path stamp = m_dir / "out/bindgen.stamp";
    ASSERT_TRUE(fs::exists(header));

    auto old = fs::last_write_time(header) - std::chrono::hours(1);
    fs::last_write_time(header, old);
    fs::last_write_time(stamp, old);
    ASSERT_EQ(run(kSource / "schema/objects.def", out), 0) << out;
    EXPECT_EQ(fs::last_write_time(header), old);
    EXPECT_GT(fs::last_write_time(stamp), old);
}

}  // namespace
