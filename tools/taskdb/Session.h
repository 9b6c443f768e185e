#pragma once
// What every store command needs: the store chosen and checked, the library loaded, one task object.
#include <memory>
#include <string>

#include "tools/taskdb/Commands.h"
#include "tools/taskdb/Library.h"

// Throws std::runtime_error "no store at PATH: run taskdb init" when `url` names a SQLite file that does
// not exist, so that no command but init and demo creates a store.
void requireStore(const std::string& url);

class Session {
  public:
    // Applies the URL, checks that the store exists and loads the library.
    explicit Session(const ToolContext& ctx);
    TaskInterface& ti() { return *m_ti; }
    const std::string& url() const { return m_url; }
    const TaskLibrary& library() const { return m_lib; }

  private:
    std::string m_url;
    TaskLibrary m_lib;
    std::unique_ptr<TaskInterface> m_ti;
};

// Collects options or file options delivered through the library's callbacks.
struct CollectedOption {
    unsigned long long id;
    std::string value;
    int type;
    bool isDefault;
};
class OptionCollector : public OptionCallBack, public FileCallBack {
  public:
    std::vector<CollectedOption> rows;
    void option(unsigned long long id, std::string value, int type) override {
        rows.push_back({id, std::move(value), type, false});
    }
    void defaultOption(unsigned long long id, std::string value, int type) override {
        rows.push_back({id, std::move(value), type, true});
    }
    void file(unsigned long long id, std::string value, int type) override {
        rows.push_back({id, std::move(value), type, false});
    }
};

// Prints collected options as a table (id, type, value) or JSON.
void printOptions(const ToolContext& ctx, const std::vector<CollectedOption>& rows);

// Whether `jobId` names a job of the store; when not (or when asking fails) prints why, sets the exit
// code and returns false.
bool jobExists(Session& s, long long jobId, ToolContext& ctx);
// Whether `taskId` names a task; as jobExists. Fills `info.task` when it does.
bool taskExists(Session& s, _TaskInfo& info, ToolContext& ctx);
