#pragma once
// Seeding helpers and a recording callback shared by the option tests.
#include <algorithm>
#include <string>
#include <vector>

#include "TaskCarriers.h"
#include "platform/trace/EvDebug.h"
#include "support/TestStore.h"

// One delivered option, with the entry point that delivered it.
struct Delivery {
    enum Via { Option, Default, File } via;
    unsigned long long id;
    std::string value;
    int type;
    bool operator==(const Delivery& o) const {
        return via == o.via && id == o.id && value == o.value && type == o.type;
    }
};

class Recorder : public OptionCallBack, public FileCallBack {
  public:
    void option(unsigned long long id, std::string value, int type) override {
        got.push_back({Delivery::Option, id, value, type});
    }
    void defaultOption(unsigned long long id, std::string value, int type) override {
        got.push_back({Delivery::Default, id, value, type});
    }
    void file(unsigned long long id, std::string value, int type) override {
        got.push_back({Delivery::File, id, value, type});
    }
    // The delivered ids, sorted.
    std::vector<unsigned long long> ids() const {
        std::vector<unsigned long long> out;
        for (const auto& d : got) out.push_back(d.id);
        std::sort(out.begin(), out.end());
        return out;
    }
    std::vector<Delivery> got;
};

// SQL text literal for seeding (the tests' own values only).
inline std::string q(const std::string& s) {
    std::string out = "N'";
    for (char c : s) out += c == '\'' ? std::string("''") : std::string(1, c);
    return out + "'";
}

class OptionStoreTest : public StoreTest {
  protected:
    void jobOption(long long job, long long optionId, int type, const std::string& value, int subTask = 0,
                   long long created = 0, long long modified = 0) {
        exec(
            "INSERT INTO TM_JobOptions (jobId, optionId, type, value, taskId, subTaskId, lastJobId, created, "
            "modified) VALUES (" +
            std::to_string(job) + ", " + std::to_string(optionId) + ", " + std::to_string(type) + ", " +
            q(value) + ", 0, " + std::to_string(subTask) + ", 0, " + std::to_string(created) + ", " +
            std::to_string(modified) + ")");
    }
    void staticOption(long long optionId, const std::string& defVal, int flagType, int type) {
        exec(
            "INSERT INTO TM_StaticTaskOption (optionId, xpath, defVal, bitVal, flagType, type, isList) "
            "VALUES (" +
            std::to_string(optionId) + ", N'/x', " + q(defVal) + ", 0, " + std::to_string(flagType) + ", " +
            std::to_string(type) + ", 0)");
    }
    // A queued job with its request (created as given, for subtask `subTask`); returns the request id.
    long long jobWithRequest(long long job, int subTask, int created) {
        exec(
            "INSERT INTO TM_JobRequest (taskId, subTaskId, subTaskType, operationType, initiatedFrom, "
            "userId, created, subOperationType) VALUES (0, " +
            std::to_string(subTask) + ", 0, 0, 0, 0, " + std::to_string(created) + ", N'')");
        long long request = scalar("SELECT MAX(jobRequestId) FROM TM_JobRequest");
        exec("INSERT INTO TM_Jobs (jobId, jobRequestId, predecessor, status, timeToStart) VALUES (" +
             std::to_string(job) + ", " + std::to_string(request) + ", 0, 0, 0)");
        return request;
    }
    long long rows(const std::string& where) {
        return scalar("SELECT COUNT(*) FROM TM_JobOptions WHERE " + where);
    }
    std::string valueOf(long long job, long long optionId) {
        return text("SELECT value FROM TM_JobOptions WHERE jobId = " + std::to_string(job) +
                    " AND optionId = " + std::to_string(optionId));
    }
    // Every TM_JobOptions row as text, to tell whether an operation changed anything.
    std::string snapshot() {
        std::string out;
        for (long long id = 1, last = scalar("SELECT MAX(id) FROM TM_JobOptions"); id <= last; ++id)
            out += text(
                       "SELECT jobId || '/' || optionId || '/' || type || '=' || value FROM TM_JobOptions "
                       "WHERE id = " +
                       std::to_string(id)) +
                   ";";
        return out;
    }
    // The level of the only trace line of `name` holding `needle`; -1 when there is not exactly one.
    static int levelOf(const evtrace::Capture& cap, const std::string& needle, const std::string& name) {
        auto lines = cap.find(needle, name);
        return lines.size() == 1 ? lines[0].level : -1;
    }
};
