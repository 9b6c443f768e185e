// Several processes write one store at once: WAL and the busy timeout queue the writers, and write
// transactions make read-modify-write cycles safe.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "PlatformFixture.h"
#include "platform/db/Backend.h"
#include "platform/db/Bind.h"
#include "platform/db/DBconfig.h"
#include "platform/db/DBtran.h"
#include "platform/db/TranWrapper.h"

namespace {

constexpr int kRounds = 150;

// One round: insert a row of this writer and add one to the shared counter row (id 1) by reading
// it and writing the read value plus one, in one transaction. 0 or the failing code.
int round(int writer, int i) {
    std::string err;
    TranWrapper tw(nullptr, "ConcurrencyTest::round");
    if (int rc = tw.ensureTran(&err)) return rc;
    Widget counter(tw);
    counter.setWhere("id = %d", 1);
    if (int rc = getOneRow(&counter, false, -1, 0)) return rc;
    const long long seen = counter.rec.big;
    if (int rc = counter.rowUpdate(std::string("big = ") + std::to_string(seen + 1))) return rc;
    Widget row(tw);
    row.rec.big = writer * 100000 + i;
    row.rec.name[0] = 'w';
    row.rec.name[1] = static_cast<char>('0' + writer);
    if (int rc = row.rowInsert(true)) return rc;
    if (int rc = tw.commitIfOwnTran(&err)) return rc;
    if (i % 2) {
        // Every other round also writes a row outside any transaction (autocommit). Not inside the
        // transaction above: that would wait for the write lock this thread holds itself.
        Widget own(nullptr);
        own.rec.big = -(writer * 100000 + i);
        if (int rc = own.rowInsert(true)) return rc;
    }
    return 0;
}

int writeRounds(int writer) {
    int failures = 0;
    for (int i = 0; i < kRounds; ++i)
        if (round(writer, i) != 0) ++failures;
    return failures;
}

}  // namespace

using ConcurrencyTest = PlatformTest;

TEST_F(ConcurrencyTest, ForkedWritersLoseNothing) {
    exec("INSERT INTO Widget (big, name) VALUES (0, 'counter')");  // id 1
    // SQLite handles must not be open across fork(): close the idle one that exec() left behind.
    dbconfig::setUrl(url);
    std::vector<pid_t> children;
    for (int writer = 1; writer <= 2; ++writer) {
        pid_t pid = fork();
        ASSERT_GE(pid, 0) << std::strerror(errno);
        if (pid == 0) _exit(writeRounds(writer) == 0 ? 0 : 1);  // no test machinery in the child
        children.push_back(pid);
    }
    // The parent writes too, from two threads of its own.
    int failures3 = 0, failures4 = 0;
    std::thread t3([&] { failures3 = writeRounds(3); });
    std::thread t4([&] { failures4 = writeRounds(4); });
    t3.join();
    t4.join();
    EXPECT_EQ(failures3, 0);
    EXPECT_EQ(failures4, 0);
    for (pid_t pid : children) {
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "writer process failed: " << status;
    }
    EXPECT_EQ(scalar("SELECT big FROM Widget WHERE id = 1"), 4 * kRounds);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget WHERE big > 0 AND id > 1"), 4 * kRounds);
    EXPECT_EQ(scalar("SELECT COUNT(DISTINCT big) FROM Widget WHERE big > 0 AND id > 1"), 4 * kRounds);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget WHERE big < 0"), 4 * (kRounds / 2));
    for (int writer = 1; writer <= 4; ++writer)
        EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget WHERE name = 'w" + std::to_string(writer) + "'"),
                  kRounds);
}

TEST_F(ConcurrencyTest, AChildNeverUsesOrClosesTheParentsConnections) {
    addWidget(1, "parent");
    dbl::Error e;
    std::unique_ptr<dbl::Connection> held = dbl::acquire(e);  // lent to the parent across the fork
    ASSERT_NE(held, nullptr) << e.text;
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        dbl::Error ce;
        const dbl::Connection* parents = held.get();
        dbl::giveBack(std::move(held));  // abandoned: neither pooled nor closed
        std::unique_ptr<dbl::Connection> mine = dbl::acquire(ce);
        std::unique_ptr<dbl::Connection> again = dbl::acquire(ce);
        bool ok = mine && again && mine.get() != parents && again.get() != parents;
        dbl::giveBack(std::move(again));
        dbl::giveBack(std::move(mine));
        ok = ok && round(5, 1) == 0;
        _exit(ok ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    // The parent's connection still works after the child has gone.
    std::vector<dbl::Param> params;
    dbl::StatementPtr st = held->prepare("SELECT COUNT(*) FROM Widget WHERE name = 'w5'", params, e);
    ASSERT_NE(st, nullptr) << e.text;
    dbl::bindParams(*st, params);
    ASSERT_EQ(st->step(e), 0) << e.text;
    EXPECT_EQ(st->columnInt64(0), 1);
    st.reset();
    dbl::giveBack(std::move(held));
}
