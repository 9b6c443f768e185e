// On success an option operation leaves the caller's error text as it was, also where a read ran off
// the end of its rows or a lookup fell back to the default (the record readers check the same themselves).
#include "options/OptionKit.h"

class ErrorTextTest : public OptionStoreTest {};

TEST_P(ErrorTextTest, SuccessKeepsTheCallersText) {
    const std::string mine = "caller's own text";
    jobWithRequest(9, 4, 100);
    jobOption(9, 1, 0, "a");
    jobOption(9, 150005, 150005, "*.tmp");
    staticOption(1, "d", 1, 2);
    exec("INSERT INTO TM_SubTaskOptions (subTaskId, optionId, type, value) VALUES (4, 3, 0, N'x')");

    Recorder r;
    _TaskInfo info;
    info.jobId = 9;
    info.optionId = 1;
    std::string err = mine;
    auto check = [&](const char* what, int rc) {
        EXPECT_EQ(rc, 0) << what << ": " << err;
        EXPECT_EQ(err, mine) << what;
        err = mine;
    };
    check("getOptions", ti->getOptions(info, &r, err, nullptr));
    check("getFiles", ti->getFiles(info, &r, err, nullptr));
    check("getDefaults", ti->getDefaults(&r, err, nullptr));
    check("lookup", ti->lookup(info, err, nullptr));
    _TaskInfo none;
    none.jobId = 77;  // no options: the static default answers
    none.optionId = 1;
    check("lookup falling back", ti->lookup(none, err, nullptr));
    EXPECT_EQ(none.value, "d");
    std::string value;
    check("getDefaultOption", ti->getDefaultOption(424242, value, err, nullptr));
    _TaskInfo sub;
    sub.jobId = 4;
    sub.type = 1;
    check("getOptions of a subtask", ti->getOptions(sub, &r, err, nullptr));

    TaskOption changed(1, "b", 0), added(2, "new", 0);
    check("setOptions", ti->setOptions(info, {&changed, &added}, err, nullptr));
    TaskFile file(150002, "/data", 150002);
    check("setFiles", ti->setFiles(info, {&file}, err, nullptr));
    check("removeOptions", ti->removeOptions(info, std::vector<unsigned long long>{2, 99}, err, nullptr));
    check("removeFiles", ti->removeFiles(info, std::vector<const TaskFile*>{&file}, err, nullptr));
}

TASKDB_STORE_SUITE(ErrorTextTest);
