#include <sys/stat.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "platform/secrets/Secrets.h"
#include "platform/trace/EvDebug.h"
#include "tests/helpers/PlatformDir.h"
#include "utilities/PasswordWrapper.h"

namespace {

class PasswordTest : public PlatformDirTest {
  protected:
    void SetUp() override {
        PlatformDirTest::SetUp();
        keyFile = dir / "keys" / "password.key";
        std::filesystem::create_directories(keyFile.parent_path());
        writeConfig("[Base]\nsPasswordKeyFile = " + keyFile.string() + "\n");
    }
    static std::string encrypt(const std::string& secret) {
        PasswordWrapper w(secret);
        const char* out = w.encrypt();
        return out ? out : "(failed)";
    }
    static std::string decrypt(const std::string& cipher) {
        PasswordWrapper w(cipher);
        const char* out = w.decrypt();
        return out ? out : "(failed)";
    }
    std::filesystem::path keyFile;
};

}  // namespace

TEST_F(PasswordTest, SecretsOfEveryLengthRoundTripThroughPrintableText) {
    const unsigned long longest = KOPassword::maxPlainLength(2049);
    ASSERT_GT(longest, 1000u);
    const std::string secrets[] = {"", "x", std::string(longest, 'm'),
                                   "p\xC3\xA4ss w\xC3\xB6rd \xE2\x9C\x93 \xE5\xAF\x86",
                                   "quote ' \" -- ; \\ %s %n"};
    for (const std::string& secret : secrets) {
        const std::string cipher = encrypt(secret);
        ASSERT_EQ(cipher.rfind("KP1:1:", 0), 0u) << cipher;
        for (unsigned char c : cipher) EXPECT_TRUE(c > 32 && c < 127) << cipher;
        EXPECT_NE(cipher, encrypt(secret)) << "a fresh nonce per call";
        EXPECT_EQ(decrypt(cipher), secret);
    }
    EXPECT_EQ(PasswordWrapper(std::string(longest + 1, 'm')).encrypt(), nullptr);
    PasswordWrapper none(nullptr);
    ASSERT_NE(none.encrypt(), nullptr);
    EXPECT_EQ(decrypt(none.encrypt()), "");

    struct stat st;
    ASSERT_EQ(stat(keyFile.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
}

TEST_F(PasswordTest, ResultsThatDoNotFitFailWithoutWritingPastTheBuffer) {
    KOPassword pw;
    const std::string secret(100, 's');
    std::vector<char> buf(400, '#');
    unsigned long size = 300;
    ASSERT_TRUE(pw.encrypt(secret.c_str(), buf.data(), &size));
    const std::string cipher(buf.data());
    ASSERT_EQ(size, cipher.size());

    for (unsigned long room : {size, 1ul}) {  // one byte short of the zero, and almost nothing
        std::fill(buf.begin(), buf.end(), '#');
        unsigned long n = room;
        EXPECT_FALSE(pw.encrypt(secret.c_str(), buf.data(), &n));
        EXPECT_EQ(std::string(buf.begin() + room, buf.end()), std::string(buf.size() - room, '#'));
    }
    std::fill(buf.begin(), buf.end(), '#');
    size = secret.size();  // the secret fits, its zero does not
    EXPECT_FALSE(pw.decrypt(cipher.c_str(), buf.data(), &size));
    EXPECT_EQ(std::string(buf.begin() + 100, buf.end()), std::string(300, '#'));
    size = secret.size() + 1;
    ASSERT_TRUE(pw.decrypt(cipher.c_str(), buf.data(), &size));
    EXPECT_EQ(std::string(buf.data()), secret);
    EXPECT_EQ(size, secret.size());
}

TEST_F(PasswordTest, RotationKeepsOldTextsReadableAndReencryptsOnRequest) {
    const std::string old = encrypt("before rotation");
    std::string error;
    ASSERT_EQ(KOPassword::rotateKey(error), 2u) << error;
    const std::string fresh = encrypt("after rotation");
    EXPECT_EQ(fresh.rfind("KP1:2:", 0), 0u);
    EXPECT_EQ(decrypt(old), "before rotation");
    EXPECT_EQ(decrypt(fresh), "after rotation");

    PasswordWrapper w(old);
    const char* current = w.getEncPassword(0);
    ASSERT_NE(current, nullptr);
    EXPECT_EQ(std::string(current).rfind("KP1:2:", 0), 0u);
    EXPECT_EQ(decrypt(current), "before rotation");
    ASSERT_NE(w.getEncPassword(1), nullptr);
    EXPECT_EQ(std::string(w.getEncPassword(1)).rfind("KP1:1:", 0), 0u);
    EXPECT_EQ(w.getEncPassword(3), nullptr);
    EXPECT_EQ(PasswordWrapper("not enciphered").getEncPassword(0), nullptr);

    ASSERT_EQ(KOPassword::rotateKey(error), 3u) << error;
    EXPECT_EQ(decrypt(old), "before rotation");
}

TEST_F(PasswordTest, ChangedCutOrForeignTextsDoNotDecrypt) {
    const std::string cipher = encrypt("the secret");
    std::string error;
    ASSERT_EQ(KOPassword::rotateKey(error), 2u);
    std::vector<std::string> bad = {"",
                                    "KP1:",
                                    "KP1:1:",
                                    "KP1:0:" + cipher.substr(6),
                                    "KP2:1:" + cipher.substr(6),
                                    "KP1:2:" + cipher.substr(6),  // same body, other key id
                                    "KP1:9:" + cipher.substr(6),
                                    cipher.substr(0, cipher.size() - 1),
                                    cipher.substr(0, cipher.size() - 4),
                                    cipher + "AAAA",
                                    "the secret"};
    for (size_t i = 6; i < cipher.size(); i += 7) {
        std::string flipped = cipher;
        flipped[i] = flipped[i] == 'A' ? 'B' : 'A';
        bad.push_back(flipped);
    }
    // A text made under another installation's key.
    const auto ownConfig = std::string(getenv("TASKDB_PLATFORM_CONFIG"));
    writeConfig("[Base]\nsPasswordKeyFile = " + (dir / "other.key").string() + "\n", "other.ini");
    bad.push_back(encrypt("the secret"));
    ASSERT_EQ(bad.back().rfind("KP1:1:", 0), 0u);
    setenv("TASKDB_PLATFORM_CONFIG", ownConfig.c_str(), 1);

    for (const std::string& text : bad) EXPECT_EQ(decrypt(text), "(failed)") << text;
    EXPECT_EQ(decrypt(cipher), "the secret");
}

TEST_F(PasswordTest, KeyFileOpenToOthersIsRefused) {
    ASSERT_NE(encrypt("made while the file was private"), "(failed)");
    const std::string cipher = encrypt("x");
    const auto copy = dir / "open.key";
    writeFile(copy, readFile(keyFile));
    chmod(copy.c_str(), 0644);
    writeConfig("[Base]\nsPasswordKeyFile = " + copy.string() + "\n", "open.ini");
    evtrace::Capture cap;
    EXPECT_EQ(encrypt("x"), "(failed)");
    EXPECT_EQ(decrypt(cipher), "(failed)");
    std::string error;
    EXPECT_EQ(KOPassword::rotateKey(error), 0u);
    EXPECT_NE(error.find("has mode 0644"), std::string::npos) << error;
    EXPECT_FALSE(cap.find("refused").empty());

    chmod(copy.c_str(), 0600);
    writeConfig("[Base]\nsPasswordKeyFile = " + copy.string() + "\n", "private.ini");
    EXPECT_EQ(decrypt(cipher), "x");
}

TEST_F(PasswordTest, NoSecretReachesTheTraceAtAnyLevel) {
    const std::string secret = "Tr4ce-Never-Sees-Me";
    evtrace::Capture cap(10);
    const std::string cipher = encrypt(secret);
    decrypt(cipher);
    decrypt(cipher.substr(0, cipher.size() - 2));
    PasswordWrapper(secret + std::string(2000, 'z')).encrypt();
    PasswordWrapper(cipher).getEncPassword(0);
    PasswordWrapper(secret).getEncPassword(0);
    decrypt(secret);
    std::string error;
    KOPassword::rotateKey(error);
    const std::string key = readFile(keyFile);
    ASSERT_FALSE(cap.lines().empty());
    for (const EvTraceLine& line : cap.lines()) {
        EXPECT_EQ(line.text.find(secret), std::string::npos) << line.text;
        EXPECT_EQ(line.text.find(cipher.substr(6, 12)), std::string::npos) << line.text;
        EXPECT_EQ(line.text.find(key.substr(key.rfind('\n', key.size() - 2) + 3, 12)), std::string::npos);
    }
}

TEST_F(PasswordTest, ThreadsEncryptWhileTheKeyRotates) {
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    encrypt("create the key file first");
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 200; ++i) {
                const std::string secret = "thread " + std::to_string(t) + " call " + std::to_string(i);
                if (decrypt(encrypt(secret)) != secret) ++failures;
            }
        });
    std::string error;
    for (int r = 0; r < 3; ++r) EXPECT_NE(KOPassword::rotateKey(error), 0u) << error;
    for (auto& t : threads) t.join();
    EXPECT_EQ(failures.load(), 0);
}
