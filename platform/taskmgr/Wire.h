#pragma once
// The task manager service's socket transport. One request per connection:
//   request: "TASKMGR 1 <messageType> <localeId> <userId> <sequenceNumber> <length>\n" then the XML
//   reply:   "TASKMGR 1 <length>\n" then the reply XML
// Every wait is bounded by a deadline, so a stopped or stuck peer gives an error, never a hang.
#include <chrono>
#include <string>

#include "platform/taskmgr/Handler.h"

namespace taskmgr {

struct Endpoint {
    enum Kind { kInProcess, kUnix, kTcp } kind = kInProcess;
    std::string path;  // kUnix
    std::string host;  // kTcp: a loopback address
    int port = 0;
};

// Reads "inprocess" (or ""), "unix:PATH" or "tcp:HOST:PORT" (HOST a loopback address). False with
// the reason in *why for anything else.
bool parseEndpoint(const std::string& text, Endpoint* out, std::string* why);

using Deadline = std::chrono::steady_clock::time_point;

// Sends `request` to the service at `endpoint` and takes its reply: 0, or a KO_TASKMGR_ERR_* code
// with its text in *err.
int exchange(const Endpoint& endpoint, const Request& request, int timeoutMs, std::string* reply,
             std::string* err);

// A listening socket for `endpoint` (an answering service at a Unix path is refused, a dead socket file
// replaced): the descriptor, or -1 with *err set.
int listenOn(const Endpoint& endpoint, std::string* err);
// Serves one accepted connection: reads the request, answers with handle()'s reply, closes it.
void serveConnection(int fd, int timeoutMs);

}  // namespace taskmgr
