// The server goes away under an open connection: every call fails with a clear code and text and
// nothing crashes; once the server is back, a new connection works.
#include "odbc/OdbcFixture.h"

namespace {

class OdbcLostConnectionTest : public OdbcTest {
  protected:
    bool exclusiveServer() const override { return true; }
};

void expectLost(const dbl::Error& err, int rc, const char* what) {
    EXPECT_TRUE(rc != 0 && rc != 100) << what << ": " << rc;
    EXPECT_EQ(err.code, rc) << what;
    EXPECT_TRUE(err.connectionLost) << what << ": " << err.text;
    EXPECT_TRUE(err.text.size() > 8 && err.text.front() == '[') << what << ": " << err.text;
}

}  // namespace

TEST_F(OdbcLostConnectionTest, EveryCallFailsClearlyAndANewConnectionWorksOnceTheServerIsBack) {
    exec("CREATE TABLE l (id bigint)");
    std::vector<dbl::Param> params;
    dbl::Error err;
    // A statement prepared and a transaction begun before the server goes.
    dbl::StatementPtr held = conn->prepare("SELECT id FROM l", params, err);
    ASSERT_NE(held, nullptr) << err.text;
    ASSERT_EQ(conn->begin(true, err), 0) << err.text;
    ASSERT_TRUE(stopServer());

    int rc = 0;
    dbl::Error lost;
    query(*conn, "INSERT INTO l (id) VALUES (1)", &rc, &lost);
    expectLost(lost, rc, "statement");
    EXPECT_TRUE(lost.text.rfind("[57P01] ", 0) == 0 || lost.text.rfind("[08", 0) == 0) << lost.text;
    EXPECT_TRUE(conn->broken());

    // From now on every call repeats the failure that broke the connection.
    dbl::Error e;
    expectLost(e, held->step(e), "held statement");
    EXPECT_EQ(e.text, lost.text);
    EXPECT_EQ(conn->prepare("SELECT 1", params, e), nullptr);
    expectLost(e, e.code, "prepare");
    EXPECT_EQ(conn->prepareProcedure("TM_GetAllJobOptions", 1, e), nullptr);
    expectLost(e, e.code, "procedure");
    expectLost(e, conn->commit(e), "commit");
    expectLost(e, conn->rollback(e), "rollback");
    expectLost(e, conn->begin(false, e), "begin");
    expectLost(e, conn->executeNative("SELECT 1", e), "native");
    EXPECT_EQ(conn->lastIdentity("l", "id", e), -1);
    expectLost(e, e.code, "identity");
    held.reset();

    // While the server is down a new connection fails at once with the driver's text.
    EXPECT_EQ(dbl::connectOdbc(url, e), nullptr);
    EXPECT_EQ(e.text.rfind("[08001] ", 0), 0u) << e.text;

    ASSERT_TRUE(startServer());
    conn = open();
    ASSERT_NE(conn, nullptr);
    EXPECT_EQ(first("SELECT COUNT(*) FROM l"), std::optional<std::string>("0"))
        << "the transaction in flight was rolled back";
}

TEST_F(OdbcLostConnectionTest, AConnectionTheServerEndedWhileIdleIsReplacedUnlessWorkWouldBeLost) {
    exec("CREATE TABLE r (id bigint)");
    auto writer = open();
    auto busy = open();
    ASSERT_TRUE(writer && busy);
    dbl::Error err;
    ASSERT_EQ(busy->begin(true, err), 0) << err.text;  // holds work that a new connection would lose
    query(*busy, "INSERT INTO r (id) VALUES (1)");
    ASSERT_TRUE(stopServer());
    ASSERT_TRUE(startServer());

    // Idle outside a transaction: the next query runs on a new connection.
    EXPECT_EQ(first("SELECT COUNT(*) FROM r"), std::optional<std::string>("0"));
    EXPECT_FALSE(conn->broken());
    // Idle before a write transaction: its begin (which takes the store's write lock) goes through.
    ASSERT_EQ(writer->begin(true, err), 0) << err.text;
    query(*writer, "INSERT INTO r (id) VALUES (3)");
    ASSERT_EQ(writer->commit(err), 0) << err.text;
    // With work in its transaction the connection is not replaced: the failure is reported.
    int rc = 0;
    dbl::Error lost;
    query(*busy, "INSERT INTO r (id) VALUES (4)", &rc, &lost);
    expectLost(lost, rc, "busy connection");
    EXPECT_TRUE(busy->broken());
    EXPECT_EQ(query(*conn, "SELECT id FROM r ORDER BY id"), (std::vector<Row>{{std::string("3")}}))
        << "the busy transaction's row went with its connection";
}
