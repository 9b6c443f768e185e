#pragma once
// A fresh, empty reference store per test, on every backend under test.
//
// Backends: "sqlite" always; "postgres" when TASKDB_TEST_PG_URL holds an odbc: URL of a server
// database that the tests may empty (the README's test command starts a private server and sets it).
// A backend's quirks live in its BackendContext, never in #ifdefs inside the tests.
//
//   class LookupTest : public StoreTest {};
//   TEST_P(LookupTest, ...) { exec("INSERT INTO TM_JobOptions (...) VALUES (...)"); ... ti->lookup(...); }
//   TASKDB_STORE_SUITE(LookupTest);
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "TaskInterface.h"

class BackendContext {
  public:
    virtual ~BackendContext() = default;
    // The URL of an empty store with the reference schema, ready for one test.
    virtual std::string prepare() = 0;
    // Called after the test; removes what prepare() made where that is cheap.
    virtual void finish() {}
};

// Names of the backends under test in this run.
std::vector<std::string> testBackends();
std::unique_ptr<BackendContext> makeBackendContext(const std::string& name);

// SQL of the library's dialect on the configured store, for seeding and checking behind the API.
class StoreSql {
  public:
    // Runs one statement in a transaction of its own; fails the test on error.
    void exec(const std::string& sql);
    // The first column of the first row as a number (0 when no row) or as text ("" when no row).
    long long scalar(const std::string& sql);
    std::string text(const std::string& sql);
};

class StoreTest : public ::testing::TestWithParam<std::string>, protected StoreSql {
  protected:
    void SetUp() override;
    void TearDown() override;

    std::string url;
    std::unique_ptr<TaskInterface> ti;

  private:
    std::unique_ptr<BackendContext> m_context;
};

#define TASKDB_STORE_SUITE(Suite)                                                  \
    INSTANTIATE_TEST_SUITE_P(Backends, Suite, ::testing::ValuesIn(testBackends()), \
                             [](const ::testing::TestParamInfo<std::string>& i) { return i.param; })

// Forgets the library's in-memory copy of the static defaults, so that each test starts unloaded.
void resetDefaultOptionCache();
// Makes `url` the configured store with the defaults unloaded; a new task interface on it (owned by the
// caller).
std::unique_ptr<TaskInterface> openTaskInterface(const std::string& url);

// A unique path for a store file in the temp directory; removeStore deletes it with its WAL files.
std::string tempStorePath(const std::string& tag);
void removeStore(const std::string& path);

// The environment variable's value, "" when unset.
std::string envText(const char* name);
// The test server's URL (TASKDB_TEST_PG_URL) with `schema` first on the search path.
std::string postgresSchemaUrl(const std::string& schema);
