#pragma once
// Test-only fault injection at the lowest layer: the Nth call of a database step fails with a chosen
// code and text instead of reaching the database. Counting starts when the fault is armed and covers
// every thread of the process. Nothing is armed unless a test arms it. Every function is thread-safe;
// one fault is armed at a time (arming replaces the previous one).
#include <string>

#include "platform/PlatformExport.h"

namespace dbfault {
enum class Step { Begin, Open, Fetch, Close, Insert, Update, Delete, Commit };

KO_PLATFORM_API const char* stepName(Step step);
// Arms one fault: the `nth` (1-based) call of `step` from now returns `code` with `text` as its error.
KO_PLATFORM_API void arm(Step step, int nth, int code, const std::string& text);
KO_PLATFORM_API void disarm();
// Calls of `step` seen since the last arm or disarm (0 before the first of them).
KO_PLATFORM_API int calls(Step step);

// Called by the database layer before each step: true (and code and text set) when this call fails.
KO_PLATFORM_API bool hit(Step step, int& code, std::string& text);

// Disarms when it goes out of scope.
struct Scope {
    Scope(Step step, int nth, int code, const std::string& text) { arm(step, nth, code, text); }
    ~Scope() { disarm(); }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
};
}  // namespace dbfault
