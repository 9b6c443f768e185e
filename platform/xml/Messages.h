#pragma once
// XML messages: the requests and replies exchanged with the task manager, the job manager and the
// content-search service. Every class derives from CNMessageBase and is generated from the one
// description in platform/xml/messages.def (see README, "XML messages").
//
// A generated class has, for each member NAME of the description:
//   scalar (int32, int64, string)   NAME(), setNAME(v), hasNAME()
//   nested message                  NAME() (read), mutableNAME() (marks it set), hasNAME()
//   list (T[])                      NAME() (read), mutableNAME(), hasNAME() (true when not empty)
// and an enum of member ids (kNAME), the type id (kTypeId) and descriptor(). The same members are
// reachable by id through the generic accessors of CNMessageBase, for code that walks a message.
//
// Failures are reported by return values (0 is success; errorText() says what went wrong); nothing
// here throws but std::bad_alloc.
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "platform/PlatformExport.h"

class CNMessageBase;
struct CNMessageInfo;

// What a member holds.
enum class CNKind : std::uint8_t {
    Int32,
    Int64,
    String,
    Message,
    Int32List,
    Int64List,
    StringList,
    MessageList
};

// One member of a message class, as the description gives it.
struct CNMemberInfo {
    int id;                        // the member id, unique within its class
    const char* name;              // the accessor name
    const char* xmlName;           // element (or attribute) name
    CNKind kind;                   //
    bool attribute;                // scalars only: written as an attribute of the parent element
    const CNMessageInfo* message;  // Message and MessageList: the nested class; else null
};

// One message class.
struct CNMessageInfo {
    const char* name;     // "TMMsg::TaskOperationReq"
    const char* element;  // the root element when the message is serialised alone
    std::uint64_t typeId;
    std::uint32_t family;  // typeId >> 32
    std::uint32_t type;    // typeId & 0xffffffff
    const CNMemberInfo* members;
    std::size_t memberCount;
    std::unique_ptr<CNMessageBase> (*create)();

    // The member with this id, or null.
    const CNMemberInfo* member(int id) const;
    // Its position in `members`, or -1.
    int indexOf(int id) const;
};

// A list of nested messages as generic code sees it.
class KO_PLATFORM_API CNListBase {
  public:
    virtual ~CNListBase() = default;
    virtual const CNMessageInfo& itemInfo() const = 0;
    virtual std::size_t size() const = 0;
    bool empty() const { return size() == 0; }
    virtual CNMessageBase& item(std::size_t i) = 0;
    virtual const CNMessageBase& item(std::size_t i) const = 0;
    // Appends an empty item and returns it.
    virtual CNMessageBase& append() = 0;
    // Appends a copy of `m`; false (and nothing appended) when `m` is of another class.
    virtual bool append(const CNMessageBase& m) = 0;
    virtual void clear() = 0;
    virtual void reserve(std::size_t n) = 0;

  protected:
    CNListBase() = default;
    CNListBase(const CNListBase&) = default;
    CNListBase(CNListBase&&) = default;
    CNListBase& operator=(const CNListBase&) = default;
    CNListBase& operator=(CNListBase&&) = default;
};

class KO_PLATFORM_API CNMessageBase {
  public:
    virtual ~CNMessageBase() = default;

    // Prepares the class registry; 0 on success. Cheap after the first call; any thread may call it.
    static int Initialize();
    // A new empty message of a class, or null when no class has that family and type (or type id).
    static std::unique_ptr<CNMessageBase> create(std::uint32_t family, std::uint32_t type);
    static std::unique_ptr<CNMessageBase> create(std::uint64_t typeId);
    // Every generated class, in description order.
    static const std::vector<const CNMessageInfo*>& classes();
    // A class by type id or by its qualified name ("TMMsg::JobOption"); null when unknown.
    static const CNMessageInfo* find(std::uint64_t typeId);
    static const CNMessageInfo* find(const std::string& name);

    virtual const CNMessageInfo& info() const = 0;
    std::uint64_t typeId() const { return info().typeId; }
    virtual std::unique_ptr<CNMessageBase> clone() const = 0;
    // Back to a new, empty message.
    virtual void clear() = 0;

    // Writes the message as one XML document into `xml` (replacing it); `indent` lays it out on
    // several lines. 0 on success; on failure `xml` is unchanged and errorText() says why.
    int serialize(std::string& xml, bool indent = false) const;
    // Reads a document whose root element is this class's. 0 on success; on failure the message is
    // unchanged and errorText() names the element at fault. Unknown elements and attributes are
    // skipped. The input is never read past its terminating NUL (or `size` bytes).
    int unserialize(const char* xml);
    int unserialize(const std::string& xml);
    int unserialize(const char* data, std::size_t size);
    // The text of the last failed serialize or unserialize on this object (empty when none failed).
    const std::string& errorText() const;

    // Same class and equal members, including which are set.
    bool equals(const CNMessageBase& other) const;

    // Generic access by member id. Reads of an unknown id or of a member of another kind give the
    // empty value; writes return false and change nothing.
    bool isSet(int id) const;                // lists: true when not empty
    long long getint64(int id) const;        // int32 and int64 members
    bool setint64(int id, long long value);  // int32 members refuse values out of their range
    std::string getstring(int id) const;
    bool setstring(int id, const std::string& value);
    std::list<int> getlistint(int id) const;  // int32 lists
    bool setlistint(int id, const std::list<int>& values);
    std::list<long long> getlistint64(int id) const;                // int32 and int64 lists
    bool setlistint64(int id, const std::list<long long>& values);  // int32 lists refuse out of range
    std::list<std::string> getliststring(int id) const;
    bool setliststring(int id, const std::list<std::string>& values);
    // The list of nested messages, or null when `id` is not such a list.
    CNListBase* getlistobject(int id);
    const CNListBase* getlistobject(int id) const;
    // Replaces the list with copies of `items`; false (nothing changed) when one is of another class.
    bool setlistobject(int id, const std::vector<std::unique_ptr<CNMessageBase>>& items);
    bool setlistobject(int id, const CNListBase& items);
    // The nested message, marked set (mutable form) or null when not set (const form); null when
    // `id` is not a nested message.
    CNMessageBase* getObjectAccessor(int id);
    const CNMessageBase* getObjectAccessor(int id) const;

  protected:
    CNMessageBase() = default;
    // A copy takes the members, not the last failure's text.
    CNMessageBase(const CNMessageBase& o) : m_set(o.m_set) {}
    CNMessageBase(CNMessageBase&&) = default;
    CNMessageBase& operator=(const CNMessageBase& o) {
        m_set = o.m_set;
        return *this;
    }
    CNMessageBase& operator=(CNMessageBase&&) = default;

    // The address of member `index` (position in info().members): the scalar, std::string,
    // std::vector of scalars, CNMessageBase or CNListBase that holds it.
    virtual void* memberAddress(std::size_t index) = 0;
    const void* memberAddress(std::size_t index) const {
        return const_cast<CNMessageBase*>(this)->memberAddress(index);
    }
    // Replaces this message by `other`, which is of the same class.
    virtual void take(CNMessageBase& other) = 0;

    bool isSetAt(std::size_t index) const { return (m_set >> index) & 1u; }
    void markSet(std::size_t index) { m_set |= std::uint64_t(1) << index; }

  private:
    friend class CNMessageCodec;
    void fail(std::string text) const;

    std::uint64_t m_set = 0;  // scalars and nested messages: bit per member index
    // Made on the first failure only: most messages never fail, and lists hold many of them.
    mutable std::unique_ptr<std::string> m_error;
};

// The list type of a generated class's message-list members: a std::vector with a generic face.
template <class T>
class CNList final : public CNListBase {
  public:
    using value_type = T;
    using iterator = typename std::vector<T>::iterator;
    using const_iterator = typename std::vector<T>::const_iterator;

    const CNMessageInfo& itemInfo() const override { return T::descriptor(); }
    std::size_t size() const override { return m_items.size(); }
    CNMessageBase& item(std::size_t i) override { return m_items[i]; }
    const CNMessageBase& item(std::size_t i) const override { return m_items[i]; }
    CNMessageBase& append() override { return add(); }
    bool append(const CNMessageBase& m) override {
        if (&m.info() != &T::descriptor()) return false;
        m_items.push_back(static_cast<const T&>(m));
        return true;
    }
    void clear() override { m_items.clear(); }

    T& add() { return m_items.emplace_back(); }
    void push_back(const T& v) { m_items.push_back(v); }
    void push_back(T&& v) { m_items.push_back(std::move(v)); }
    T& operator[](std::size_t i) { return m_items[i]; }
    const T& operator[](std::size_t i) const { return m_items[i]; }
    T& front() { return m_items.front(); }
    const T& front() const { return m_items.front(); }
    iterator begin() { return m_items.begin(); }
    iterator end() { return m_items.end(); }
    const_iterator begin() const { return m_items.begin(); }
    const_iterator end() const { return m_items.end(); }
    void reserve(std::size_t n) override { m_items.reserve(n); }

  private:
    std::vector<T> m_items;
};

// The generated classes.
#include "xmlmsg/MessageClasses.h"
