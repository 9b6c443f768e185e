#include "tools/taskdb/Args.h"

#include <iostream>
#include <iterator>

std::string valueArgument(const std::string& name, const std::string& given) {
    std::string value = given;
    if (given == "-") {
        value.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
        if (!value.empty() && value.back() == '\n') value.pop_back();
    }
    if (value.find('\0') != std::string::npos)
        throw CLI::ValidationError(name, "the value holds a NUL byte at offset " +
                                             std::to_string(value.find('\0')) +
                                             "; the store keeps text only");
    return value;
}
