// The compiled-script file: the statement table, the code words and the
#include <cstdio>
// heap behind the three fixed variables.
#include "baublecore/thread.h"
#include "pxbase/stream.h"
#include "pxbase/sys.h"

int YThread::save(const char*) const { return 0; }

int YThread::load(const char* path, int) {
    char text[160];
    std::snprintf(text, sizeof text, "%.120s: compiled scripts cannot be read yet", path);
    PXSysUserMessage(text, 0x3000, nullptr);
    return 0;
}

int YThread::load(PXIStream*, int) {
    PXSysUserMessage("compiled scripts cannot be read yet", 0x3000, nullptr);
    return 0;
}
