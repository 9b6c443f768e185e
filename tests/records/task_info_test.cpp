#include <gtest/gtest.h>

#include <set>

#include "TaskRecords.h"

TEST(TaskInfo, EightOwnedListsCopiedDeepAndMovedOnce) {
    _TaskInfo a;
    std::set<TaskFileList*> distinct;
    for (auto* l : a.fileLists) {
        ASSERT_NE(l, nullptr);
        EXPECT_TRUE(l->empty());
        distinct.insert(l);
    }
    EXPECT_EQ(distinct.size(), 8u);
    a.jobId = 7;
    a.entities.push_back(Sched_AssocEntity{});
    a.fileLists[3]->add(TaskFile(1, "f", 150002));

    _TaskInfo b(a);  // by-value operations receive such a copy
    EXPECT_EQ(b.jobId, 7);
    EXPECT_EQ(b.entities.size(), 1u);
    for (int i = 0; i < _TaskInfo::kFileLists; ++i) EXPECT_NE(a.fileLists[i], b.fileLists[i]);
    b.fileLists[3]->add(TaskFile(2, "g", 150002));
    EXPECT_EQ(a.fileLists[3]->size(), 1u);

    TaskFileList* list3 = b.fileLists[3];
    _TaskInfo c(std::move(b));
    EXPECT_EQ(c.fileLists[3], list3);
    for (auto* l : b.fileLists) EXPECT_EQ(l, nullptr);

    _TaskInfo d;
    d = c;  // copy assignment replaces d's own lists
    EXPECT_EQ(d.fileLists[3]->size(), 2u);
    EXPECT_NE(d.fileLists[3], c.fileLists[3]);
    d = std::move(a);
    EXPECT_EQ(d.fileLists[3]->size(), 1u);
    // Destruction of a..d (run under AddressSanitizer in CI) frees each list exactly once.
}
