// Platform helpers: a password enciphered and deciphered through PasswordWrapper against the same
// libsodium calls made directly with the key already in memory, and the request-id mailbox's set and get
// against the same System V calls made directly.
#include <fcntl.h>
#include <sodium.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "bench/Shared.h"
#include "bench/Store.h"
#include "platform/shm/SharedMemory.h"
#include "utilities/AppMgrShmUtil.h"
#include "utilities/PasswordWrapper.h"

namespace bench {

namespace {

const char kSecret[] = "correct horse battery staple";

// ---- passwords

void libraryPassword(benchmark::State& state) {
    std::string plain;
    {
        Counted counted(state);
        for (auto _ : state) {
            PasswordWrapper enc(kSecret);
            const char* cipher = enc.encrypt();
            if (!cipher) return failed(state, "encrypt failed");
            PasswordWrapper dec(cipher);
            const char* out = dec.decrypt();
            if (!out) return failed(state, "decrypt failed");
            benchmark::DoNotOptimize(out);
        }
    }
}

// The current key of the key file the library made, read once.
bool rawKey(unsigned char* key, unsigned int& id) {
    std::ifstream in(std::string(getenv("TASKDB_PLATFORM_CONFIG")) + ".key");
    std::string line, last;
    while (std::getline(in, line))
        if (!line.empty() && line[0] != '#') last = line;
    size_t len = 0;
    const size_t blank = last.find(' ');
    id = static_cast<unsigned>(std::atoi(last.c_str()));
    return blank != std::string::npos &&
           sodium_base642bin(key, crypto_aead_xchacha20poly1305_ietf_KEYBYTES, last.c_str() + blank + 1,
                             last.size() - blank - 1, nullptr, &len, nullptr,
                             sodium_base64_VARIANT_ORIGINAL) == 0;
}

void baselinePassword(benchmark::State& state) {
    constexpr size_t kNonce = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
    constexpr size_t kTag = crypto_aead_xchacha20poly1305_ietf_ABYTES;
    unsigned char key[crypto_aead_xchacha20poly1305_ietf_KEYBYTES];
    unsigned int id = 0;
    if (sodium_init() < 0 || !rawKey(key, id)) return failed(state, "no key");
    const std::string prefix = "KP1:" + std::to_string(id) + ":";
    const size_t len = sizeof kSecret - 1;
    {
        Counted counted(state);
        for (auto _ : state) {
            unsigned char bin[256], back[256];
            char text[2049], plain[2048];
            randombytes_buf(bin, kNonce);
            crypto_aead_xchacha20poly1305_ietf_encrypt(
                bin + kNonce, nullptr, reinterpret_cast<const unsigned char*>(kSecret), len,
                reinterpret_cast<const unsigned char*>(prefix.data()), prefix.size(), nullptr, bin, key);
            std::memcpy(text, prefix.data(), prefix.size());
            sodium_bin2base64(text + prefix.size(), sizeof text - prefix.size(), bin, kNonce + len + kTag,
                              sodium_base64_VARIANT_ORIGINAL);
            size_t binLen = 0;
            const char* b64 = text + prefix.size();
            if (sodium_base642bin(back, sizeof back, b64, std::strlen(b64), nullptr, &binLen, nullptr,
                                  sodium_base64_VARIANT_ORIGINAL) != 0 ||
                crypto_aead_xchacha20poly1305_ietf_decrypt(
                    reinterpret_cast<unsigned char*>(plain), nullptr, nullptr, back + kNonce, binLen - kNonce,
                    reinterpret_cast<const unsigned char*>(text), prefix.size(), back, key) != 0)
                return failed(state, "baseline decrypt failed");
            plain[binLen - kNonce - kTag] = '\0';
            benchmark::DoNotOptimize(plain);
        }
    }
    sodium_memzero(key, sizeof key);
}

// ---- mailbox

void libraryMailbox(benchmark::State& state) {
    Counted counted(state);
    for (auto _ : state) {
        AppMgrShmUtil box;
        if (!box.setAPIRequest(42) || box.getAPIRequest() != 42) return failed(state, "mailbox lost the id");
    }
}

void baselineMailbox(benchmark::State& state) {
    const std::string path = store().dir + "/raw_mailbox";
    Counted counted(state);
    for (auto _ : state) {
        int fd = ::open(path.c_str(), O_CREAT | O_EXCL | O_RDONLY | O_CLOEXEC, 0600);
        if (fd >= 0) ::close(fd);
        const key_t key = ::ftok(path.c_str(), 65274);
        const int made = ::shmget(key, 4, IPC_CREAT | IPC_EXCL | 0600);
        auto* set = static_cast<unsigned int*>(::shmat(made, nullptr, 0));
        *set = 42;
        const int found = ::shmget(::ftok(path.c_str(), 65274), 0, 0);
        auto* get = static_cast<unsigned int*>(::shmat(found, nullptr, 0));
        const unsigned int id = *get;
        ::shmctl(found, IPC_RMID, nullptr);
        ::shmdt(get);
        ::shmdt(set);
        ::unlink(path.c_str());
        if (id != 42) return failed(state, "baseline lost the id");
    }
}

}  // namespace

void addPlatformCases() {
    // A configuration of the bench's own: the key file and the mailbox's key files in its directory.
    const std::string config = store().dir + "/platform.ini";
    std::ofstream(config) << "[Base]\nsPasswordKeyFile = " << config
                          << ".key\ndTESSERATEMPDIR = " << store().dir << "\n";
    setenv("TASKDB_PLATFORM_CONFIG", config.c_str(), 1);
    PasswordWrapper(kSecret).encrypt();  // makes the key file
    addCase({"password round trip", 1, Kind::Read, 1, false, libraryPassword, baselinePassword});
    addCase({"mailbox set+get", 1, Kind::Write, 1, false, libraryMailbox, baselineMailbox});
}

}  // namespace bench
