#pragma once
// The one store every case runs on: a temporary directory with a reference-schema SQLite file,
// seeded once per process, which the library is pointed at (dbconfig::setUrl) and the baselines open
// with the sqlite3 C API. Single-threaded set-up; the cases only read the ids below.
#include <string>

#include "bench/Raw.h"

namespace bench {

// Rows seeded for the cases. Option ids never fall in the file-option band (150001 to 150014), so
// every stored option is delivered by getOptions.
namespace seed {
constexpr int kDefaults = 1000;            // TM_StaticTaskOption rows, option ids 1..1000, all delivered
constexpr long long kLookupJob = 1001;     // 10 options
constexpr long long kSizedJobBase = 3000;  // job kSizedJobBase + n has n options (10, 100, 10000)
constexpr long long kSetNewJob = 2001;     // no options; setOptions adds 1000, removed between runs
constexpr long long kSetSameJob = 2002;    // 1000 options that setOptions rewrites with equal values
constexpr long long kRemoveJob = 2003;     // 1000 options, put back between runs of removeOptions
constexpr int kBatch = 1000;               // options per setOptions / removeOptions call
constexpr int kTaskId = 1;                 // one TM_Task row
constexpr int kEntityTask = 2;             // 100 TM_AssocEntity rows
constexpr int kPatternTask = 3;            // one subtask (id 3) with 100 patterns
constexpr int kSetEntityTask = 4;          // 50 of the 100 entities of entitySet(); created = 1
constexpr int kEntities = 100;
constexpr long long kRequestCreated = 1700000000;
}  // namespace seed

struct Store {
    std::string dir;   // the temporary directory (removed by removeStore)
    std::string path;  // the SQLite file
    std::string url;   // "sqlite:" + path, in force for the library
};

// Creates and seeds the store on first use and points the library at it; exits the process with a
// message when that fails (there is nothing to measure).
const Store& store();
// Removes the directory (call once, after the last case).
void removeStore();

// The value that option `id` of any seeded job holds.
std::string optionValue(long long id);

// Maintenance between timed runs, on the caller's own raw connection.
void deleteJobOptions(RawDb& db, long long jobId);
void putJobOptions(RawDb& db, long long jobId, int count);
// Deletes the entities that setEntityInfo added to kSetEntityTask (the seeded ones have created = 1).
void deleteAddedEntities(RawDb& db);

}  // namespace bench
