#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <thread>

#include "platform/shm/SharedMemory.h"
#include "platform/trace/EvDebug.h"
#include "tests/helpers/PlatformDir.h"
#include "utilities/AppMgrShmUtil.h"

namespace {

class MailboxTest : public PlatformDirTest {
  protected:
    std::filesystem::path keyFile() const {
        return dir / ("APPMGR_CLOUD_COMM_SHARED_MEMORY_" + std::to_string(getpid()) + "_" +
                      std::to_string(KoThread::getCurrentThreadID()));
    }
    void TearDown() override {
        AppMgrShmUtil().getAPIRequest();  // leaves no block behind a failed test
        PlatformDirTest::TearDown();
    }
};

const char* kOpenFailure =
    "Failed to open shared memory [%s][%u] to read the AppMgr request id. Error Code = %d";

}  // namespace

TEST_F(MailboxTest, AnIdIsReadOnceByTheThreadThatSetIt) {
    AppMgrShmUtil box;
    ASSERT_TRUE(box.setAPIRequest(0x100000007ul));  // only the low 32 bits travel
    EXPECT_TRUE(std::filesystem::exists(keyFile()));
    EXPECT_EQ(AppMgrShmUtil().getAPIRequest(), 7u);

    evtrace::Capture cap;
    EXPECT_EQ(box.getAPIRequest(), 0u);
    auto lines = cap.find("Failed to open shared memory", "AppMgrShmUtil::getAPIRequest");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, EvDebug::kErrorLevel);
    char expected[256];
    const std::string name = keyFile().filename().string();
    const unsigned key = static_cast<unsigned>(ftok(keyFile().c_str(), 65274));  // -1 once the file is gone
    std::snprintf(expected, sizeof expected, kOpenFailure, name.c_str(), key, ENOENT);
    EXPECT_EQ(lines[0].text, expected);
}

TEST_F(MailboxTest, ASecondSetOverwritesAndAStaleKeyFileIsReused) {
    writeFile(keyFile(), "");  // left by an earlier run of this thread
    ASSERT_TRUE(AppMgrShmUtil().setAPIRequest(11));
    ASSERT_TRUE(AppMgrShmUtil().setAPIRequest(12));
    EXPECT_EQ(AppMgrShmUtil().getAPIRequest(), 12u);
    EXPECT_EQ(AppMgrShmUtil().getAPIRequest(), 0u);
    AppMgrShmUtil box;  // the mailbox is usable again after a read, also through one object
    ASSERT_TRUE(box.setAPIRequest(13));
    ASSERT_TRUE(box.setAPIRequest(14));
    EXPECT_EQ(box.getAPIRequest(), 14u);
    EXPECT_EQ(box.getAPIRequest(), 0u);
}

TEST_F(MailboxTest, AnotherThreadDoesNotSeeTheId) {
    ASSERT_TRUE(AppMgrShmUtil().setAPIRequest(21));
    unsigned long seen = 99;
    std::thread([&] {
        seen = AppMgrShmUtil().getAPIRequest();
        if (AppMgrShmUtil().setAPIRequest(22)) seen += 1000 * AppMgrShmUtil().getAPIRequest();
    }).join();
    EXPECT_EQ(seen, 22000u);
    EXPECT_EQ(AppMgrShmUtil().getAPIRequest(), 21u);
}

TEST_F(MailboxTest, KeyFileThatCannotBeMadeFailsTheSet) {
    writeConfig("[Base]\ndTESSERATEMPDIR = " + (dir / "missing").string() + "\n");
    evtrace::Capture cap;
    EXPECT_FALSE(AppMgrShmUtil().setAPIRequest(5));
    auto lines = cap.find("Shared memory key creation failed.", "AppMgrShmUtil::setAPIRequest");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text, "Shared memory key creation failed. -1, " + std::to_string(ENOENT) + ", 0");
}
