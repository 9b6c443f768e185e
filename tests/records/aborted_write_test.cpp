// A write that fails part-way (a full disk, a read-only store, a value the store refuses) leaves
// nothing of the call behind and reports the failure's own code and text, never a later one.
#include <sqlite3.h>
#include <sys/mount.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <functional>

#include "platform/db/DBconfig.h"
#include "platform/db/DBschema.h"
#include "platform/db/DBtran.h"
#include "records/RecordStore.h"

namespace {
enum class Limit { None, Length, ReadOnly };
std::atomic<Limit> g_limit{Limit::None};
constexpr int kMaxLength = 4096;

// Runs for every SQLite connection opened while a limit is set.
int applyLimit(sqlite3* db, char**, const sqlite3_api_routines*) {
    if (g_limit == Limit::Length) sqlite3_limit(db, SQLITE_LIMIT_LENGTH, kMaxLength);
    if (g_limit == Limit::ReadOnly) sqlite3_exec(db, "PRAGMA query_only = 1", nullptr, nullptr, nullptr);
    return SQLITE_OK;
}

using Write = std::function<int(TaskInterface&, std::string&)>;
struct Call {
    const char* name;
    bool oneWrite;  // a failure of its only write leaves nothing to undo: the close's 0 may stand
    Write run;
};

_TaskInfo job() {
    _TaskInfo info;
    info.jobId = 1001;
    info.taskId = 7;
    return info;
}

const std::string kBig(3 * 1024 * 1024, 'v');
const TaskOption kChanged(1001, "0", 2), kBigOption(5, kBig, 1);
const TaskFile kFile(20, "C:\\small", 150005), kBigFile(21, kBig, 150005);

const Call kOptions{"setOptions", false, [](TaskInterface& ti, std::string& err) {
                        _TaskInfo info = job();
                        return ti.setOptions(info, {&kChanged, &kBigOption}, err, nullptr);
                    }};
const Call kFiles{"setFiles", false, [](TaskInterface& ti, std::string& err) {
                      _TaskInfo info = job();
                      return ti.setFiles(info, {&kFile, &kBigFile}, err, nullptr);
                  }};
const Call kTask{"setTaskInfo", true, [](TaskInterface& ti, std::string& err) {
                     _TaskInfo info = job();
                     info.task.sequenceNumber = 99;
                     info.task.alertId = 5;
                     return ti.setTaskInfo(info, err, nullptr);
                 }};
const Call kEntities{"setEntityInfo", false, [](TaskInterface& ti, std::string& err) {
                         _TaskInfo info = job();
                         info.entities.resize(2);
                         info.entities[0].clientId = 50;
                         info.entities[1].clientId = 51;
                         return ti.setEntityInfo(info, err, nullptr);
                     }};
}  // namespace

class AbortedWriteTest : public RecordStoreTest {
  protected:
    void TearDown() override {
        g_limit = Limit::None;
        RecordStoreTest::TearDown();
    }
    // Every row that one of the calls could touch.
    std::string state() {
        return join(scalar("SELECT COUNT(*) FROM TM_JobOptions"),
                    scalar("SELECT SUM(LENGTH(value)) FROM TM_JobOptions"),
                    text("SELECT value FROM TM_JobOptions WHERE optionId = 1001"),
                    text("SELECT sequenceNumber FROM TM_Task WHERE taskId = 7"),
                    scalar("SELECT alertId FROM TM_Task WHERE taskId = 7"),
                    scalar("SELECT COUNT(*) FROM TM_AssocEntity"));
    }
    // Runs `call` on a store limited by `limitedUrl` (connections opened from now on), then checks
    // against the unlimited store that nothing of it remains.
    void expectNothingRemains(const Call& call, const std::string& limitedUrl) {
        SCOPED_TRACE(call.name);
        const std::string before = state();
        dbconfig::setUrl(limitedUrl);
        evtrace::Capture cap;
        err = "caller's text";
        const int rc = call.run(*ti, err);
        g_limit = Limit::None;
        dbconfig::setUrl(url);
        EXPECT_EQ(state(), before);
        // The first failure is the one reported, not what a statement after it met.
        const auto failures = cap.find("DB_Error: [", std::string("TaskInterfaceDB::") + call.name);
        ASSERT_FALSE(failures.empty()) << rc << " " << err;
        EXPECT_EQ(failures.front().text, "DB_Error: [" + err + "]");
        if (!call.oneWrite) {
            EXPECT_NE(rc, 0) << err;
        }
    }
    // The store as it is, with `setting` in force on each new server connection.
    std::string withServerSetting(const std::string& setting) const {
        const size_t end = url.rfind('}');
        return url.substr(0, end) + "; " + setting + url.substr(end);
    }
};

TEST_P(AbortedWriteTest, AValueLargerThanTheStoreAllowsUndoesTheWholeCall) {
    std::string limited = url;
    if (GetParam() == "sqlite") {
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(applyLimit));
        g_limit = Limit::Length;
    } else {
        exec("ALTER TABLE TM_JobOptions ADD CONSTRAINT value_size CHECK (LENGTH(value) <= " +
             std::to_string(kMaxLength) + ")");
    }
    for (const Call& call : {kOptions, kFiles}) {
        if (GetParam() == "sqlite") g_limit = Limit::Length;
        expectNothingRemains(call, limited);
    }

    // In the caller's transaction: a later call is refused with the first failure, and the commit
    // takes back what the first call had written before it failed.
    if (GetParam() == "sqlite") g_limit = Limit::Length;
    dbconfig::setUrl(limited);
    const std::string before = state();
    DBtran tran;
    ASSERT_EQ(tran.begin(&err), 0) << err;
    _TaskInfo info = job();
    std::string first, second, commit;
    ti->setOptions(info, {&kChanged, &kBigOption}, first, &tran);  // its last write failing: the close's 0
    EXPECT_FALSE(first.empty());
    const TaskOption later(6, "later", 1);
    EXPECT_NE(ti->setOptions(info, {&later}, second, &tran), 0);
    EXPECT_EQ(second, first);
    EXPECT_NE(tran.commit(&commit), 0);
    EXPECT_EQ(commit, first);
    EXPECT_FALSE(tran.active());
    g_limit = Limit::None;
    dbconfig::setUrl(url);
    EXPECT_EQ(state(), before);
}

TEST_P(AbortedWriteTest, AReadOnlyStoreRefusesEveryWriterWithItsOwnError) {
    std::string limited = url;
    if (GetParam() == "sqlite")
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(applyLimit));
    else
        limited = withServerSetting("SET default_transaction_read_only = on");
    for (const Call& call : {kOptions, kFiles, kTask, kEntities}) {
        g_limit = Limit::ReadOnly;
        expectNothingRemains(call, limited);
    }
}

TASKDB_STORE_SUITE(AbortedWriteTest);

// A full file system: SQLite rolls the transaction back by itself in the middle of the call.
TEST(AbortedWriteFullDisk, TheCallEndsWithTheDiskFullErrorAndNothingWritten) {
    namespace fs = std::filesystem;
    const fs::path mount = fs::temp_directory_path() / ("taskdb-full-" + std::to_string(getpid()));
    fs::create_directories(mount);
    if (::mount("tmpfs", mount.c_str(), "tmpfs", 0, "size=2m") != 0) {
        fs::remove(mount);
        GTEST_SKIP() << "cannot mount a small file system here (needs root)";
    }
    struct Unmount {
        fs::path at;
        ~Unmount() {
            dbconfig::setUrl("");
            umount2(at.c_str(), MNT_DETACH);
            fs::remove(at);
        }
    } unmount{mount};
    const std::string url = "sqlite:" + (mount / "store.sqlite").string();
    std::string err;
    ASSERT_EQ(DBinitSchema(url, &err), 0) << err;
    std::unique_ptr<TaskInterface> ti = openTaskInterface(url);
    StoreSql sql;
    sql.exec("INSERT INTO TM_JobOptions (jobId, optionId, type, value) VALUES (1001, 1001, 2, N'1')");
    const std::string before = sql.text("SELECT GROUP_CONCAT(value) FROM TM_JobOptions");
    for (const Call& call : {kOptions, kFiles}) {
        SCOPED_TRACE(call.name);
        err.clear();
        EXPECT_EQ(call.run(*ti, err), SQLITE_FULL) << err;
        EXPECT_EQ(err, sqlite3_errstr(SQLITE_FULL));
        EXPECT_EQ(sql.text("SELECT GROUP_CONCAT(value) FROM TM_JobOptions"), before);
    }
}
