// Stores a job option through the task interface and reads it back, on the store that TASKDB_URL
// names (made beforehand with `taskdb init`). Prints the option and exits 0 when all went well.
#include <iostream>
#include <memory>
#include <string>

#include "TaskInterface.h"
#include "utilities/BasicConversion.h"

namespace {
class Print : public OptionCallBack {
  public:
    void option(unsigned long long id, std::string value, int) override {
        std::cout << "option " << id << " = " << value << '\n';
        ++count;
    }
    void defaultOption(unsigned long long, std::string, int) override {}
    int count = 0;
};
}  // namespace

int main() {
    std::unique_ptr<TaskInterface> store(getTaskInterface(1));
    if (!store) return 1;
    _TaskInfo job;
    job.jobId = 1001;
    std::string streams, err;
    BasicConversion::toString(4, streams);
    const TaskOption option(7, streams, 1);
    if (int rc = store->setOptions(job, {&option}, err, nullptr)) {
        std::cerr << "setOptions failed [" << rc << "]: " << err << '\n';
        return 1;
    }
    Print print;
    if (int rc = store->getOptions(job, &print, err, nullptr)) {
        std::cerr << "getOptions failed [" << rc << "]: " << err << '\n';
        return 1;
    }
    return print.count == 1 ? 0 : 1;
}
