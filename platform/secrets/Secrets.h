#pragma once
// Passwords enciphered for storage: authenticated encryption (XChaCha20-Poly1305) under a key of the
// installation's key file.
//
// Key file: the path in "sPasswordKeyFile" of section "Base" of the platform configuration, else
// "password.key" beside the configuration file. It is created with one key on the first encryption,
// mode 0600, and refused while group or others have any access to it. It holds one "<id> <key in
// base64>" line per key; the highest id is the current key, which encrypts; every key in it decrypts.
// KOPassword::rotateKey adds a key and makes it current without re-encrypting anything, so texts
// made under older keys still decrypt.
//
// Enciphered text: "KP1:<key id>:<base64 of nonce, ciphertext and tag>", printable ASCII; its prefix
// is authenticated with it, so a changed, cut or foreign text does not decrypt.
//
// The keys are cached by the process; the file and the configuration are looked at again after a
// second, at once when $TASKDB_PLATFORM_CONFIG changes, and when a text names a key not yet known.
// No password, key or enciphered text is ever written to the trace.
// Every function may be called from any thread.
#include <string>

#include "platform/PlatformExport.h"

class KO_PLATFORM_API KOPassword {
  public:
    KOPassword() = default;
    ~KOPassword();
    KOPassword(const KOPassword&) = delete;
    KOPassword& operator=(const KOPassword&) = delete;

    // Each operation returns non-zero on success and 0 on failure (traced, without the secret).
    // `size` in: the room in `out`, the terminating zero included; out: the length written without it.
    // A result that does not fit fails; nothing is ever written past `*size` bytes.

    // Enciphers the zero-terminated `plain` under the current key (creating the key file when missing).
    int encrypt(const char* plain, char* out, unsigned long* size);
    // Deciphers a text made by encrypt or getEncPwd.
    int decrypt(const char* cipher, char* out, unsigned long* size);
    // Holds the password enciphered in `cipher` (it must decrypt) for getEncPwd.
    int putEncPwd(const char* cipher);
    // Enciphers the held password again: `mode` 0 under the current key, else under the key with that id.
    int getEncPwd(char* out, unsigned long* size, unsigned long mode);

    // Adds a new key to the key file (creating the file when missing) and makes it current. Returns the
    // new key's id, or 0 with `error` set. Texts made under older keys still decrypt.
    static unsigned int rotateKey(std::string& error);
    // The key file this process uses now.
    static std::string keyFilePath();
    // The longest password whose enciphered text fits `room` bytes (terminating zero included) under a
    // key id of up to `keyIdDigits` digits.
    static unsigned long maxPlainLength(unsigned long room, unsigned int keyIdDigits = 1);

  private:
    std::string m_held;
    bool m_hasHeld = false;
};
