#pragma once
// The inputs the cases hand to the library and to the baselines, and the callback both deliver to.
#include <cstddef>
#include <string>
#include <vector>

#include "TaskCarriers.h"
#include "TaskRecords.h"

namespace bench {

// A deterministic entity; `n` makes it unique (client n, subclient n).
Sched_AssocEntity entity(int n);
// The 100 entities that setEntityInfo associates with seed::kSetEntityTask; the even ones are seeded.
const std::vector<Sched_AssocEntity>& entitySet();
// seed::kBatch options, ids 1 upwards, with the values optionValue() gives (what the seeded jobs hold).
const std::vector<TaskOption>& batchOptions();
std::vector<const TaskOption*> batchPointers();

// Receives options the way a job manager would: keeps nothing, but reads every argument.
class CountingCallback : public OptionCallBack {
  public:
    void option(unsigned long long optionId, std::string value, int type) override {
        take(optionId, value, type);
    }
    void defaultOption(unsigned long long optionId, std::string value, int type) override {
        take(optionId, value, type);
    }
    size_t rows = 0;
    unsigned long long checksum = 0;

  private:
    void take(unsigned long long optionId, const std::string& value, int type) {
        ++rows;
        checksum += optionId + value.size() + static_cast<unsigned>(type);
    }
};

}  // namespace bench
