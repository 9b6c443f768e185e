// taskdb import and export on every backend: a round trip changes nothing, a fault in the middle of a
// document leaves the store exactly as it was, and the services see what was imported.
#include <cstdio>
#include <fstream>
#include <string>

#include "platform/server/Server.h"
#include "support/TestStore.h"

namespace {

struct ToolRun {
    int code;
    std::string out;
};

class ImportTest : public StoreTest {
  protected:
    // Runs the tool on this test's store; `args` may hold a file path but never caller text.
    ToolRun tool(const std::string& args) {
        std::string cmd = std::string(TASKDB_TOOL_PATH) + " --url '" + url + "' " + args + " 2>&1";
        FILE* p = popen(cmd.c_str(), "r");
        std::string out;
        char buf[4096];
        size_t n;
        while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
        int status = pclose(p);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
    }
    std::string write(const std::string& tag, const std::string& text) {
        std::string path = tempStorePath(tag) + ".json";
        std::ofstream(path, std::ios::binary) << text;
        m_files.push_back(path);
        return path;
    }
    static std::string sample() {
        std::ifstream in(std::string(TASKDB_SOURCE_DIR) + "/examples/world.json", std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    void TearDown() override {
        for (const std::string& f : m_files) std::remove(f.c_str());
        StoreTest::TearDown();
    }

  private:
    std::vector<std::string> m_files;
};

TEST_P(ImportTest, RoundTripIsIdenticalAndServicesSeeTheWorld) {
    ToolRun imported = tool("import " + write("world", sample()));
    ASSERT_EQ(imported.code, 0) << imported.out;
    ToolRun first = tool("export");
    ASSERT_EQ(first.code, 0) << first.out;
    ASSERT_EQ(tool("import --replace " + write("export", first.out)).code, 0);
    EXPECT_EQ(tool("export").out, first.out);
    EXPECT_NE(tool("import " + write("again", first.out)).code, 0) << "ids already present";

    std::string name;
    ASSERT_EQ(KOClient(14).getName(name, nullptr), 0);
    EXPECT_EQ(name, "laptop-jdoe");
    unsigned long physical = 0;
    EXPECT_EQ(ClientProperties(14).getUserCentricClientAssociation(physical, nullptr), 0);
    EXPECT_EQ(physical, 15u);
    bool nomad = false;
    EXPECT_EQ(Subclient(304).isNomadDriveSubclient(nomad, nullptr), 0);
    EXPECT_TRUE(nomad);
    EvMessageContainer msg;
    EXPECT_FALSE(JMActivityCtrl().isActivityEnabled(1, 13, 0, "fin-app-01", 0, "", &msg, 1));
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM UMUserClientGroupAssoc WHERE userId = 5 AND clientGroupId = 3"),
              1);
    EXPECT_EQ(
        scalar("SELECT s.subTaskId FROM JMBkpStats b JOIN JMJobStats s ON s.jobId = b.jobId AND s.orbisId = "
               "b.orbisId WHERE b.jobId = 1002"),
        12);
}

TEST_P(ImportTest, AFaultInTheMiddleLeavesTheStoreAsItWas) {
    ASSERT_EQ(tool("import " + write("world", sample())).code, 0);
    const std::string before = tool("export").out;

    // Every table is emptied first and half of the document would load before the fault.
    std::string bad = sample();
    const std::string good = "\"ownerUserId\": 6}";
    ASSERT_NE(bad.find(good), std::string::npos);
    bad.replace(bad.find(good), good.size(), "\"ownerUserId\": 6.5}");
    ToolRun r = tool("import --replace " + write("bad", bad));
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.out.find("line 30: /backupSets/1/ownerUserId: must be a whole number"), std::string::npos)
        << r.out;
    EXPECT_EQ(tool("export").out, before);

    const std::string unknown =
        "{\"clients\": [{\"id\": 1, \"name\": \"a\"},\n {\"id\": 2, \"name\": \"b\", \"colour\": 1}]}";
    r = tool("import --replace " + write("unknown", unknown));
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.out.find("line 2: /clients/1/colour: is not a field of clients"), std::string::npos) << r.out;
    r = tool("import " +
             write("long", "{\"clients\": [{\"id\": 1, \"name\": \"" + std::string(1100, 'x') + "\"}]}"));
    EXPECT_NE(r.out.find("/clients/0/name: is longer than 1020 bytes"), std::string::npos) << r.out;
    r = tool("import " + write("range", "{\"subclients\": [{\"id\": 4294967296, \"clientId\": 1}]}"));
    EXPECT_NE(r.out.find("/subclients/0/id: is out of range"), std::string::npos) << r.out;
    EXPECT_EQ(tool("export").out, before);
}

TEST_P(ImportTest, DisablingBackupsOnOneClientShowsThere) {
    ASSERT_EQ(tool("import " + write("world", sample())).code, 0);
    ASSERT_EQ(tool("activity disable --type backup --client 12 --reason 'rack move'").code, 0);
    ToolRun r = tool("activity show --type backup --subclient 301 --json");
    EXPECT_NE(r.out.find("\"enabled\": false"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("is disabled on client [fin-db-01]. rack move"), std::string::npos) << r.out;
    EXPECT_NE(tool("activity show --type backup --client 15").out.find("backup is enabled"),
              std::string::npos);
    EXPECT_EQ(tool("activity disable --type backup --client 999").code, 1);
    ASSERT_EQ(tool("activity enable --type backup --client 12").code, 0);
    EXPECT_NE(tool("activity show --type backup --subclient 301").out.find("backup is enabled"),
              std::string::npos);
}

TASKDB_STORE_SUITE(ImportTest);

}  // namespace
