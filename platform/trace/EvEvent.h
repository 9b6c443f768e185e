#pragma once
// The trace object of one call: created first on the stack and destroyed last. It carries the call's
// locale and the event message that operations which raise events fill.
#include <cstddef>
#include <string>
#include <type_traits>

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
    EvEvent& operator<<(const char* argument) { return *this << std::string(argument ? argument : ""); }
    template <class Number, std::enable_if_t<std::is_arithmetic_v<Number>, int> = 0>
    EvEvent& operator<<(Number argument) {
        return *this << std::to_string(argument);
    }

    // Formats catalogue message `messageId` (SRV_EventMessage) for the event's locale, else in English,
    // else as the bare id, with the streamed arguments in place of %1..%9 ("%%" is one %), into `buffer`
    // (cut to `size` - 1 bytes and always terminated). `flags` is reserved (0). Reads the catalogue on
    // a transaction of its own. Returns 0 when a catalogue text was found, else the look-up's code.
    int evPrintf(int messageId, char* buffer, size_t size, int flags);

  private:
    std::string m_name;
    int m_localeId = 0;
    EvMessageContainer m_message;
};
