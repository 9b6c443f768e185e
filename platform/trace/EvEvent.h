#pragma once
// The trace object of one call: created first on the stack and destroyed last. It carries the call's
// locale and the event message that operations which raise events fill.
#include <string>

#include "platform/PlatformExport.h"
#include "platform/events/EvMessageContainer.h"

class KO_PLATFORM_API EvEvent {
  public:
    explicit EvEvent(const char* name = "") : m_name(name ? name : "") {}
    const std::string& name() const { return m_name; }
    void setLocaleId(int localeId) { m_localeId = localeId; }
    int localeId() const { return m_localeId; }
    EvMessageContainer& message() { return m_message; }
    EvEvent& operator<<(const std::string& argument) {
        m_message.GetArguments().add(argument);
        return *this;
    }

  private:
    std::string m_name;
    int m_localeId = 0;
    EvMessageContainer m_message;
};
