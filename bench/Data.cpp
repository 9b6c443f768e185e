#include "bench/Data.h"

#include "bench/Store.h"

namespace bench {

Sched_AssocEntity entity(int n) {
    Sched_AssocEntity e;
    e.clientId = static_cast<unsigned>(100 + n);
    e.apptypeId = 33;
    e.instanceId = static_cast<unsigned>(1 + n % 3);
    e.backupsetId = static_cast<unsigned>(1 + n % 5);
    e.subclientId = static_cast<unsigned>(n);
    return e;
}

const std::vector<Sched_AssocEntity>& entitySet() {
    static const std::vector<Sched_AssocEntity> set = [] {
        std::vector<Sched_AssocEntity> v;
        for (int i = 0; i < seed::kEntities; ++i) v.push_back(entity(90000 + i));
        return v;
    }();
    return set;
}

const std::vector<TaskOption>& batchOptions() {
    static const std::vector<TaskOption> options = [] {
        std::vector<TaskOption> v;
        for (long long id = 1; id <= seed::kBatch; ++id)
            v.emplace_back(static_cast<unsigned long long>(id), optionValue(id), 0);
        return v;
    }();
    return options;
}

std::vector<const TaskOption*> batchPointers() {
    std::vector<const TaskOption*> out;
    for (const TaskOption& o : batchOptions()) out.push_back(&o);
    return out;
}

}  // namespace bench
