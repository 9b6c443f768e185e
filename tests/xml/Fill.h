#pragma once
// Fills any message with random values through its descriptor table, so that tests cover every
// generated class without naming them.
#include <random>
#include <string>

#include "platform/xml/Messages.h"

namespace xmltest {

// Sets every member (lists get 0 to 3 items, nested messages down to `depth` levels).
void fill(CNMessageBase& msg, std::mt19937& rng, int depth = 4);

// A text with the characters XML must escape, blanks at its ends, and a non-ASCII letter.
std::string awkwardText(std::mt19937& rng);

}  // namespace xmltest
