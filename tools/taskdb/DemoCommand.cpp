// taskdb demo: on a fresh store, seed a small schedule and walk through the operations a job manager
// uses, printing what it would see.
#include <iostream>
#include <sstream>

#include "platform/db/DBconfig.h"
#include "platform/db/DBschema.h"
#include "platform/db/DBtran.h"
#include "platform/server/KOClient.h"
#include "tools/taskdb/Commands.h"
#include "tools/taskdb/DemoSeed.h"
#include "tools/taskdb/Library.h"
#include "tools/taskdb/Output.h"
#include "tools/taskdb/Session.h"
#include "tools/taskdb/TaskView.h"
#include "tools/taskdb/World.h"
#include "utilities/BasicConversion.h"
#include "utilities/TextEscape.h"
#include "utilities/VersionInfo.h"
#include "utilities/WideText.h"

namespace {

void heading(const std::string& title) {
    std::cout << "\n== " << title << '\n';
}

// Prints the call and its result and keeps it for --json. A call fails when its code is not 0 or when
// it left a text in err (every call starts with err empty: the step clears it).
struct Step {
    int failures = 0;
    Json steps = Json::array();
    bool operator()(const std::string& call, int rc, std::string& err) {
        bool ok = rc == 0 && err.empty();
        std::cout << call << " -> " << rc;
        Json entry{{"call", call}, {"result", rc}};
        if (!ok) {
            std::cout << "  error: " << maskSecrets(err);
            entry["error"] = maskSecrets(err);
            ++failures;
        }
        std::cout << '\n';
        steps.push_back(entry);
        err.clear();
        return ok;
    }
};

void showOptions(const std::vector<CollectedOption>& rows) {
    std::vector<std::vector<std::string>> table;
    for (const auto& r : rows) table.push_back({std::to_string(r.id), std::to_string(r.type), r.value});
    printTable({"OPTION", "TYPE", "VALUE"}, table);
}

void walkTask(TaskInterface& ti, Step& step) {
    heading("The schedule");
    _TaskInfo def;
    std::string err;
    if (step("getDefaultTaskId()", ti.getDefaultTaskId(def, err, nullptr), err))
        std::cout << "default task: " << def.task.taskId << '\n';
    _TaskInfo info;
    info.taskId = 7;
    if (step("getTaskInfo/getSubTaskInfo/getEntityInfo/getPatternInfo(task 7)", readTask(ti, info, err), err))
        printTask(info);
}

void walkJob(TaskInterface& ti, Step& step) {
    heading("A job starts: job 1001");
    _TaskInfo job;
    job.jobId = 1001;
    std::string err;
    if (step("getJobInfo(job 1001)", ti.getJobInfo(job, err, nullptr), err))
        std::cout << "task " << job.taskId << ", subtask " << job.subTaskId << '\n';
    long long request = 0;
    if (step("getJobRequestIdFromJobId(1001)", ti.getJobRequestIdFromJobId(request, 1001, err, nullptr), err))
        std::cout << "request " << request << '\n';
    std::list<unsigned long long> jobs;
    _TaskInfo task;
    task.taskId = 7;
    if (step("getJobListFromTaskId(task 7)", ti.getJobListFromTaskId(task, jobs, err, nullptr), err)) {
        std::cout << "jobs of task 7:";
        for (auto id : jobs) std::cout << ' ' << id;
        std::cout << '\n';
    }

    OptionCollector defaults;
    if (step("getDefaults() (reads the catalogue once)", ti.getDefaults(&defaults, err, nullptr), err))
        showOptions(defaults.rows);
    OptionCollector again;
    step("getDefaults() again (served from memory)", ti.getDefaults(&again, err, nullptr), err);

    OptionCollector options;
    if (step(
            "getOptions(job 1001): its own options and those inherited from subtask 11 (file options but the "
            "content list are left out)",
            ti.getOptions(job, &options, err, nullptr), err))
        showOptions(options.rows);
    job.optionId = 1003;
    if (step("lookup(job 1001, option 1003)", ti.lookup(job, err, nullptr), err))
        std::cout << "value: '" << job.value << "' (lookup reads the job's first option row)\n";
    _TaskInfo idle;
    idle.jobId = 1002;
    idle.optionId = 1005;
    if (step("lookup(job 1002, option 1005): no job options, so the static default",
             ti.lookup(idle, err, nullptr), err))
        std::cout << "value: '" << idle.value << "'\n";

    _TaskInfo sub;
    sub.jobId = 11;
    sub.type = 1;
    OptionCollector subOptions;
    if (step("getOptions(subtask 11)", ti.getOptions(sub, &subOptions, err, nullptr), err))
        showOptions(subOptions.rows);

    _TaskInfo bits = job;
    if (step("getBitOptions(job 1001)", ti.getBitOptions(bits, err, nullptr), err))
        std::cout << "bit word: " << bits.bitOptions << '\n';
    if (step("getExtendedOptions(job 1001)", ti.getExtendedOptions(bits, err, nullptr), err))
        std::cout << "extended: " << bits.extendedOptions << '\n';
    if (step("getXMLOptions(job 1001)", ti.getXMLOptions(bits, err, nullptr), err))
        std::cout << "xml: " << bits.xmlOptions << '\n';
}

void walkWrites(TaskInterface& ti, Step& step) {
    heading("The job manager writes");
    _TaskInfo job;
    job.jobId = 1001;
    job.taskId = 7;
    job.subTaskId = 11;
    std::string err;
    TaskOption streams(1003, "16", 3), label(1007, "O'Brien's \"finance\" set; -- kept as text", 4);
    step("setOptions(job 1001: option 1003 = 16, new option 1007 with quotes)",
         ti.setOptions(job, {&streams, &label}, err, nullptr), err);
    OptionCollector options;
    if (step("getOptions(job 1001)", ti.getOptions(job, &options, err, nullptr), err))
        showOptions(options.rows);
    step("removeOptions(job 1001: option 1007)",
         ti.removeOptions(job, std::vector<unsigned long long>{1007}, err, nullptr), err);

    TaskFile content(150002, "/srv/finance/2026", 150002), filter(150005, "*.bak", 150005);
    step("setFiles(job 1001: content replaced, one more filter)",
         ti.setFiles(job, {&content, &filter}, err, nullptr), err);
    OptionCollector files;
    if (step("getFiles(job 1001)", ti.getFiles(job, &files, err, nullptr), err)) showOptions(files.rows);

    _TaskInfo task;
    task.taskId = 7;
    step("getTaskInfo(task 7)", ti.getTaskInfo(task, err, nullptr), err);
    task.task.sequenceNumber = 42;
    step("setTaskInfo(task 7: sequence number 42)", ti.setTaskInfo(task, err, nullptr), err);
    Sched_AssocEntity sub;
    sub.clientId = 12;
    sub.apptypeId = 33;
    sub.instanceId = 1;
    sub.backupsetId = 40;
    sub.subclientId = 303;
    task.entities = {sub};
    step("setEntityInfo(task 7: subclient 303 added)", ti.setEntityInfo(task, err, nullptr), err);

    heading("A caller's transaction, rolled back");
    DBtran tran;
    if (!step("DBtran::begin()", tran.begin(&err), err)) return;
    TaskOption temp(1008, "temporary", 4);
    step("setOptions(job 1001: option 1008) inside the caller's transaction",
         ti.setOptions(job, {&temp}, err, &tran), err);
    step("rollback()", tran.rollback(&err), err);
    _TaskInfo check = job;
    check.optionId = 1008;
    OptionCollector after;
    step("getOptions(job 1001) after the rollback", ti.getOptions(check, &after, err, nullptr), err);
    bool found = false;
    for (const auto& r : after.rows) found = found || r.id == 1008;
    std::cout << "option 1008 after the rollback: " << (found ? "present" : "gone") << '\n';
}

void walkTaskManager(TaskInterface& ti, Step& step) {
    heading("The task manager creates a task and runs it");
    std::string err, xml =
                         "<TMMsg_CreateTaskReq><task taskName=\"Demo: weekly archive\" taskType=\"2\"/>"
                         "<subTask subTaskName=\"Archive\" subTaskType=\"2\" operationType=\"4003\">"
                         "<option optionId=\"1003\" type=\"3\"><value>2</value></option></subTask>"
                         "<association assocType=\"28\" clientGroupId=\"3\"/>"
                         "</TMMsg_CreateTaskReq>";
    std::list<long long> jobs;
    int status = 0;
    if (!step("CreateTask(task \"Demo: weekly archive\", one subtask, client group 3)",
              ti.CreateTask(xml, jobs, status, 5, err, 0, 0, false, false), err))
        return;
    std::cout << "reply: " << xml << '\n';
    std::string::size_type at = xml.find("taskId=\"");
    Sched_SubTask run;
    run.taskId = at == std::string::npos ? 0 : static_cast<unsigned int>(std::atoi(xml.c_str() + at + 8));
    std::vector<Sched_SubTask> subTasks{run};  // subtask 0: every subtask of the task
    if (!step("runTasks(task " + std::to_string(run.taskId) + ")",
              ti.runTasks(subTasks, jobs, err, 5, 0, 0, false, nullptr), err))
        return;
    for (long long j : jobs) std::cout << "job " << j << " started\n";
}

void walkUtilities() {
    heading("Utilities other modules link against");
    int sp = 0, second = 0;
    ParseSPVersionInfo("4.2.0 SP9 HPK3", sp, second);
    std::cout << "ParseSPVersionInfo(\"4.2.0 SP9 HPK3\") -> service pack " << sp << ", hotfix pack " << second
              << '\n';
    std::string hex;
    BasicConversion::toHexString(static_cast<unsigned short>(255), hex);
    std::cout << "BasicConversion::toHexString(255) -> " << hex << '\n';
    std::string text = "a,b~c";
    transform_string_encode(text, ',', '~');
    std::cout << "transform_string_encode(\"a,b~c\", ',', '~') -> " << text;
    transform_string_decode(text, ',', '~');
    std::cout << " -> decoded \"" << text << "\"\n";
    std::wstring wide;
    std::string back;
    int rc = utf8ToUnicode("Grüße, 東京", wide);
    if (rc == 0) rc = unicodeToUtf8(wide, back);
    std::cout << "utf8ToUnicode/unicodeToUtf8(\"Grüße, 東京\") -> " << rc << ", " << wide.size()
              << " characters, \"" << back << "\"\n";
}

int walk(const std::string& url, Step& step, std::string& libraryPath) {
    std::string err;
    heading("Store");
    int rc = DBinitSchema(url, &err);
    if (rc != 0 || !err.empty()) return reportFailure("init", rc, err);
    std::cout << maskSecrets(url) << " at schema version " << kTaskdbSchemaVersion << '\n';
    rc = seedDemoStore(err);
    if (rc != 0 || !err.empty())
        return reportFailure("seeding the demo schedule (run the demo on an empty store)", rc, err);
    std::cout << "seeded: a default task, task 7 with two subtasks, entities, patterns, options, jobs 1001 "
                 "and 1002\n";
    // The clients, subclients and users that the schedule names come from the sample world.
    long long worldRows = 0;
    rc = importWorld(kSampleWorld, false, worldRows, err);
    if (rc != 0) return reportFailure("loading the sample world", rc, err);
    std::string clientName;
    KOClient(12).getName(clientName, nullptr);
    std::cout << "loaded the sample world (examples/world.json): " << worldRows << " rows; client 12 is \""
              << clientName << "\"\n";

    heading("Loading the library as the job manager does");
    TaskLibrary lib;
    libraryPath = lib.loadedPath();
    std::cout << "dlopen(" << lib.path() << "), dlsym(getTaskInterface)\n";
    auto none = lib.create(2);
    auto ti = lib.create(1);
    std::cout << "getTaskInterface(2) -> " << (none ? "an object" : "null") << '\n';
    std::cout << "getTaskInterface(1) -> " << (ti ? "a TaskInterface" : "null") << '\n';
    if (!ti) return 1;

    walkUtilities();
    walkTask(*ti, step);
    walkJob(*ti, step);
    walkWrites(*ti, step);
    walkTaskManager(*ti, step);
    heading(step.failures ? "Finished with failures" : "Finished");
    return step.failures ? kExitFailure : kExitOk;
}

// With --json the walk's text is held back and one JSON value tells the calls and their results.
int runDemo(const ToolContext& ctx) {
    std::string url = applyUrl(ctx), libraryPath;
    Step step;
    if (!ctx.json) return walk(url, step, libraryPath);
    std::ostringstream text;
    std::streambuf* saved = std::cout.rdbuf(text.rdbuf());
    int rc = kExitFailure;
    try {
        rc = walk(url, step, libraryPath);
    } catch (...) {
        std::cout.rdbuf(saved);
        throw;
    }
    std::cout.rdbuf(saved);
    printJson({{"url", maskSecrets(url)},
               {"schemaVersion", kTaskdbSchemaVersion},
               {"library", libraryPath},
               {"steps", step.steps},
               {"failures", step.failures},
               {"finished", rc == kExitOk}});
    return rc;
}

}  // namespace

void addDemoCommand(CLI::App& app, ToolContext& ctx) {
    auto* cmd =
        app.add_subcommand("demo", "Seed a fresh store and walk through the operations a job manager uses");
    cmd->callback([&ctx] { ctx.exitCode = runDemo(ctx); });
}
