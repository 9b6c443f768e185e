#include "tools/taskdb/Library.h"

#include <dlfcn.h>

#include <cstdlib>
#include <stdexcept>

TaskLibrary::TaskLibrary() {
    const char* env = std::getenv("TASKDB_LIBRARY");
    m_path = env && *env ? env : TASKDB_LIBRARY_NAME;
    m_handle = dlopen(m_path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_handle) throw std::runtime_error(std::string("cannot load the task library: ") + dlerror());
    m_factory = reinterpret_cast<getTaskInterface_t>(dlsym(m_handle, "getTaskInterface"));
    if (!m_factory) throw std::runtime_error(std::string("the task library has no factory: ") + dlerror());
}

TaskLibrary::~TaskLibrary() {
    if (m_handle) dlclose(m_handle);
}

std::unique_ptr<TaskInterface> TaskLibrary::create(int kind) const {
    return std::unique_ptr<TaskInterface>(m_factory(kind));
}

std::string TaskLibrary::loadedPath() const {
    Dl_info info;
    if (dladdr(reinterpret_cast<void*>(m_factory), &info) && info.dli_fname) return info.dli_fname;
    return m_path;
}
