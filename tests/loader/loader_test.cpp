// Compiled against interface/ alone: loads the library with dlopen, as the job manager does.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "TaskInterface.h"

namespace {
struct Library {
    void* handle = dlopen(TASKDB_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ~Library() {
        if (handle) dlclose(handle);
    }
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
}
