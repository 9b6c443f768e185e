#pragma once
// Visibility of the task library's symbols: only what callers need is exported.
#define TASKDB_API __attribute__((visibility("default")))
