#include "platform/shm/SharedMemory.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

void* KOSharedMemUtil::createSharedMemory(key_t key, int* handle, size_t size, int* error) {
    int err = 0;
    void* ptr = nullptr;
    const int id = ::shmget(key, size, IPC_CREAT | IPC_EXCL | 0600);
    if (id < 0) {
        err = errno == EEXIST ? KO_SHM_ALREADY_EXISTS : errno;
    } else {
        ptr = ::shmat(id, nullptr, 0);
        if (ptr == reinterpret_cast<void*>(-1)) {
            err = errno;
            ptr = nullptr;
            ::shmctl(id, IPC_RMID, nullptr);  // a block nobody can map is of no use to anyone
        }
    }
    if (error) *error = err;
    if (handle) *handle = ptr ? id : 0;
    return ptr;
}

void* KOSharedMemUtil::getSharedMemory(key_t key, int* error, int* handle) {
    int err = 0;
    void* ptr = nullptr;
    const int id = ::shmget(key, 0, 0);
    if (id < 0) {
        err = errno;
    } else {
        ptr = ::shmat(id, nullptr, 0);
        if (ptr == reinterpret_cast<void*>(-1)) {
            err = errno;
            ptr = nullptr;
        }
    }
    if (error) *error = err;
    if (handle) *handle = ptr ? id : 0;
    return ptr;
}

bool KOSharedMemUtil::isCurrent(key_t key, int handle) {
    return handle > 0 && ::shmget(key, 0, 0) == handle;
}

int KOSharedMemUtil::deleteSharedMemory(void* ptr, bool removeBlock, int handle) {
    int err = 0;
    if (removeBlock && ::shmctl(handle, IPC_RMID, nullptr) != 0) err = errno;
    if (ptr && ::shmdt(ptr) != 0 && err == 0) err = errno;
    return err;
}

unsigned int KoThread::getCurrentThreadID() {
    return static_cast<unsigned int>(::syscall(SYS_gettid));
}
