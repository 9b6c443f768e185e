#pragma once
// Loads the task library the way the job manager does: dlopen, then getTaskInterface(1).
#include <memory>
#include <string>

#include "TaskInterface.h"

class TaskLibrary {
  public:
    // Loads TASKDB_LIBRARY when set, else the library beside this program. Throws std::runtime_error
    // with dlerror()'s text when it cannot be loaded or has no factory.
    TaskLibrary();
    ~TaskLibrary();
    TaskLibrary(const TaskLibrary&) = delete;
    TaskLibrary& operator=(const TaskLibrary&) = delete;

    const std::string& path() const { return m_path; }
    // The file the library was actually loaded from (the name resolved by the loader).
    std::string loadedPath() const;
    // A new object from the factory, owned by the caller.
    std::unique_ptr<TaskInterface> create(int kind = 1) const;

  private:
    std::string m_path;
    void* m_handle = nullptr;
    getTaskInterface_t m_factory = nullptr;
};
