// getFiles, setFiles and removeFiles: file options are job option rows typed 150001..150014.
#include "options/OptionKit.h"

class FileOptions : public OptionStoreTest {};

TEST_P(FileOptions, SetFilesReplacesSingleValueTypeAndAddsOthersGetFilesReadsThem) {
    jobWithRequest(42, 11, 777);
    jobOption(42, 20, 150002, "C:\\old");
    jobOption(42, 21, 150005, "/a");
    _TaskInfo info;
    info.jobId = 42;
    evtrace::Capture cap;
    std::string err;
    const std::string name = "TaskInterfaceDB::setFiles";
    const TaskFile single(20, "C:\\new", 150002), other(21, "/b", 150005), same(21, "/a", 150005),
        hostile(22, "it's; --\xC3\xA9", 150007);
    ASSERT_EQ(ti->setFiles(info, {&single, &other, &same, &hostile}, err, nullptr), 0) << err;
    EXPECT_EQ(rows("jobId = 42 AND optionId = 20"), 1);
    EXPECT_EQ(valueOf(42, 20), "C:\\new");
    EXPECT_EQ(rows("jobId = 42 AND optionId = 21 AND type = 150005"), 2);
    EXPECT_EQ(rows("jobId = 42 AND optionId = 21 AND created = 777"), 1);
    EXPECT_EQ(levelOf(cap, "Modify optionId[20], new value is [C:\\new], new type is [150002]", name), 3);
    EXPECT_EQ(cap.find("Add optionId[21], new value is [/b], new type is [150005]", name).size(), 1u);
    EXPECT_EQ(cap.find("Called with jobId[42], optionId[21], type[150005], value[/a]", name).at(0).jobId, 42);
    EXPECT_EQ(cap.find("new type is [150005]").size(), 1u);  // the unchanged /a wrote nothing
    // Matched by value, the hostile text is found again and not added twice.
    ASSERT_EQ(ti->setFiles(info, {&hostile}, err, nullptr), 0);
    EXPECT_EQ(rows("jobId = 42 AND optionId = 22"), 1);

    // Reading: the whole band for type 0, one type otherwise; never other jobs or plain options.
    jobOption(42, 1, 150001, "f1");
    jobOption(42, 3, 150014, "f14");
    jobOption(42, 4, 150015, "outside");
    jobOption(42, 5, 1, "plain option");
    jobOption(43, 6, 150007, "other job");
    Recorder all, one;
    ASSERT_EQ(ti->getFiles(info, &all, err, nullptr), 0);
    EXPECT_EQ(all.ids(), (std::vector<unsigned long long>{1, 3, 20, 21, 21, 22}));
    info.type = 150007;
    ASSERT_EQ(ti->getFiles(info, &one, err, nullptr), 0);
    EXPECT_EQ(one.got, (std::vector<Delivery>{{Delivery::File, 22, "it's; --\xC3\xA9", 150007}}));
    EXPECT_EQ(levelOf(cap, "Called with jobId[42], type[150007]", "TaskInterfaceDB::getFiles"), 5);
    auto found =
        cap.find("Found optionId[22], value [it's; --\xC3\xA9], type[150007]", "TaskInterfaceDB::getFiles");
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].level, 3);
    EXPECT_EQ(found[0].jobId, 42);
}

TEST_P(FileOptions, RemoveFilesByFileOrByNameRemovesTheOptionIds) {
    jobOption(42, 1, 150002, "a");
    jobOption(42, 1, 150005, "b");
    jobOption(42, 2, 150005, "c");
    jobOption(42, 3, 150005, "d");
    jobOption(43, 3, 150005, "other job");
    _TaskInfo info;
    info.jobId = 42;
    evtrace::Capture cap;
    std::string err;
    const TaskFile byFile(2, "value not used", 150005);
    ASSERT_EQ(ti->removeFiles(info, std::vector<const TaskFile*>{&byFile}, err, nullptr), 0);
    EXPECT_EQ(rows("jobId = 42 AND optionId = 2"), 0);
    EXPECT_EQ(rows("jobId = 42"), 3);
    // The names select nothing: each pass removes info.optionId.
    info.optionId = 1;
    ASSERT_EQ(ti->removeFiles(info, std::vector<std::string>{"d", "x", "y"}, err, nullptr), 0);
    EXPECT_EQ(valueOf(42, 3), "d");
    EXPECT_EQ(rows("jobId = 42"), 1);
    EXPECT_EQ(rows("jobId = 43"), 1);
    auto deletes = cap.find(" rowDelete : Table TM_JobOptions", "TaskInterfaceDB::removeFiles");
    ASSERT_EQ(deletes.size(), 4u);
    for (size_t i = 1; i < deletes.size(); ++i)
        EXPECT_NE(deletes[i].text.find(")\t\t\tAND (optionId = 1)"), std::string::npos);
}

TASKDB_STORE_SUITE(FileOptions);
