#pragma once
// Process-local locks of the platform, over Boost.Interprocess primitives.
//
// KoCriticalSection is recursive: a thread that holds it may enter it again (a callback that
// re-enters an operation holding the lock does not deadlock); it must leave once per enter.
// KoSemaphore is a counting semaphore. Both are safe to use from any thread.
#include <boost/interprocess/sync/interprocess_recursive_mutex.hpp>
#include <boost/interprocess/sync/interprocess_semaphore.hpp>
#include <new>

using KoCriticalSectionH = boost::interprocess::interprocess_recursive_mutex;
using KoSemaphoreH = boost::interprocess::interprocess_semaphore;

class KoCriticalSection {
  public:
    KoCriticalSection() : m_cs(new (std::nothrow) KoCriticalSectionH) {
        if (!m_cs) throw "Not enough memory to initialize KoCriticalSection";
    }
    ~KoCriticalSection() {
        delete m_cs;
        m_cs = nullptr;
    }
    KoCriticalSection(const KoCriticalSection&) = delete;
    KoCriticalSection& operator=(const KoCriticalSection&) = delete;

    // Blocks until the lock is held when `wait` is true; otherwise only tries. Answers whether it is held.
    bool enter(bool wait = true) {
        if (wait) {
            m_cs->lock();
            return true;
        }
        return m_cs->try_lock();
    }
    void leave() { m_cs->unlock(); }

  private:
    KoCriticalSectionH* m_cs;
};

// Holds a critical section for the lifetime of the object; a null pointer holds nothing.
class KoCriticalSectionLock {
  public:
    explicit KoCriticalSectionLock(KoCriticalSection* cs) : m_cs(cs) {
        if (m_cs) m_cs->enter(true);
    }
    ~KoCriticalSectionLock() {
        if (m_cs) m_cs->leave();
    }
    KoCriticalSectionLock(const KoCriticalSectionLock&) = delete;
    KoCriticalSectionLock& operator=(const KoCriticalSectionLock&) = delete;

  private:
    KoCriticalSection* m_cs;
};

class KoSemaphore {
  public:
    explicit KoSemaphore(int count) : m_sem(new (std::nothrow) KoSemaphoreH(static_cast<unsigned>(count))) {
        if (!m_sem) throw "Not enough memory to initialize KoSemaphore";
    }
    ~KoSemaphore() {
        delete m_sem;
        m_sem = nullptr;
    }
    KoSemaphore(const KoSemaphore&) = delete;
    KoSemaphore& operator=(const KoSemaphore&) = delete;

    void wait() { m_sem->wait(); }
    void release(int count = 1) {
        for (int i = 0; i < count; ++i) m_sem->post();
    }

  private:
    KoSemaphoreH* m_sem;
};
