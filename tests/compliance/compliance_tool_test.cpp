// taskdb compliance and taskdb search populate on every backend: output, masked passwords, exit codes.
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "support/TestStore.h"

namespace {

struct ToolRun {
    int status = -1;
    std::string out;
};

ToolRun tool(const std::string& url, const std::string& args) {
    std::string cmd = std::string(TASKDB_TOOL_PATH) + " --url '" + url + "' " + args + " 2>/dev/null";
    ToolRun r;
    FILE* p = popen(cmd.c_str(), "r");
    if (!p) return r;
    std::array<char, 4096> buf;
    size_t n;
    while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) r.out.append(buf.data(), n);
    int st = pclose(p);
    r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
    return r;
}

}  // namespace

class ComplianceToolTest : public StoreTest {};

TEST_P(ComplianceToolTest, ListsAndPopulatesWithExitCodes) {
    exec(
        "INSERT INTO APP_Client (id, name, displayName, net_hostname, GUID, status, deleted, created) VALUES "
        "(5, 'c5', 'c5', 'h5', 'g5', 0, 0, 0)");
    exec(
        "INSERT INTO APP_Application (id, clientId, appTypeId, instance, backupSet, subclientName, "
        "subclientStatus, created, orbisId) VALUES (7, 5, 33, 0, 0, 's7', 0, 0, 2)");
    exec(
        "INSERT INTO DM2RecordCenter (id, url, recordName, userName, password, domain, type, description, "
        "xmlValue, status) VALUES (1, 'http://rc1', 'rc one', 'bob', 'enc:xyz', 'CORP', 2, '', '', 1)");

    ToolRun centers = tool(url, "--json compliance record-centers");
    ASSERT_EQ(centers.status, 0) << centers.out;
    auto json = nlohmann::json::parse(centers.out);
    ASSERT_EQ(json.size(), 1u);
    EXPECT_EQ(json[0]["recordName"], "rc one");
    EXPECT_EQ(json[0]["password"], "***");
    EXPECT_EQ(centers.out.find("enc:xyz"), std::string::npos);
    EXPECT_EQ(tool(url, "compliance connectors --id 4").status, 1);  // not found
    EXPECT_EQ(tool(url, "compliance options").status, 2);            // usage

    // The first search request is completed on an empty text: a warning, not a failed listing.
    exec(
        "INSERT INTO SchedAdminComplianceOptions (id, dataType, complianceId, xmlValue, status) VALUES "
        "(1, 1, 3, '<DM2ContentIndexing_SearchRequest/>', 1)");
    ToolRun options = tool(url, "--json compliance options --id 3");
    ASSERT_EQ(options.status, 0) << options.out;
    EXPECT_EQ(nlohmann::json::parse(options.out)[0]["kind"], 1);

    const auto file =
        std::filesystem::temp_directory_path() / ("search-" + std::to_string(getpid()) + ".xml");
    std::ofstream(file) << "<DM2ContentIndexing_SearchRequest/>";
    ToolRun populated = tool(url, "--json search populate " + file.string() + " --user 0");
    ASSERT_EQ(populated.status, 0) << populated.out;
    std::string xml = nlohmann::json::parse(populated.out)["xml"];
    EXPECT_NE(xml.find("<client clientId=\"5\"><appType appTypeId=\"33\"><subclientId>7</subclientId>"),
              std::string::npos)
        << xml;
    EXPECT_EQ(tool(url, "search populate " + file.string() + " --user 11").out.find("clientId"),
              std::string::npos);
    std::ofstream(file) << "<DM2ContentIndexing_SearchRequest";
    EXPECT_EQ(tool(url, "search populate " + file.string()).status, 1);
    EXPECT_EQ(tool(url, "search populate /nonexistent/request.xml").status, 1);
    std::filesystem::remove(file);
}

TASKDB_STORE_SUITE(ComplianceToolTest);
