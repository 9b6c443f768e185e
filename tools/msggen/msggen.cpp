// Turns platform/xml/messages.def into the message classes:
//   msggen MESSAGES.DEF OUTDIR
// writes OUTDIR/include/xmlmsg/MessageClasses.h and OUTDIR/message_classes.cpp. A file is rewritten
// only when its content changes, so an unchanged description recompiles nothing.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Model.h"
#include "tools/common/WriteIfChanged.h"

namespace fs = std::filesystem;

using gentool::writeIfChanged;

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
