// Turns platform/xml/messages.def into the message classes:
//   msggen MESSAGES.DEF OUTDIR
// writes OUTDIR/include/xmlmsg/MessageClasses.h and OUTDIR/message_classes.cpp. A file is rewritten
// only when its content changes, so an unchanged description recompiles nothing.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Model.h"

namespace fs = std::filesystem;

namespace {

bool writeIfChanged(const fs::path& path, const std::string& text) {
    std::ifstream in(path, std::ios::binary);
    if (in) {
        std::ostringstream old;
        old << in.rdbuf();
        if (old.str() == text) return true;
    }
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    return static_cast<bool>(out.flush());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: msggen MESSAGES.DEF OUTDIR\n");
        return 2;
    }
    std::vector<msggen::Message> messages;
    std::string error;
    if (!msggen::parseMessages(argv[1], messages, error)) {
        std::fprintf(stderr, "msggen: %s\n", error.c_str());
        return 1;
    }
    const fs::path out = argv[2];
    bool ok = writeIfChanged(out / "include/xmlmsg/MessageClasses.h", msggen::classesHeader(messages));
    ok = writeIfChanged(out / "message_classes.cpp", msggen::classesSource(messages)) && ok;
    if (!ok) {
        std::fprintf(stderr, "msggen: cannot write under %s\n", argv[2]);
        return 1;
    }
    return 0;
}
