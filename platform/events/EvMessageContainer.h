#pragma once
// An event message: a message id with a flag, its arguments and the entities it concerns.
#include <string>
#include <vector>

struct ArgumentInfo {
    std::vector<std::string> values;
    void add(const std::string& v) { values.push_back(v); }
    void clear() { values.clear(); }
};

struct EvMessageEntities {
    std::vector<std::pair<int, long long>> entities;  // (entity kind, id)
    void clear() { entities.clear(); }
};

class EvMessageContainer {
  public:
    void Clear() {
        m_arguments.clear();
        m_messageId = 0;
        m_flag = false;
        m_entities.clear();
    }
    int GetMessageID() const { return m_messageId; }
    void SetMessageID(int id, bool flag = false) {
        m_messageId = id;
        m_flag = flag;
    }
    bool GetMessageFlag() const { return m_flag; }
    ArgumentInfo& GetArguments() { return m_arguments; }
    EvMessageEntities& GetEntities() { return m_entities; }

  private:
    ArgumentInfo m_arguments;
    int m_messageId = 0;
    bool m_flag = false;
    EvMessageEntities m_entities;
};
