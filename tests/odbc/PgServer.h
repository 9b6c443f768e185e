#pragma once
// The private PostgreSQL server of the test run (scripts/with-postgres.sh): its URL, a schema of this
// process's own, and the server lock (shared while a test uses the server, exclusive while a test
// stops and restarts it, so that tests of other programs never see it go away).
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace pgtest {

inline std::string env(const char* name) {
    const char* v = std::getenv(name);
    return v ? v : "";
}

inline std::string baseUrl() {
    return env("TASKDB_TEST_PG_URL");
}

// A URL whose connections work in `schema` (created by the test).
inline std::string schemaUrl(const std::string& schema) {
    std::string url = baseUrl();
    if (!url.empty() && url.back() != ';') url += ';';
    return url + "ConnSettings={SET search_path TO " + schema + "};";
}

// Runs the cluster's pg_ctl with `action` ("stop -m fast", "start"); true on success.
inline bool pgCtl(const std::string& action) {
    std::string ctl = env("TASKDB_TEST_PG_CTL");
    if (ctl.empty()) return false;
    return std::system((ctl + " " + action + " >/dev/null 2>&1").c_str()) == 0;
}

class ServerLock {
  public:
    explicit ServerLock(bool exclusive) {
        std::string path = env("TASKDB_TEST_PG_LOCK");
        if (path.empty()) return;
        m_fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (m_fd >= 0) flock(m_fd, exclusive ? LOCK_EX : LOCK_SH);
    }
    ~ServerLock() {
        if (m_fd >= 0) close(m_fd);
    }
    ServerLock(const ServerLock&) = delete;
    ServerLock& operator=(const ServerLock&) = delete;

  private:
    int m_fd = -1;
};

}  // namespace pgtest

// Skips the test when no server was started for this run.
#define PG_REQUIRE_SERVER()                                                                      \
    do {                                                                                         \
        if (pgtest::baseUrl().empty())                                                           \
            GTEST_SKIP() << "TASKDB_TEST_PG_URL is not set: run under scripts/with-postgres.sh"; \
    } while (0)
