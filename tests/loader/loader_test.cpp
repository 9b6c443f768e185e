// Compiled against interface/ alone: loads the library with dlopen, as the job manager does.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "TaskInterface.h"

namespace fs = std::filesystem;

namespace {
struct Library {
    explicit Library(const char* path = TASKDB_LIBRARY_PATH, int scope = RTLD_LOCAL)
        : handle(dlopen(path, RTLD_NOW | scope)) {}
    ~Library() {
        if (handle) dlclose(handle);
    }
    getTaskInterface_t factory() const {
        return reinterpret_cast<getTaskInterface_t>(dlsym(handle, "getTaskInterface"));
    }
    void* handle;
};

struct Options : OptionCallBack {
    void option(unsigned long long id, std::string value, int) override {
        got += std::to_string(id) + "=" + value + ";";
    }
    void defaultOption(unsigned long long, std::string, int) override {}
    std::string got;
};
}  // namespace

TEST(Loader, FactoryIsUnmangledAndGivesFreshObjectsOfKindOneOnly) {
    Library lib;
    ASSERT_NE(lib.handle, nullptr) << dlerror();
    auto factory = reinterpret_cast<getTaskInterface_t>(dlsym(lib.handle, "getTaskInterface"));
    ASSERT_NE(factory, nullptr) << dlerror();

    EXPECT_EQ(factory(0), nullptr);
    EXPECT_EQ(factory(2), nullptr);
    EXPECT_EQ(factory(-1), nullptr);

    TaskInterface* a = factory(1);
    TaskInterface* b = factory(1);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_NE(a, b);

    // update is a no-op through the base class: 0, and the caller's error text is kept.
    _TaskInfo info;
    info.jobId = 42;
    std::string err = "kept";
    EXPECT_EQ(a->update(info, err, nullptr), 0);
    EXPECT_EQ(err, "kept");
    EXPECT_EQ(info.jobId, 42);
    delete a;
    delete b;
}

TEST(Loader, OnlyTheFactoryAndPublicApiAreExported) {
    Library lib;
    ASSERT_NE(lib.handle, nullptr) << dlerror();
    // Implementation classes stay hidden.
    EXPECT_EQ(
        dlsym(
            lib.handle,
            "_ZN15TaskInterfaceDB6lookupER9_TaskInfoRNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEPv"),
        nullptr);
    // The row classes are the library's own; the documented utilities are there for callers.
    EXPECT_EQ(dlsym(lib.handle, "_ZN11KODBRowBaseC1Ev"), nullptr);
    EXPECT_NE(dlsym(lib.handle, "_Z14trimWhiteSpaceRNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"),
              nullptr);
}

// The tool loads a library of the caller's choice beside the one it links (whose symbols are global):
// each copy keeps its own state, and unloading one leaves the other whole.
TEST(Loader, TwoCopiesSideBySideKeepTheirOwnState) {
    const fs::path dir = fs::temp_directory_path() / ("taskdb-copies-" + std::to_string(getpid()));
    fs::create_directories(dir);
    const fs::path second = dir / "libTaskInterfaceDB-second.so";
    fs::copy_file(TASKDB_LIBRARY_PATH, second, fs::copy_options::overwrite_existing);
    const std::string store = (dir / "store.sqlite").string();
    setenv("TASKDB_URL", ("sqlite:" + store).c_str(), 1);
    ASSERT_EQ(std::system((std::string(TASKDB_TOOL_PATH) + " init >/dev/null").c_str()), 0);

    auto first = std::make_unique<Library>(TASKDB_LIBRARY_PATH, RTLD_GLOBAL);
    auto copy = std::make_unique<Library>(second.c_str());
    ASSERT_NE(first->handle, nullptr) << dlerror();
    ASSERT_NE(copy->handle, nullptr) << dlerror();
    ASSERT_NE(first->handle, copy->handle);
    const char* constant = "_Z24JMBackupOptypeListForBLRB5cxx11";
    ASSERT_NE(dlsym(first->handle, constant), nullptr);
    // Each copy built its own texts (not the other copy's), and keeps them while the other goes.
    const char* const kOptypes = "4, 14, 18, 30, 43, 59, 60, 65";
    auto text = [&](const Library& lib) {
        return *static_cast<const std::string*>(dlsym(lib.handle, constant));
    };
    EXPECT_EQ(text(*copy), kOptypes);

    TaskInterface* a = first->factory()(1);
    TaskInterface* b = copy->factory()(1);
    _TaskInfo info;
    info.jobId = 7;
    std::string err;
    const TaskOption one(1, "from the first", 1), two(2, "from the second", 1);
    ASSERT_EQ(a->setOptions(info, {&one}, err, nullptr), 0) << err;
    ASSERT_EQ(b->setOptions(info, {&two}, err, nullptr), 0) << err;
    Options seen;
    ASSERT_EQ(b->getOptions(info, &seen, err, nullptr), 0) << err;
    EXPECT_EQ(seen.got, "1=from the first;2=from the second;");
    delete b;
    copy.reset();  // its static state goes, the first copy's stays
    EXPECT_EQ(text(*first), kOptypes);

    Options again;
    ASSERT_EQ(a->getOptions(info, &again, err, nullptr), 0) << err;
    EXPECT_EQ(again.got, seen.got);
    delete a;
    first.reset();
    unsetenv("TASKDB_URL");
    fs::remove_all(dir);
}
