#include "bench/Shared.h"

namespace bench {

TaskInterface& library() {
    static const std::unique_ptr<TaskInterface> object(getTaskInterface(1));
    return *object;
}

}  // namespace bench
