#include "platform/secrets/Secrets.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <vector>

#include "platform/config/Config.h"
#include "platform/trace/EvDebug.h"

namespace {

constexpr char kMagic[] = "KP1:";
constexpr size_t kMagicLen = sizeof kMagic - 1;
constexpr size_t kKeyBytes = crypto_aead_xchacha20poly1305_ietf_KEYBYTES;
constexpr size_t kNonceBytes = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr size_t kTagBytes = crypto_aead_xchacha20poly1305_ietf_ABYTES;
constexpr int kBase64 = sodium_base64_VARIANT_ORIGINAL;
constexpr auto kRecheck = std::chrono::seconds(1);

using KeyBytes = std::array<unsigned char, kKeyBytes>;
using KeyMap = std::map<unsigned int, KeyBytes>;

bool sodiumReady() {
    static const bool ok = sodium_init() >= 0;
    if (!ok) EvDebug::Error("KOPassword", "the cryptographic library cannot be initialised");
    return ok;
}

void wipe(std::string& s) {
    if (!s.empty()) sodium_memzero(&s[0], s.size());
    s.clear();
}

void wipe(KeyMap& keys) {
    for (auto& k : keys) sodium_memzero(k.second.data(), k.second.size());
    keys.clear();
}

// Wipes a key copied out of the ring when the operation ends.
struct KeyCopy {
    KeyBytes bytes{};
    ~KeyCopy() { sodium_memzero(bytes.data(), bytes.size()); }
};

// A buffer on the stack for the usual sizes, on the heap beyond them.
class Scratch {
  public:
    explicit Scratch(size_t n) : m_data(n <= sizeof m_small ? m_small : (m_big.resize(n), m_big.data())) {}
    unsigned char* data() { return m_data; }

  private:
    unsigned char m_small[2048];
    std::vector<unsigned char> m_big;
    unsigned char* m_data;
};

std::string resolveKeyPath() {
    KOPlatformInfo info;
    std::string path;
    if (info.getString("Base", "sPasswordKeyFile", path) && !path.empty()) return path;
    const std::string config = KOPlatformInfo::configPath();
    const size_t slash = config.rfind('/');
    return (slash == std::string::npos ? std::string() : config.substr(0, slash + 1)) + "password.key";
}

std::string keyLine(unsigned int id) {
    KeyCopy key;
    randombytes_buf(key.bytes.data(), key.bytes.size());
    char b64[sodium_base64_ENCODED_LEN(kKeyBytes, kBase64)];
    sodium_bin2base64(b64, sizeof b64, key.bytes.data(), key.bytes.size(), kBase64);
    std::string line = std::to_string(id) + " " + b64 + "\n";
    sodium_memzero(b64, sizeof b64);
    return line;
}

// Refuses a key file that is not a plain file or that group or others may access.
bool acceptable(const std::string& path, const struct stat& st, std::string& error) {
    if (!S_ISREG(st.st_mode)) {
        error = "key file " + path + " is not a regular file";
        return false;
    }
    if (st.st_mode & 077) {
        char mode[8];
        std::snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(st.st_mode & 07777));
        error =
            "key file " + path + " has mode " + mode + ", open to group or others; refused (chmod 600 it)";
        return false;
    }
    return true;
}

bool readAll(int fd, std::string& out) {
    char buf[4096];
    for (;;) {
        ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return false;
        if (n == 0) break;
        out.append(buf, static_cast<size_t>(n));
    }
    sodium_memzero(buf, sizeof buf);
    return true;
}

// Parses "<id> <base64 key>" lines; blank lines and lines starting with '#' are skipped.
bool parseKeys(const std::string& path, const std::string& text, KeyMap& keys, std::string& error) {
    size_t pos = 0, lineNo = 0;
    while (pos < text.size()) {
        size_t end = text.find('\n', pos);
        if (end == std::string::npos) end = text.size();
        ++lineNo;
        const char* first = text.data() + pos;
        const char* last = text.data() + end;
        pos = end + 1;
        if (last > first && last[-1] == '\r') --last;
        if (first == last || *first == '#') continue;
        unsigned int id = 0;
        auto res = std::from_chars(first, last, id);
        KeyBytes key{};
        size_t len = 0;
        const char* b64End = nullptr;
        const char* b64 = res.ptr + 1;
        const bool ok = res.ec == std::errc() && id > 0 && res.ptr < last && *res.ptr == ' ' &&
                        sodium_base642bin(key.data(), key.size(), b64, static_cast<size_t>(last - b64),
                                          nullptr, &len, &b64End, kBase64) == 0 &&
                        len == kKeyBytes && b64End == last && !keys.count(id);
        if (!ok) {
            sodium_memzero(key.data(), key.size());
            wipe(keys);
            error =
                "key file " + path + " line " + std::to_string(lineNo) + " is not a new \"<id> <key>\" line";
            return false;
        }
        keys[id] = key;
        sodium_memzero(key.data(), key.size());
    }
    if (keys.empty()) {
        error = "key file " + path + " holds no key";
        return false;
    }
    return true;
}

// Writes `content` to a new file beside `path` (mode 0600) and puts it in place: replacing `path`, or
// only when `path` does not exist yet (then false with EEXIST in `err` when it does).
bool install(const std::string& path, const std::string& content, bool replace, int& err) {
    std::string tmp = path + ".XXXXXX";
    int fd = ::mkostemp(&tmp[0], O_CLOEXEC);  // mode 0600
    if (fd < 0) {
        err = errno;
        return false;
    }
    size_t done = 0;
    while (done < content.size()) {
        ssize_t n = ::write(fd, content.data() + done, content.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) break;
        done += static_cast<size_t>(n);
    }
    bool ok = done == content.size() && ::fsync(fd) == 0;
    err = ok ? 0 : errno;
    ::close(fd);
    if (ok) {
        ok = replace ? ::rename(tmp.c_str(), path.c_str()) == 0 : ::link(tmp.c_str(), path.c_str()) == 0;
        if (!ok) err = errno;
    }
    if (!ok || !replace) ::unlink(tmp.c_str());
    return ok;
}

// Creates the key file with its first key; true when it exists afterwards (made here or by another).
bool createKeyFile(const std::string& path, std::string& error) {
    std::string content =
        "# password keys: \"<id> <key in base64>\" a line; the highest id encrypts\n" + keyLine(1);
    int err = 0;
    const bool made = install(path, content, false, err);
    wipe(content);
    if (made) {
        EvDebug::DebugLvl(3, "KOPassword", "created key file %s with key 1", path.c_str());
        return true;
    }
    if (err == EEXIST) return true;
    error = "cannot create key file " + path + ": " + std::strerror(err);
    return false;
}

struct FileState {
    dev_t dev = 0;
    ino_t ino = 0;
    off_t size = 0;
    long long mtimeNs = 0, ctimeNs = 0;
    explicit FileState(const struct stat& st = {})
        : dev(st.st_dev),
          ino(st.st_ino),
          size(st.st_size),
          mtimeNs(st.st_mtim.tv_sec * 1000000000LL + st.st_mtim.tv_nsec),
          ctimeNs(st.st_ctim.tv_sec * 1000000000LL + st.st_ctim.tv_nsec) {}
    bool operator==(const FileState& o) const {
        return dev == o.dev && ino == o.ino && size == o.size && mtimeNs == o.mtimeNs && ctimeNs == o.ctimeNs;
    }
};

bool loadKeys(const std::string& path, KeyMap& keys, FileState& state, std::string& error) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = "cannot read key file " + path + ": " + std::strerror(errno);
        return false;
    }
    struct stat st;
    std::string text;
    bool ok = ::fstat(fd, &st) == 0 && acceptable(path, st, error);
    if (ok && !readAll(fd, text)) {
        error = "cannot read key file " + path + ": " + std::strerror(errno);
        ok = false;
    }
    ::close(fd);
    ok = ok && parseKeys(path, text, keys, error);
    wipe(text);
    if (ok) state = FileState(st);
    return ok;
}

// The keys of the process, read from the key file and looked at again as the header says.
struct KeyRing {
    std::mutex mu;
    bool loaded = false;
    std::string env;  // $TASKDB_PLATFORM_CONFIG when last looked at
    std::chrono::steady_clock::time_point checked;
    std::string path;
    FileState state;
    KeyMap keys;
    std::string failure;  // why no key can be used; empty when the keys are good
    bool missing = false;
};

KeyRing& ring() {
    static KeyRing* r = new KeyRing;  // never destroyed: passwords may be handled during static destruction
    return *r;
}

void failLocked(KeyRing& r, const std::string& why, bool missing) {
    wipe(r.keys);
    r.missing = missing;
    if (why != r.failure) EvDebug::Error("KOPassword", "%s", why.c_str());
    r.failure = why;
}

// Brings the ring up to date when due (or when `force`); `create` makes a missing key file.
bool refreshLocked(KeyRing& r, bool force, bool create) {
    const char* envNow = std::getenv(KO_PLATFORM_CONFIG_ENV);
    const char* env = envNow ? envNow : "";
    const auto now = std::chrono::steady_clock::now();
    const bool due =
        !r.loaded || r.env.compare(env) != 0 || now - r.checked >= kRecheck || (create && r.missing);
    if (!force && !due) return r.failure.empty();
    r.loaded = true;
    r.env = env;
    r.checked = now;
    const std::string path = resolveKeyPath();
    struct stat st;
    if (::stat(path.c_str(), &st) != 0) {
        const int err = errno;
        std::string error;
        if (err != ENOENT || !create) {
            failLocked(r, "cannot read key file " + path + ": " + std::strerror(err), err == ENOENT);
            return false;
        }
        if (!createKeyFile(path, error) || ::stat(path.c_str(), &st) != 0) {
            failLocked(r, error.empty() ? "cannot read key file " + path : error, false);
            return false;
        }
    }
    std::string error;
    if (!acceptable(path, st, error)) {
        failLocked(r, error, false);
        return false;
    }
    if (r.failure.empty() && path == r.path && FileState(st) == r.state) return true;
    KeyMap keys;
    FileState state;
    if (!loadKeys(path, keys, state, error)) {
        failLocked(r, error, false);
        return false;
    }
    wipe(r.keys);
    r.keys.swap(keys);
    r.path = path;
    r.state = state;
    r.failure.clear();
    r.missing = false;
    return true;
}

// Copies key `id` (0: the current key) out of the ring; `create` makes the key file when missing.
bool findKey(unsigned int id, bool create, KeyCopy& key, unsigned int& keyId) {
    if (!sodiumReady()) return false;
    KeyRing& r = ring();
    std::lock_guard<std::mutex> lock(r.mu);
    if (!refreshLocked(r, false, create)) return false;
    // A key added by another process since the last look: look again once.
    if (id != 0 && !r.keys.count(id) && !refreshLocked(r, true, false)) return false;
    auto it = id == 0 ? std::prev(r.keys.end()) : r.keys.find(id);
    if (it == r.keys.end()) return false;
    key.bytes = it->second;
    keyId = it->first;
    return true;
}

// Enciphers `len` bytes under `key` into `out` as the printable text.
int seal(const char* name, const unsigned char* plain, size_t len, unsigned int id, const KeyCopy& key,
         char* out, unsigned long* size) {
    char prefix[32];
    std::memcpy(prefix, kMagic, kMagicLen);
    char* p = std::to_chars(prefix + kMagicLen, prefix + sizeof prefix - 1, id).ptr;
    *p++ = ':';
    const size_t prefixLen = static_cast<size_t>(p - prefix);
    const size_t binLen = kNonceBytes + len + kTagBytes;
    const size_t textLen = prefixLen + sodium_base64_ENCODED_LEN(binLen, kBase64);  // with the zero
    if (textLen > *size) {
        EvDebug::Debug(name, "the enciphered text needs %zu bytes; the buffer holds %lu", textLen, *size);
        out[0] = '\0';
        return 0;
    }
    Scratch bin(binLen);
    randombytes_buf(bin.data(), kNonceBytes);
    crypto_aead_xchacha20poly1305_ietf_encrypt(bin.data() + kNonceBytes, nullptr, plain, len,
                                               reinterpret_cast<const unsigned char*>(prefix), prefixLen,
                                               nullptr, bin.data(), key.bytes.data());
    std::memcpy(out, prefix, prefixLen);
    sodium_bin2base64(out + prefixLen, textLen - prefixLen, bin.data(), binLen, kBase64);
    *size = textLen - 1;
    return 1;
}

// Deciphers `cipher` into `out` (zero-terminated); `*size` is the room in `out`.
int unseal(const char* name, const char* cipher, char* out, unsigned long* size) {
    const size_t cipherLen = std::strlen(cipher);
    const char* end = cipher + cipherLen;
    unsigned int id = 0;
    std::from_chars_result res{end, std::errc::invalid_argument};
    if (cipherLen > kMagicLen && std::memcmp(cipher, kMagic, kMagicLen) == 0)
        res = std::from_chars(cipher + kMagicLen, end, id);
    if (res.ec != std::errc() || id == 0 || res.ptr == end || *res.ptr != ':') {
        EvDebug::Debug(name, "not an enciphered password (%zu characters)", cipherLen);
        return 0;
    }
    const char* b64 = res.ptr + 1;
    const size_t prefixLen = static_cast<size_t>(b64 - cipher);
    const size_t b64Len = static_cast<size_t>(end - b64);
    const size_t binMax = b64Len / 4 * 3 + 3;
    Scratch bin(binMax);
    size_t binLen = 0;
    const char* b64End = nullptr;
    if (sodium_base642bin(bin.data(), binMax, b64, b64Len, nullptr, &binLen, &b64End, kBase64) != 0 ||
        b64End != end || binLen < kNonceBytes + kTagBytes) {
        EvDebug::Debug(name, "the enciphered password is damaged or cut (%zu characters)", cipherLen);
        return 0;
    }
    const size_t plainLen = binLen - kNonceBytes - kTagBytes;
    if (plainLen + 1 > *size) {
        EvDebug::Debug(name, "the password needs %zu bytes; the buffer holds %lu", plainLen + 1, *size);
        return 0;
    }
    KeyCopy key;
    unsigned int keyId = 0;
    if (!findKey(id, false, key, keyId)) {
        EvDebug::Debug(name, "no key %u in the key file", id);
        return 0;
    }
    if (crypto_aead_xchacha20poly1305_ietf_decrypt(reinterpret_cast<unsigned char*>(out), nullptr, nullptr,
                                                   bin.data() + kNonceBytes, binLen - kNonceBytes,
                                                   reinterpret_cast<const unsigned char*>(cipher), prefixLen,
                                                   bin.data(), key.bytes.data()) != 0) {
        EvDebug::Debug(name, "the enciphered password does not authenticate under key %u", id);
        return 0;
    }
    out[plainLen] = '\0';
    *size = plainLen;
    return 1;
}

bool usable(const char* name, const char* in, const char* out, const unsigned long* size) {
    if (in && out && size && *size > 0) return true;
    EvDebug::Debug(name, "called without text or buffer");
    return false;
}

}  // namespace

KOPassword::~KOPassword() {
    wipe(m_held);
}

int KOPassword::encrypt(const char* plain, char* out, unsigned long* size) {
    if (!usable("KOPassword::encrypt", plain, out, size)) return 0;
    out[0] = '\0';
    KeyCopy key;
    unsigned int id = 0;
    if (!findKey(0, true, key, id)) return 0;
    return seal("KOPassword::encrypt", reinterpret_cast<const unsigned char*>(plain), std::strlen(plain), id,
                key, out, size);
}

int KOPassword::decrypt(const char* cipher, char* out, unsigned long* size) {
    if (!usable("KOPassword::decrypt", cipher, out, size)) return 0;
    out[0] = '\0';
    return sodiumReady() ? unseal("KOPassword::decrypt", cipher, out, size) : 0;
}

int KOPassword::putEncPwd(const char* cipher) {
    if (!cipher) {
        EvDebug::Debug("KOPassword::putEncPwd", "called without text");
        return 0;
    }
    wipe(m_held);
    m_hasHeld = false;
    m_held.resize(std::strlen(cipher) + 1);  // a password is always shorter than its enciphered text
    unsigned long size = m_held.size();
    if (!sodiumReady() || !unseal("KOPassword::putEncPwd", cipher, &m_held[0], &size)) {
        wipe(m_held);
        return 0;
    }
    m_held.resize(size);
    m_hasHeld = true;
    return 1;
}

int KOPassword::getEncPwd(char* out, unsigned long* size, unsigned long mode) {
    if (!usable("KOPassword::getEncPwd", "", out, size)) return 0;
    out[0] = '\0';
    if (!m_hasHeld) {
        EvDebug::Debug("KOPassword::getEncPwd", "no password held");
        return 0;
    }
    if (mode > UINT_MAX) {
        EvDebug::Debug("KOPassword::getEncPwd", "no key %lu in the key file", mode);
        return 0;
    }
    KeyCopy key;
    unsigned int id = 0;
    if (!findKey(static_cast<unsigned int>(mode), mode == 0, key, id)) {
        if (mode != 0) EvDebug::Debug("KOPassword::getEncPwd", "no key %lu in the key file", mode);
        return 0;
    }
    return seal("KOPassword::getEncPwd", reinterpret_cast<const unsigned char*>(m_held.data()), m_held.size(),
                id, key, out, size);
}

std::string KOPassword::keyFilePath() {
    return resolveKeyPath();
}

unsigned long KOPassword::maxPlainLength(unsigned long room, unsigned int keyIdDigits) {
    const unsigned long prefix = kMagicLen + keyIdDigits + 1;
    if (room < prefix + 1) return 0;
    const unsigned long bin = (room - prefix - 1) / 4 * 3;
    return bin > kNonceBytes + kTagBytes ? bin - kNonceBytes - kTagBytes : 0;
}

unsigned int KOPassword::rotateKey(std::string& error) {
    if (!sodiumReady()) {
        error = "the cryptographic library cannot be initialised";
        return 0;
    }
    const std::string path = resolveKeyPath();
    unsigned int id = 0;
    // Another rotation may replace the file while this one waits for the lock: then start again.
    for (int attempt = 0; attempt < 20 && id == 0 && error.empty(); ++attempt) {
        int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
        if (fd < 0 && errno == ENOENT) {
            std::string content =
                "# password keys: \"<id> <key in base64>\" a line; the highest id encrypts\n";
            int err = 0;
            if (install(path, content + keyLine(1), false, err)) id = 1;
            if (err != 0 && err != EEXIST)
                error = "cannot create key file " + path + ": " + std::strerror(err);
            continue;
        }
        if (fd < 0) {
            error = "cannot open key file " + path + ": " + std::strerror(errno);
            break;
        }
        struct stat held, named;
        if (::flock(fd, LOCK_EX) != 0 || ::fstat(fd, &held) != 0) {
            error = "cannot lock key file " + path + ": " + std::strerror(errno);
        } else if (::stat(path.c_str(), &named) == 0 && named.st_ino == held.st_ino &&
                   named.st_dev == held.st_dev && acceptable(path, held, error)) {
            std::string text;
            KeyMap keys;
            if (!readAll(fd, text)) {
                error = "cannot read key file " + path + ": " + std::strerror(errno);
            } else if (parseKeys(path, text, keys, error)) {
                const unsigned int last = std::prev(keys.end())->first;
                if (last == UINT_MAX) {
                    error = "key file " + path + " has no key id left";
                } else {
                    if (!text.empty() && text.back() != '\n') text += '\n';
                    text += keyLine(last + 1);
                    int err = 0;
                    if (install(path, text, true, err))
                        id = last + 1;
                    else
                        error = "cannot write key file " + path + ": " + std::strerror(err);
                }
            }
            wipe(text);
            wipe(keys);
        }
        ::close(fd);
    }
    if (id == 0 && error.empty()) error = "key file " + path + " keeps changing; try again";
    if (id == 0) {
        EvDebug::Error("KOPassword::rotateKey", "%s", error.c_str());
        return 0;
    }
    EvDebug::DebugLvl(3, "KOPassword::rotateKey", "key %u of %s is current", id, path.c_str());
    KeyRing& r = ring();
    std::lock_guard<std::mutex> lock(r.mu);
    refreshLocked(r, true, false);
    return id;
}
