#pragma once
// Output of the tool: a table for people, or JSON with --json. Every text that may carry the store
// URL (error texts, the URL itself) goes through maskSecrets before it is printed.
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using Json = nlohmann::ordered_json;

// Exit codes of every command.
constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;  // a failed call, or what was asked for does not exist
constexpr int kExitUsage = 2;    // bad arguments; the usage line is printed

// `text` with the value of every ODBC Pwd= or Password= attribute replaced by "****".
std::string maskSecrets(const std::string& text);

// Prints rows under a header, columns padded to their widest cell.
void printTable(const std::vector<std::string>& header, const std::vector<std::vector<std::string>>& rows);
// Prints "key: value" lines for one record.
void printRecord(const std::vector<std::pair<std::string, std::string>>& fields);
// Prints JSON (indented) to standard output. Bytes that are not UTF-8 are written as the text \xNN
// (with one warning on standard error), never dropped or replaced.
void printJson(const Json& value);
// The error text of a failed call on standard error, as "taskdb: <what> failed (code N): <text>", with
// secrets masked; returns kExitFailure.
int reportFailure(const std::string& what, int code, const std::string& err);
// The result of a library call that was started with an empty `err`: a failure when the code is not 0
// or when the call left a text in `err` (a failure that a clean close replaced). Prints it and returns
// kExitFailure; returns kExitOk otherwise.
int checkCall(const std::string& what, int rc, const std::string& err);
// "taskdb: <what> not found" on standard error; returns kExitFailure.
int reportNotFound(const std::string& what);
