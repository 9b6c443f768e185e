#pragma once
#include <string>

// Writes the demo schedule into an empty store with the reference schema, in one transaction.
// 0, or the failing statement's code with its text in err (nothing is then written).
int seedDemoStore(std::string& err);
