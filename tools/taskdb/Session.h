#pragma once
// What every store command needs: the store chosen, the library loaded, one task object.
#include <memory>
#include <string>

#include "tools/taskdb/Commands.h"
#include "tools/taskdb/Library.h"

class Session {
  public:
    explicit Session(const ToolContext& ctx);
    TaskInterface& ti() { return *m_ti; }

  private:
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
