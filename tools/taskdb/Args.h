#pragma once
// Numeric arguments: decimal digits only, within [min, max] of the target, else a usage error naming
// the argument (never clamped or wrapped).
#include <CLI/CLI.hpp>
#include <charconv>
#include <limits>
#include <string>
#include <vector>

template <class T>
T parseNumber(const std::string& name, const std::string& text, T min, T max) {
    T value{};
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, value);
    if (ec == std::errc::result_out_of_range ||
        (ec == std::errc() && ptr == end && (value < min || value > max)))
        throw CLI::ValidationError(name, "'" + text + "' is out of range (" + std::to_string(min) + " to " +
                                             std::to_string(max) + ")");
    if (ec != std::errc() || ptr != end || text.empty())
        throw CLI::ValidationError(name, "'" + text + "' is not a whole number");
    return value;
}

template <class T>
CLI::Option* addNumber(CLI::App* cmd, const std::string& name, T& target, const std::string& description,
                       T min = std::numeric_limits<T>::min(), T max = std::numeric_limits<T>::max()) {
    std::string label = name.substr(name.find_first_not_of('-'));
    auto* opt = cmd->add_option_function<std::string>(
        name,
        [&target, label, min, max](const std::string& text) { target = parseNumber(label, text, min, max); },
        description);
    return opt->type_name("NUMBER");
}

template <class T>
CLI::Option* addNumbers(CLI::App* cmd, const std::string& name, std::vector<T>& target,
                        const std::string& description, T min = std::numeric_limits<T>::min(),
                        T max = std::numeric_limits<T>::max()) {
    std::string label = name;
    auto* opt = cmd->add_option_function<std::vector<std::string>>(
        name,
        [&target, label, min, max](const std::vector<std::string>& texts) {
            target.clear();
            for (const auto& t : texts) target.push_back(parseNumber(label, t, min, max));
        },
        description);
    return opt->type_name("NUMBER");
}

// The id ranges of the store's columns.
constexpr long long kMaxJobId = std::numeric_limits<long long>::max();
constexpr unsigned long long kMaxTaskId =
    std::numeric_limits<int>::max();  // task and subtask ids are int columns
constexpr int kFirstFileType = 150001;
constexpr int kLastFileType = 150014;

// A VALUE argument: "-" reads it from standard input (one trailing newline dropped). A value holding a
// NUL byte is refused: the store keeps text, and would cut it there.
std::string valueArgument(const std::string& name, const std::string& given);
