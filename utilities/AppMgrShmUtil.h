#pragma once
// A one-word mailbox in shared memory that hands an application-manager request id from the thread that
// sets it to the same thread of the same process reading it later, across modules that share no memory
// otherwise. The block is named after the process id and the thread id and keyed by ftok on a key file
// under the platform's temporary directory ("dTESSERATEMPDIR" of section "Base"; the system's temporary
// directory when that is not configured). Reading removes the block: an id is read at most once.
#include <string>

#include "TaskExport.h"
#include "platform/shm/SharedMemory.h"

class TASKDB_API AppMgrShmUtil : public KOSharedMemUtil {
  public:
    AppMgrShmUtil() = default;
    ~AppMgrShmUtil();  // unmaps a block it still maps; the block itself stays for its reader
    AppMgrShmUtil(const AppMgrShmUtil&) = delete;
    AppMgrShmUtil& operator=(const AppMgrShmUtil&) = delete;

    // Stores the low 32 bits of `requestId`, overwriting an id not read yet. False when the key file, the
    // key or the block cannot be made (traced); true, without storing, when an existing block cannot be
    // mapped (traced).
    bool setAPIRequest(unsigned long requestId);
    // The id stored by this thread and not read yet, removing it; 0 when there is none (traced).
    unsigned long getAPIRequest();

  private:
    unsigned int* m_ptr = nullptr;
    int m_handle = 0;
    int m_key = 0;
};
