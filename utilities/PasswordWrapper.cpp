#include "utilities/PasswordWrapper.h"

#include <string.h>

#include "platform/secrets/Secrets.h"

namespace {
// Deciphering is handed one byte less room than enciphering; the callers' buffers were sized that way.
constexpr unsigned long kEncryptRoom = 2049;
constexpr unsigned long kDecryptRoom = 2048;
}  // namespace

PasswordWrapper::PasswordWrapper(const std::string& password) {
    init(password);
}

PasswordWrapper::PasswordWrapper(const char* password) {
    init(password ? password : "");
}

PasswordWrapper::~PasswordWrapper() {
    explicit_bzero(&m_input[0], m_input.size());
    explicit_bzero(m_output, sizeof m_output);
}

void PasswordWrapper::init(const std::string& password) {
    explicit_bzero(&m_input[0], m_input.size());
    m_input = password;
    m_output[sizeof m_output - 1] = '\0';
}

char* PasswordWrapper::encrypt() {
    KOPassword pw;
    unsigned long size = kEncryptRoom;
    return pw.encrypt(m_input.c_str(), m_output, &size) ? m_output : nullptr;
}

char* PasswordWrapper::decrypt() {
    KOPassword pw;
    unsigned long size = kDecryptRoom;
    return pw.decrypt(m_input.c_str(), m_output, &size) ? m_output : nullptr;
}

char* PasswordWrapper::strongEncrypt() {
    return encrypt();
}

char* PasswordWrapper::getEncPassword(unsigned long mode) {
    KOPassword pw;
    unsigned long size = kEncryptRoom;
    if (!pw.putEncPwd(m_input.c_str())) return nullptr;
    return pw.getEncPwd(m_output, &size, mode) ? m_output : nullptr;
}
