#pragma once
// Splitting of delimiter-separated text.
#include <string>
#include <vector>

#include "TaskExport.h"

// Predicate that answers true at the n-th delimiter it is shown; with n = 0 it answers true at once.
// Stateful: use one instance per search. Not shared between threads.
struct TASKDB_API NthDelimiter {
    int count;  // delimiters seen so far
    int n;      // the delimiter wanted
    char delimiter;

    NthDelimiter(int wanted, char delim) : count(0), n(wanted), delimiter(delim) {}
    bool operator()(char c);
};

// One parser per text; it owns a copy of the text and the components it produces.
// An instance is not safe for concurrent use; distinct instances are independent.
class TASKDB_API StringParser {
  public:
    StringParser(const std::string& text, char delimiter) : m_text(text), m_delimiter(delimiter) {}

    // Appends the components of the text to the component list and returns that list (owned by the parser).
    // "a,,b" gives a, "", b; "a," gives a, ""; with n > 0 the list is padded with empty texts to n components
    // made by this call, so "" with n = 5 gives five empty texts. Never fails.
    // The list is not cleared: a second call appends the same components again.
    std::vector<std::string>& getComponents(int n = 0);

  private:
    std::vector<std::string> m_components;
    std::string m_text;
    char m_delimiter;
};
