// Fault injection: counting is lock-free and starts with the first arm or disarm, so that a process
// that never injects faults pays one plain load per step; arming and the armed test take a mutex.
#include "platform/db/DBfault.h"

#include <atomic>
#include <mutex>

namespace dbfault {

namespace {
constexpr int kSteps = 8;

struct State {
    std::atomic<int> counts[kSteps] = {};
    // Steps are counted once a test has armed or disarmed a fault: a production process never
    // does, and pays one plain load per step instead of an atomic increment.
    std::atomic<bool> counting{false};
    std::atomic<bool> armed{false};
    std::mutex mu;
    Step step = Step::Begin;
    int nth = 0;
    int code = 0;
    std::string text;
};

State& state() {
    static State* s = new State;  // never destroyed: steps may run during static destruction
    return *s;
}

void resetCounts(State& s) {
    for (auto& c : s.counts) c.store(0);
}
}  // namespace

const char* stepName(Step step) {
    switch (step) {
        case Step::Begin:
            return "begin";
        case Step::Open:
            return "open";
        case Step::Fetch:
            return "fetch";
        case Step::Close:
            return "close";
        case Step::Insert:
            return "insert";
        case Step::Update:
            return "update";
        case Step::Delete:
            return "delete";
        case Step::Commit:
            return "commit";
    }
    return "?";
}

void arm(Step step, int nth, int code, const std::string& text) {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mu);
    resetCounts(s);
    s.step = step;
    s.nth = nth;
    s.code = code;
    s.text = text;
    s.counting.store(true);
    s.armed.store(true);
}

void disarm() {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mu);
    s.armed.store(false);
    s.counting.store(true);
    resetCounts(s);
}

int calls(Step step) {
    return state().counts[static_cast<int>(step)].load();
}

bool hit(Step step, int& code, std::string& text) {
    State& s = state();
    if (!s.counting.load(std::memory_order_relaxed)) return false;
    int n = ++s.counts[static_cast<int>(step)];
    if (!s.armed.load()) return false;
    std::lock_guard<std::mutex> lock(s.mu);
    if (!s.armed.load() || s.step != step || s.nth != n) return false;
    code = s.code;
    text = s.text;
    return true;
}

}  // namespace dbfault
