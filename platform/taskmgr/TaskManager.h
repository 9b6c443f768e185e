#pragma once
// The task manager: takes task creation and task operation requests as XML, writes what they ask for
// to the store in one transaction, and answers with XML (a status, an error text and job ids).
//
// Where it runs is chosen by TASKDB_TASKMGR:
//   unset or "inprocess"   inside the caller, on the caller's configured store (the default)
//   "unix:PATH"            a service listening on a Unix domain socket (`taskdb taskmgr serve`)
//   "tcp:127.0.0.1:PORT"   a service listening on a loopback address
//
//   std::string xml = request;
//   if (EvTaskMgr::controlTaskManager(2, 0, userId, 0, 216380445, xml, false, nullptr, false, "", false))
//       fprintf(stderr, "%s\n", EvTaskMgr::getErrorString().c_str());
//   else ...   // xml holds the reply
//
// Every function is thread-safe; each call has its own transaction and, for a service, its own connection.
#include <string>

#include "platform/PlatformExport.h"

// Codes of controlTaskManager when the request never got an answer (the reply is then untouched).
constexpr int KO_TASKMGR_ERR_ENDPOINT = 0xB0101;     // TASKDB_TASKMGR names no transport this build knows
constexpr int KO_TASKMGR_ERR_UNREACHABLE = 0xB0102;  // no service answers at the endpoint
constexpr int KO_TASKMGR_ERR_TIMEOUT = 0xB0103;      // the service took longer than the time limit
constexpr int KO_TASKMGR_ERR_PROTOCOL = 0xB0104;     // the exchange broke off or was malformed

// Statuses of a refused request, carried in the reply's status (nothing is written for any of them).
constexpr int KO_TASKMGR_BAD_REQUEST = 0xB0201;      // unreadable XML or a missing or malformed value
constexpr int KO_TASKMGR_UNKNOWN_MESSAGE = 0xB0202;  // a message type the task manager does not handle
constexpr int KO_TASKMGR_NOT_FOUND = 0xB0203;        // a task, subtask or entity that does not exist

class KO_PLATFORM_API EvTaskMgr {
  public:
    static constexpr unsigned long kCreateTaskMessage = 216380445;
    static constexpr unsigned long kTaskOperationMessage = 215600124;
    // How long a service may take to accept, read and answer one request.
    static constexpr int kTimeoutMs = 30000;

    // Sends `xml` (a request of `messageType`) and replaces it with the reply. 0 when a reply came
    // (whose own status says whether the request was done); otherwise a KO_TASKMGR_ERR_* code with its
    // text in getErrorString() and `xml` unchanged. The first argument and the flags, the pointer and
    // the text at the end are accepted for compatibility and not used.
    static int controlTaskManager(unsigned long, unsigned long localeId, unsigned long userId,
                                  long long sequenceNumber, unsigned long messageType, std::string& xml, bool,
                                  void*, bool, std::string, bool);
    // The text of this thread's last failed controlTaskManager ("" after a success).
    static std::string getErrorString();

    // Serves requests at `endpoint` ("unix:PATH" or "tcp:127.0.0.1:PORT") on the configured store until
    // stopService() is called or the process ends. Returns 0 after a stop, else a KO_TASKMGR_ERR_*
    // code with its text in *err (the endpoint cannot be used). A Unix socket file is replaced when
    // no service answers on it, and removed at the stop.
    static int serve(const std::string& endpoint, std::string* err);
    // Makes serve() return (from a signal handler too).
    static void stopService();
};
