#pragma once
// Output of the tool: a table for people, or JSON with --json.
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using Json = nlohmann::ordered_json;

// Prints rows under a header, columns padded to their widest cell.
void printTable(const std::vector<std::string>& header, const std::vector<std::vector<std::string>>& rows);
// Prints "key: value" lines for one record.
void printRecord(const std::vector<std::pair<std::string, std::string>>& fields);
// Prints JSON (indented) to standard output.
void printJson(const Json& value);
// The error text of a failed call on standard error, as "taskdb: <what> failed (code N): <text>"; returns 1.
int reportFailure(const std::string& what, int code, const std::string& err);
