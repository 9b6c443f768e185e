#pragma once
// System V shared memory blocks shared between processes of one machine, and the id of the calling
// thread. A block lives until it is deleted (or the machine restarts), whether or not anyone maps it.
// Every function may be called from any thread.
#include <sys/types.h>

#include <cstddef>

#include "platform/PlatformExport.h"

// The error code of createSharedMemory when a block with the key exists already.
constexpr int KO_SHM_ALREADY_EXISTS = 183;

class KO_PLATFORM_API KOSharedMemUtil {
  public:
    // Creates a block of `size` bytes (mode 0600) under `key`, maps it and returns its address, with
    // the block's handle in `*handle`. Null when it fails, with `*error` KO_SHM_ALREADY_EXISTS when a
    // block with the key exists, else the system's error number.
    void* createSharedMemory(key_t key, int* handle, size_t size, int* error);
    // Maps the existing block under `key`; its handle goes to `*handle` when given. Null when it fails,
    // with the system's error number in `*error` (ENOENT: there is no such block).
    void* getSharedMemory(key_t key, int* error, int* handle = nullptr);
    // Whether `handle` is still the block under `key` (false once it was removed).
    bool isCurrent(key_t key, int handle);
    // Unmaps `ptr` (when not null) and, when `removeBlock`, removes the block `handle` for everyone.
    // Returns 0 on success, else the system's error number of the first failing step.
    int deleteSharedMemory(void* ptr, bool removeBlock, int handle);
};

class KO_PLATFORM_API KoThread {
  public:
    // The kernel's id of the calling thread (unique on the machine while the thread lives).
    static unsigned int getCurrentThreadID();
};
