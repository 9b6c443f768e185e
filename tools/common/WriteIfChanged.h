#pragma once
// The generators' one way of writing an output: a file is rewritten only when its content changes, so an
// unchanged description recompiles nothing.
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace gentool {

// Creates the parent folders; false when the file cannot be written.
inline bool writeIfChanged(const std::filesystem::path& path, const std::string& text) {
    std::ifstream in(path, std::ios::binary);
    if (in) {
        std::ostringstream old;
        old << in.rdbuf();
        if (old.str() == text) return true;
    }
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    return static_cast<bool>(out.flush());
}

}  // namespace gentool
