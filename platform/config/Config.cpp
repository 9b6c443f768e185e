#include "platform/config/Config.h"

#include <sys/stat.h>

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>

#include "platform/trace/EvDebug.h"

namespace {

using Section = std::map<std::string, std::string>;
using Sections = std::map<std::string, Section>;

// What tells one version of the file from another without reading it.
struct FileId {
    bool exists = false;
    dev_t dev = 0;
    ino_t ino = 0;
    off_t size = 0;
    long long mtimeNs = 0, ctimeNs = 0;
    bool operator==(const FileId& o) const {
        return exists == o.exists && dev == o.dev && ino == o.ino && size == o.size && mtimeNs == o.mtimeNs &&
               ctimeNs == o.ctimeNs;
    }
};

FileId identify(const std::string& path, int& err) {
    FileId id;
    struct stat st;
    if (::stat(path.c_str(), &st) != 0) {
        err = errno;
        return id;
    }
    err = 0;
    id.exists = true;
    id.dev = st.st_dev;
    id.ino = st.st_ino;
    id.size = st.st_size;
    id.mtimeNs = st.st_mtim.tv_sec * 1000000000LL + st.st_mtim.tv_nsec;
    id.ctimeNs = st.st_ctim.tv_sec * 1000000000LL + st.st_ctim.tv_nsec;
    return id;
}

std::shared_ptr<const Sections> parse(const std::string& path) {
    auto out = std::make_shared<Sections>();
    boost::property_tree::ptree tree;
    try {
        boost::property_tree::ini_parser::read_ini(path, tree);
    } catch (const boost::property_tree::ini_parser_error& e) {
        EvDebug::Error("KOPlatformInfo::load", "%s(%lu): %s; the file is read as empty", e.filename().c_str(),
                       e.line(), e.message().c_str());
        return out;
    }
    for (const auto& section : tree) {
        // Keys above the first section have no section to be asked by; they are not read.
        if (section.second.empty()) continue;
        Section& keys = (*out)[section.first];
        for (const auto& key : section.second) keys[key.first] = key.second.data();
    }
    return out;
}

// The last file read by this process; values are handed out as shared snapshots.
struct Cache {
    std::mutex mu;
    std::string path;
    FileId id;
    bool valid = false;
    std::shared_ptr<const Sections> data;
};

std::shared_ptr<const Sections> current(std::string& path) {
    static Cache* cache = new Cache;  // never destroyed: services may read it during static destruction
    path = KOPlatformInfo::configPath();
    int err = 0;
    FileId id = identify(path, err);
    std::lock_guard<std::mutex> lock(cache->mu);
    if (cache->valid && cache->path == path && cache->id == id) return cache->data;
    if (!id.exists) {
        EvDebug::DebugLvl(6, "KOPlatformInfo::load", "cannot read %s: %s", path.c_str(), std::strerror(err));
        cache->data = std::make_shared<Sections>();
    } else {
        cache->data = parse(path);
    }
    cache->path = path;
    cache->id = id;
    cache->valid = true;
    return cache->data;
}

}  // namespace

std::string KOPI_Focus::getFocus() {
    const char* focus = std::getenv("TASKDB_FOCUS");
    return focus && *focus ? focus : "Instance001";
}

KOPlatformInfo::KOPlatformInfo() : m_focus(KOPI_Focus::getFocus()) {}

bool KOPlatformInfo::setFocus(const std::string& focus) {
    if (focus.empty()) return false;
    m_focus = focus;
    return true;
}

std::string KOPlatformInfo::configPath() {
    const char* path = std::getenv(KO_PLATFORM_CONFIG_ENV);
    return path && *path ? path : KO_PLATFORM_CONFIG_PATH;
}

bool KOPlatformInfo::getString(const std::string& section, const std::string& key, std::string& value) const {
    std::string path;
    std::shared_ptr<const Sections> data = current(path);
    for (const std::string& name : {m_focus + ":" + section, section}) {
        auto s = data->find(name);
        if (s == data->end()) continue;
        auto k = s->second.find(key);
        if (k == s->second.end()) continue;
        value = k->second;
        return true;
    }
    EvDebug::DebugLvl(8, "KOPlatformInfo::getString", "no key %s in [%s] of %s", key.c_str(), section.c_str(),
                      path.c_str());
    return false;
}

bool KOPlatformInfo::getNumber(const std::string& section, const std::string& key,
                               unsigned int* value) const {
    std::string text;
    if (!value || !getString(section, key, text)) return false;
    const char* first = text.data();
    const char* last = first + text.size();
    while (first < last && (*first == ' ' || *first == '\t')) ++first;
    while (last > first && (last[-1] == ' ' || last[-1] == '\t')) --last;
    unsigned int n = 0;
    auto res = std::from_chars(first, last, n);
    if (first == last || res.ec != std::errc() || res.ptr != last) {
        EvDebug::Debug("KOPlatformInfo::getNumber", "%s of [%s] in %s is not a number: \"%s\"", key.c_str(),
                       section.c_str(), configPath().c_str(), text.c_str());
        return false;
    }
    *value = n;
    return true;
}

bool KOPlatformInfo::IsCloudLaptopClient() const {
    unsigned int flag = 0;
    return getNumber("Base", "sCloudLaptopClient", &flag) && flag != 0;
}
