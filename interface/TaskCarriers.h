#pragma once
// Option and file carriers and the callbacks through which options are delivered. Header-only, so
// that a caller compiled against these headers alone can use them with a library loaded at run time.
#include <list>
#include <string>

// One option: its id, its value and its type.
class TaskOption {
  public:
    TaskOption(unsigned long long optionId, const std::string& value, int type)
        : m_optionId(optionId), m_value(value), m_type(type) {}
    TaskOption(const TaskOption&) = default;
    TaskOption& operator=(const TaskOption&) = default;
    unsigned long long getOptionId() const { return m_optionId; }
    const std::string& getValue() const { return m_value; }
    int getType() const { return m_type; }

  private:
    unsigned long long m_optionId;
    std::string m_value;
    int m_type;
};

// One file option: the option id, the file name or value, and its type (150001 to 150014).
class TaskFile {
  public:
    TaskFile(unsigned long long optionId, const std::string& value, int type)
        : m_optionId(optionId), m_value(value), m_type(type) {}
    unsigned long long getOptionId() const { return m_optionId; }
    const std::string& getValue() const { return m_value; }
    int getType() const { return m_type; }

  private:
    unsigned long long m_optionId;
    std::string m_value;
    int m_type;
};

// A list of file options; _TaskInfo holds eight of them.
class TaskFileList {
  public:
    std::list<TaskFile> files;
    void add(const TaskFile& f) { files.push_back(f); }
    size_t size() const { return files.size(); }
    bool empty() const { return files.empty(); }
};

// Receives options. getOptions calls option() once per stored option; getDefaults calls
// defaultOption() once per static default, so a caller can tell the two apart.
class OptionCallBack {
  public:
    virtual void option(unsigned long long optionId, std::string value, int type) = 0;
    virtual void defaultOption(unsigned long long optionId, std::string value, int type) = 0;
    virtual ~OptionCallBack() = default;
};

// Receives file options, one call per row.
class FileCallBack {
  public:
    virtual void file(unsigned long long optionId, std::string value, int type) = 0;
    virtual ~FileCallBack() = default;
};
