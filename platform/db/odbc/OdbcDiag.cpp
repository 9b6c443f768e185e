#include "platform/db/odbc/OdbcDiag.h"

#include <cctype>
#include <vector>

namespace dbl {
namespace odbc {

int sqlstateCode(const std::string& state) {
    int code = 0;
    for (char c : state) {
        int digit = 0;
        if (c >= '0' && c <= '9')
            digit = c - '0';
        else if (std::isalpha(static_cast<unsigned char>(c)))
            digit = std::toupper(static_cast<unsigned char>(c)) - 'A' + 10;
        code = code * 36 + digit;
    }
    // "00000" and "0002S" do not occur as failures; keep them off the two reserved results anyway.
    if (code == 0 || code == 100) code += 0x40000000;
    return code;
}

bool isConnectionLostState(const std::string& state) {
    return state.compare(0, 2, "08") == 0 || isServerEndedState(state);
}

bool isServerEndedState(const std::string& state) {
    return state == "57P01" || state == "57P02" || state == "57P03" || state == "57P05";
}

namespace {
// Drivers end messages with line breaks and psqlODBC adds a second line; keep it on one line.
std::string oneLine(const char* text, size_t length) {
    std::string out;
    out.reserve(length);
    for (size_t i = 0; i < length && text[i]; ++i) {
        char c = text[i];
        if (c == '\n' || c == '\r' || c == '\t') c = ' ';
        if (c == ' ' && (out.empty() || out.back() == ' ')) continue;
        out.push_back(c);
    }
    while (!out.empty() && out.back() == ' ') out.pop_back();
    return out;
}
}  // namespace

Diagnostic readDiagnostic(SQLSMALLINT handleType, SQLHANDLE handle) {
    std::vector<Diagnostic> records;
    for (SQLSMALLINT i = 1; handle != SQL_NULL_HANDLE && i <= 8; ++i) {
        SQLCHAR state[6] = {};
        SQLINTEGER native = 0;
        SQLSMALLINT length = 0;
        std::vector<SQLCHAR> message(1024);
        SQLRETURN rc = SQLGetDiagRec(handleType, handle, i, state, &native, message.data(),
                                     static_cast<SQLSMALLINT>(message.size()), &length);
        if (rc == SQL_SUCCESS_WITH_INFO && length >= static_cast<SQLSMALLINT>(message.size())) {
            message.resize(static_cast<size_t>(length) + 1);
            rc = SQLGetDiagRec(handleType, handle, i, state, &native, message.data(),
                               static_cast<SQLSMALLINT>(message.size()), &length);
        }
        if (!succeeded(rc)) break;
        Diagnostic d;
        d.state = reinterpret_cast<const char*>(state);
        d.native = static_cast<int>(native);
        size_t used = length < 0 ? 0 : static_cast<size_t>(length);
        if (used > message.size()) used = message.size();
        d.message = oneLine(reinterpret_cast<const char*>(message.data()), used);
        records.push_back(std::move(d));
    }
    for (const Diagnostic& d : records)
        if (d.state.compare(0, 2, "01") != 0) return d;
    if (!records.empty()) return records.front();
    Diagnostic none;
    none.state = "HY000";
    none.message = "the ODBC driver reported a failure without a diagnostic";
    return none;
}

int setError(const Diagnostic& d, NativeCodes codes, Error& err) {
    int code =
        codes == NativeCodes::Server && d.native != 0 && d.native != 100 ? d.native : sqlstateCode(d.state);
    err.set(code, "[" + d.state + "] " + d.message);
    if (isConnectionLostState(d.state)) err.connectionLost = true;
    return code;
}

int failFrom(SQLSMALLINT handleType, SQLHANDLE handle, NativeCodes codes, Error& err) {
    return setError(readDiagnostic(handleType, handle), codes, err);
}

}  // namespace odbc
}  // namespace dbl
