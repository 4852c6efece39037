#include "pxbase/file_chooser.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace {

void askOnTerminal(char* out, size_t size, const char* title, const char* pattern, int forSave,
                   void*) {
    out[0] = '\0';
    if (!::isatty(STDIN_FILENO)) return;  // nobody to ask: as if cancelled
    std::fprintf(stderr, "%s (%s) to %s: ", title ? title : "", pattern ? pattern : "",
                 forSave ? "save" : "open");
    std::fflush(stderr);
    if (!std::fgets(out, static_cast<int>(size), stdin)) {
        out[0] = '\0';
        return;
    }
    out[std::strcspn(out, "\r\n")] = '\0';
}

PXFileChooser chooser = askOnTerminal;
void* chooserContext = nullptr;

}  // namespace

void PXSysSetFileChooser(PXFileChooser c, void* context) {
    chooser = c ? c : askOnTerminal;
    chooserContext = c ? context : nullptr;
}

void PXSysChooseFile(char* out, size_t size, const char* title, const char* pattern, int forSave) {
    if (!out || size == 0) return;
    out[0] = '\0';
    chooser(out, size, title, pattern, forSave, chooserContext);
    out[size - 1] = '\0';
}
