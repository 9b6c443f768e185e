#pragma once
// The message classes as platform/xml/messages.def describes them.
#include <cstdint>
#include <string>
#include <vector>

namespace msggen {

enum class Scalar { Int32, Int64, String, Message };

struct Member {
    int id = 0;
    std::string name;
    Scalar scalar = Scalar::Int32;
    std::string messageType;  // "Ns::Name" when scalar is Message
    bool list = false;
    std::string xmlName;
    bool attribute = false;
    int line = 0;
};

struct Message {
    std::string ns, name;  // "TMMsg", "TaskOperationReq"
    std::uint64_t typeId = 0;
    bool hasId = false;
    std::string element;
    std::vector<Member> members;
    int line = 0;
    std::string qualified() const { return ns + "::" + name; }
};

// Reads and checks the description; on failure returns false with "file:line: reason" in `error`.
// On success the messages are ordered so that every class comes after the classes it contains.
bool parseMessages(const std::string& path, std::vector<Message>& messages, std::string& error);

// The generated header (included by platform/xml/Messages.h) and source.
std::string classesHeader(const std::vector<Message>& messages);
std::string classesSource(const std::vector<Message>& messages);

}  // namespace msggen
