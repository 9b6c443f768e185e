// The C++ text of the message classes and of their descriptor tables.
#include <cctype>
#include <cstdio>

#include "Model.h"

namespace msggen {
namespace {

std::string capitalised(const std::string& s) {
    std::string out = s;
    out[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(out[0])));
    return out;
}

std::string qualifiedType(const std::string& qualified) {
    return "::" + qualified;
}

// The C++ type that holds one item of the member.
std::string itemType(const Member& m) {
    switch (m.scalar) {
        case Scalar::Int32:
            return "std::int32_t";
        case Scalar::Int64:
            return "std::int64_t";
        case Scalar::String:
            return "std::string";
        case Scalar::Message:
            return qualifiedType(m.messageType);
    }
    return "";
}

std::string storageType(const Member& m) {
    if (!m.list) return itemType(m);
    if (m.scalar == Scalar::Message) return "CNList<" + itemType(m) + ">";
    return "std::vector<" + itemType(m) + ">";
}

const char* kindName(const Member& m) {
    switch (m.scalar) {
        case Scalar::Int32:
            return m.list ? "CNKind::Int32List" : "CNKind::Int32";
        case Scalar::Int64:
            return m.list ? "CNKind::Int64List" : "CNKind::Int64";
        case Scalar::String:
            return m.list ? "CNKind::StringList" : "CNKind::String";
        case Scalar::Message:
            return m.list ? "CNKind::MessageList" : "CNKind::Message";
    }
    return "";
}

// The variable that holds a class's descriptor in the generated source.
std::string infoName(const std::string& qualified) {
    std::string out = "k";
    for (char c : qualified) out += c == ':' ? '_' : c;
    return out + "_info";
}

std::string quoted(const std::string& s) {
    return "\"" + s + "\"";
}

void emitAccessors(std::string& out, const Member& m, size_t index) {
    const std::string cap = capitalised(m.name), type = storageType(m), idx = std::to_string(index);
    out += "    // " + std::to_string(m.id) + ": " + (m.attribute ? "@" : "") + m.xmlName + "\n";
    if (m.list) {
        out += "    const " + type + "& " + m.name + "() const { return m_" + m.name + "; }\n";
        out += "    " + type + "& mutable" + cap + "() { return m_" + m.name + "; }\n";
        out += "    bool has" + cap + "() const { return !m_" + m.name + ".empty(); }\n";
    } else if (m.scalar == Scalar::Message) {
        out += "    const " + type + "& " + m.name + "() const { return m_" + m.name + "; }\n";
        out += "    " + type + "& mutable" + cap + "() {\n        markSet(" + idx + ");\n        return m_" +
               m.name + ";\n    }\n";
        out += "    bool has" + cap + "() const { return isSetAt(" + idx + "); }\n";
    } else if (m.scalar == Scalar::String) {
        out += "    const std::string& " + m.name + "() const { return m_" + m.name + "; }\n";
        out += "    void set" + cap + "(std::string v) {\n        m_" + m.name +
               " = std::move(v);\n        markSet(" + idx + ");\n    }\n";
        out += "    bool has" + cap + "() const { return isSetAt(" + idx + "); }\n";
    } else {
        out += "    " + type + " " + m.name + "() const { return m_" + m.name + "; }\n";
        out += "    void set" + cap + "(" + type + " v) {\n        m_" + m.name + " = v;\n        markSet(" +
               idx + ");\n    }\n";
        out += "    bool has" + cap + "() const { return isSetAt(" + idx + "); }\n";
    }
}

void emitClass(std::string& out, const Message& msg) {
    char id[32];
    std::snprintf(id, sizeof id, "%lluULL", static_cast<unsigned long long>(msg.typeId));
    out += "namespace " + msg.ns + " {\n\n";
    out += "class KO_PLATFORM_API " + msg.name + " final : public CNMessageBase {\n  public:\n";
    out += "    static constexpr std::uint64_t kTypeId = " + std::string(id) + ";\n";
    if (!msg.members.empty()) {
        out += "    enum : int {\n";
        for (const Member& m : msg.members)
            out += "        k" + capitalised(m.name) + " = " + std::to_string(m.id) + ",\n";
        out += "    };\n";
    }
    out += "\n    static const CNMessageInfo& descriptor();\n";
    out += "    const CNMessageInfo& info() const override;\n";
    out += "    std::unique_ptr<CNMessageBase> clone() const override;\n";
    out += "    void clear() override;\n\n";
    for (size_t i = 0; i < msg.members.size(); ++i) emitAccessors(out, msg.members[i], i);
    out += "\n  protected:\n";
    out += "    void* memberAddress(std::size_t index) override;\n";
    out += "    void take(CNMessageBase& other) override;\n";
    if (!msg.members.empty()) out += "\n  private:\n";
    for (const Member& m : msg.members) {
        std::string init = !m.list && (m.scalar == Scalar::Int32 || m.scalar == Scalar::Int64) ? " = 0" : "";
        out += "    " + storageType(m) + " m_" + m.name + init + ";\n";
    }
    out += "};\n\n}  // namespace " + msg.ns + "\n\n";
}

void emitDefinitions(std::string& out, const Message& msg) {
    const std::string cls = msg.qualified(), info = infoName(msg.qualified());
    out += "const CNMessageInfo& " + cls + "::descriptor() { return " + info + "; }\n";
    out += "const CNMessageInfo& " + cls + "::info() const { return " + info + "; }\n";
    out += "std::unique_ptr<CNMessageBase> " + cls + "::clone() const { return std::make_unique<" + cls +
           ">(*this); }\n";
    out += "void " + cls + "::clear() { *this = " + cls + "(); }\n";
    out += "void " + cls + "::take(CNMessageBase& other) { *this = std::move(static_cast<" + cls +
           "&>(other)); }\n";
    out += "void* " + cls + "::memberAddress(std::size_t index) {\n";
    if (!msg.members.empty()) {
        out += "    switch (index) {\n";
        for (size_t i = 0; i < msg.members.size(); ++i) {
            const Member& m = msg.members[i];
            std::string address = "&m_" + m.name;
            if (m.scalar == Scalar::Message)
                address = m.list ? "static_cast<CNListBase*>(" + address + ")"
                                 : "static_cast<CNMessageBase*>(" + address + ")";
            out += "        case " + std::to_string(i) + ":\n            return " + address + ";\n";
        }
        out += "    }\n";
    } else {
        out += "    (void)index;\n";
    }
    out += "    return nullptr;\n}\n\n";
}

}  // namespace

std::string classesHeader(const std::vector<Message>& messages) {
    std::string out =
        "#pragma once\n// Generated by msggen from platform/xml/messages.def; included by "
        "platform/xml/Messages.h.\n\n";
    for (const Message& m : messages) emitClass(out, m);
    return out;
}

std::string classesSource(const std::vector<Message>& messages) {
    std::string out =
        "// Generated by msggen from platform/xml/messages.def: descriptors and generic member access.\n"
        "#include \"platform/xml/Messages.h\"\n\nnamespace {\n\n";
    for (const Message& m : messages) out += "extern const CNMessageInfo " + infoName(m.qualified()) + ";\n";
    out += "\n";
    for (const Message& msg : messages) {
        const std::string info = infoName(msg.qualified()), cls = qualifiedType(msg.qualified());
        if (!msg.members.empty()) {
            out += "const CNMemberInfo " + info + "_members[] = {\n";
            for (const Member& m : msg.members) {
                out += "    {" + std::to_string(m.id) + ", " + quoted(m.name) + ", " + quoted(m.xmlName) +
                       ", " + kindName(m) + ", " + (m.attribute ? "true" : "false") + ", " +
                       (m.scalar == Scalar::Message ? "&" + infoName(m.messageType) : "nullptr") + "},\n";
            }
            out += "};\n";
        }
        char id[32], family[16], type[16];
        std::snprintf(id, sizeof id, "%lluULL", static_cast<unsigned long long>(msg.typeId));
        std::snprintf(family, sizeof family, "%lluu", static_cast<unsigned long long>(msg.typeId >> 32));
        std::snprintf(type, sizeof type, "%lluu", static_cast<unsigned long long>(msg.typeId & 0xffffffffu));
        out += "std::unique_ptr<CNMessageBase> " + info + "_create() { return std::make_unique<" + cls +
               ">(); }\n";
        out += "const CNMessageInfo " + info + " = {" + quoted(msg.qualified()) + ", " + quoted(msg.element) +
               ", " + id + ", " + family + ", " + type + ", " +
               (msg.members.empty() ? "nullptr" : info + "_members") + ", " +
               std::to_string(msg.members.size()) + ", &" + info + "_create};\n\n";
    }
    out += "}  // namespace\n\n";
    out += "// Every class, in description order of dependencies.\n";
    out += "extern const CNMessageInfo* const kCNMessageClasses[];\n";
    out += "extern const std::size_t kCNMessageClassCount;\n";
    out += "const CNMessageInfo* const kCNMessageClasses[] = {\n";
    for (const Message& m : messages) out += "    &" + infoName(m.qualified()) + ",\n";
    out += "};\nconst std::size_t kCNMessageClassCount = " + std::to_string(messages.size()) + ";\n\n";
    for (const Message& m : messages) emitDefinitions(out, m);
    return out;
}

}  // namespace msggen
