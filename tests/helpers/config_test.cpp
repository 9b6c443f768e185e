#include "platform/config/Config.h"
#include "platform/trace/EvDebug.h"
#include "tests/helpers/PlatformDir.h"
#include "utilities/CloudPlatform.h"

using ConfigTest = PlatformDirTest;

TEST_F(ConfigTest, ValuesByFocusWithPlainSectionsBelow) {
    writeConfig(
        "[Base]\nsName = plain\nsOnly = base\nnCount = 42\n"
        "[Instance002:Base]\nsName = second\n"
        "[Quorin]\nsBlank =  7 \nsWord = seven\nsBig = 4294967296\nsNeg = -1\nsEmpty =\n");
    KOPlatformInfo info;
    std::string s = "untouched";
    unsigned int n = 99;
    EXPECT_TRUE(info.getString("Base", "sName", s));
    EXPECT_EQ(s, "plain");
    ASSERT_TRUE(info.setFocus("Instance002"));
    EXPECT_FALSE(info.setFocus(""));
    EXPECT_EQ(info.getFocusName(), "Instance002");
    EXPECT_TRUE(info.getString("Base", "sName", s));
    EXPECT_EQ(s, "second");
    EXPECT_TRUE(info.getString("Base", "sOnly", s));
    EXPECT_EQ(s, "base");
    EXPECT_TRUE(info.getNumber("Base", "nCount", &n));
    EXPECT_EQ(n, 42u);
    EXPECT_TRUE(info.getNumber("Quorin", "sBlank", &n));
    EXPECT_EQ(n, 7u);

    evtrace::Capture cap;
    s = "untouched";
    n = 99;
    for (const char* key : {"sWord", "sBig", "sNeg", "sEmpty", "sMissing"})
        EXPECT_FALSE(info.getNumber("Quorin", key, &n)) << key;
    EXPECT_FALSE(info.getString("Nowhere", "sName", s));
    EXPECT_EQ(n, 99u);
    EXPECT_EQ(s, "untouched");
    EXPECT_EQ(cap.find("is not a number: \"seven\"", "KOPlatformInfo::getNumber").size(), 1u);
}

TEST_F(ConfigTest, MissingOrMalformedFileReadsAsEmptyAndSaysWhere) {
    evtrace::Capture cap;
    setenv("TASKDB_PLATFORM_CONFIG", (dir / "absent.ini").c_str(), 1);
    std::string s;
    EXPECT_FALSE(KOPlatformInfo().getString("Base", "dTESSERATEMPDIR", s));
    EXPECT_FALSE(KOPlatformInfo().IsCloudLaptopClient());
    EXPECT_FALSE(cap.find("cannot read " + (dir / "absent.ini").string()).empty());

    writeConfig("[Base]\nsA = 1\nthis line has no equals sign\n", "bad.ini");
    EXPECT_FALSE(KOPlatformInfo().getString("Base", "sA", s));
    EXPECT_EQ(cap.find((dir / "bad.ini").string() + "(3): ", "KOPlatformInfo::load").size(), 1u);

    writeConfig("[Base]\nsA = fixed\n", "bad.ini");  // a corrected file is read again
    EXPECT_TRUE(KOPlatformInfo().getString("Base", "sA", s));
    EXPECT_EQ(s, "fixed");
}

TEST_F(ConfigTest, CloudLaptopNeedsCachingExplicitlyEnabled) {
    struct Case {
        const char* config;
        bool answer;
        const char* line;
    };
    const char* disabled =
        "AppMgr Cloud caching is disabled. Not using AppMgrCloud. Will route requests to AppMgrNet";
    const char* laptop =
        "This is a cloud laptop client. AppMgrCloud will be loaded and client caching will be used.";
    const Case cases[] = {
        {"[Base]\nsCloudLaptopClient = 1\n", false, disabled},
        {"[Base]\nsCloudLaptopClient = 1\n[Quorin]\nsDisableCloudCaching = 1\n", false, disabled},
        {"[Base]\nsCloudLaptopClient = 1\n[Quorin]\nsDisableCloudCaching = x\n", false, disabled},
        {"[Base]\nsCloudLaptopClient = 1\n[Quorin]\nsDisableCloudCaching = 0\n", true, laptop},
        {"[Base]\nsCloudLaptopClient = 0\n[Quorin]\nsDisableCloudCaching = 0\n", false, nullptr},
    };
    for (const Case& c : cases) {
        writeConfig(c.config);
        evtrace::Capture cap;
        EXPECT_EQ(isCloudLaptopPlatform(), c.answer) << c.config;
        auto lines = cap.find("AppMgr", "::isCloudLaptopPlatform");
        ASSERT_EQ(lines.size(), c.line ? 1u : 0u) << c.config;
        if (c.line) {
            EXPECT_EQ(lines[0].text, c.line);
            EXPECT_EQ(lines[0].level, 6);
        }
    }
    EXPECT_TRUE(setAppMgrCloudReqID(77));
    EXPECT_EQ(getAppMgrCloudReqID(), 0u);
}
