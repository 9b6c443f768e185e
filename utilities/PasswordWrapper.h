#pragma once
// A password held for one enciphering or deciphering through the platform's KOPassword.
#include <string>

#include "TaskExport.h"

class TASKDB_API PasswordWrapper {
  public:
    explicit PasswordWrapper(const std::string& password);
    explicit PasswordWrapper(const char* password);  // null: the empty password
    ~PasswordWrapper();                              // wipes the input and the output
    PasswordWrapper(const PasswordWrapper&) = delete;
    PasswordWrapper& operator=(const PasswordWrapper&) = delete;

    // Sets the input text; the output of an earlier operation stays until the next one.
    void init(const std::string& password);

    // Each returns the output buffer holding the result, or null when the platform refuses (the buffer
    // may then hold anything). The buffer belongs to this object and is overwritten by the next call.
    char* encrypt();        // the input enciphered (KOPassword::encrypt, room 2049)
    char* decrypt();        // the input deciphered (KOPassword::decrypt, room 2048)
    char* strongEncrypt();  // the same call as encrypt, kept for its callers
    // The enciphered input enciphered again in `mode` (KOPassword::putEncPwd, then getEncPwd).
    char* getEncPassword(unsigned long mode);

  private:
    std::string m_input;
    char m_output[2049];
};
