#pragma once
// What the task manager does with one request, wherever it runs (in the caller or in the service).
#include <string>
#include <vector>

namespace taskmgr {

struct Request {
    unsigned long messageType = 0;
    unsigned long localeId = 0;
    unsigned long userId = 0;
    long long sequenceNumber = 0;
    std::string xml;
};

// Does what `request` asks on the configured store, all of it in one transaction or nothing, and
// returns the reply XML: status 0 with the new task's id and the ids of the jobs started, or a non-zero
// status and a text that says what was wrong. Never throws. Thread-safe.
std::string handle(const Request& request);

// The reply document: one root that reads as a generic response (status, error text) and as a
// create-task response (job ids).
std::string replyXml(long long status, const std::string& error, long long taskId,
                     const std::vector<long long>& jobIds);

// Called once everything is written and before the commit; a test sets it to stop the process there.
extern void (*g_beforeCommit)();

}  // namespace taskmgr
