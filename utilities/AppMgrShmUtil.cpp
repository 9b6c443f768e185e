#include "utilities/AppMgrShmUtil.h"

#include <fcntl.h>
#include <sys/ipc.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "platform/config/Config.h"
#include "platform/trace/EvDebug.h"

namespace {

constexpr int kFtokProject = 65274;
constexpr int kKeyFileAttempts = 10;

struct Mailbox {
    std::string name;
    std::string path;
};

Mailbox mailbox() {
    char name[1024];
    std::snprintf(name, sizeof name, "%s_%d_%u", "APPMGR_CLOUD_COMM_SHARED_MEMORY",
                  static_cast<int>(::getpid()), KoThread::getCurrentThreadID());
    KOPlatformInfo info;
    std::string dir;
    if (!info.getString("Base", "dTESSERATEMPDIR", dir) || dir.empty()) {
        std::error_code ec;
        dir = std::filesystem::temp_directory_path(ec).string();
        if (ec) dir = "/tmp";
    }
    return {name, dir + "/" + name};
}

}  // namespace

AppMgrShmUtil::~AppMgrShmUtil() {
    if (m_ptr) deleteSharedMemory(m_ptr, false, m_handle);
}

bool AppMgrShmUtil::setAPIRequest(unsigned long requestId) {
    static const char kName[] = "AppMgrShmUtil::setAPIRequest";
    const Mailbox box = mailbox();

    int fd = -1, attempts = kKeyFileAttempts, err = 0;
    do {
        fd = ::open(box.path.c_str(), O_CREAT | O_EXCL | O_RDONLY | O_CLOEXEC, 0600);
        err = fd < 0 ? errno : 0;
    } while (fd < 0 && err != EEXIST && --attempts > 0);
    if (fd < 0 && err != EEXIST) {
        EvDebug::Error(kName, "Shared memory key creation failed. %d, %d, %d", fd, err, attempts);
        return false;
    }
    if (fd >= 0) ::close(fd);

    const key_t key = ::ftok(box.path.c_str(), kFtokProject);
    if (key == -1) {
        EvDebug::Error(kName, "Failed to generate ftok key. %s, %d", box.path.c_str(), errno);
        return false;
    }
    m_key = key;
    // A block mapped by an earlier call is let go before the next one is mapped.
    if (m_ptr) deleteSharedMemory(m_ptr, false, m_handle);
    m_ptr = nullptr;

    int error = 0;
    void* ptr = createSharedMemory(key, &m_handle, sizeof(unsigned int), &error);
    if (!ptr && error != KO_SHM_ALREADY_EXISTS) {
        EvDebug::Error(kName, "Failed to connect to shared memory, %d", error);
        return false;
    }
    if (!ptr) {
        ptr = getSharedMemory(key, &error, &m_handle);
        if (!ptr) {
            // The caller is not told: it goes on without the mailbox.
            EvDebug::Error(
                kName, "Failed to open shared memory [%s][%u] to read the AppMgr request id. Error Code = %d",
                box.name.c_str(), static_cast<unsigned>(key), error);
            return true;
        }
    }
    m_ptr = static_cast<unsigned int*>(ptr);
    std::memset(m_ptr, 0, sizeof(unsigned int));
    *m_ptr = static_cast<unsigned int>(requestId);
    return true;
}

unsigned long AppMgrShmUtil::getAPIRequest() {
    static const char kName[] = "AppMgrShmUtil::getAPIRequest";
    const Mailbox box = mailbox();
    const key_t key = ::ftok(box.path.c_str(), kFtokProject);
    int error = 0;
    void* ptr = nullptr;
    // The block this object set is read through its mapping while it is still the block under the key.
    if (m_ptr && m_key == key && isCurrent(key, m_handle)) {
        ptr = m_ptr;
    } else {
        if (m_ptr) deleteSharedMemory(m_ptr, false, m_handle);
        ptr = getSharedMemory(key, &error, &m_handle);
    }
    m_ptr = nullptr;
    m_key = key;
    if (!ptr) {
        EvDebug::Error(kName,
                       "Failed to open shared memory [%s][%u] to read the AppMgr request id. Error Code = %d",
                       box.name.c_str(), static_cast<unsigned>(key), error);
        return 0;
    }
    const unsigned long id = *static_cast<unsigned int*>(ptr);
    const int rc = deleteSharedMemory(ptr, true, m_handle);
    if (rc != 0)
        EvDebug::Error(kName, "deleteSharedMemory failed, handle=%d, Ptr=%p returnCode = %d", m_handle, ptr,
                       rc);
    else
        ::unlink(box.path.c_str());  // the key file only named the block, which is gone
    m_handle = 0;
    return id;
}
