// System calls routed through the backend and the hooks a host installs, and
// the one choice of backend.
#include "pxbase/sys.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "pxbase/backend.h"
#include "pxbase/sound.h"
#include "pxbase/window.h"

namespace {
PXBackend* installed = nullptr;
PXUserMessageHandler messageHandler = nullptr;
void* messageContext = nullptr;
PXExitHook exitHook = nullptr;
void* exitContext = nullptr;
const char* chosen = nullptr;

// What libpxbase-sdl exports: the backend, or null with the reason.
using SdlOpenFct = PXBackend* (*)(char* why, size_t whySize);

// Loads libpxbase-sdl from the folder libpxbase itself was loaded from (so
// a build tree and an installed tree both find their own), else by the
// usual search.
PXBackend* openSdl(std::string& why) {
    const char* file = "libpxbase-sdl.so.1";
    void* lib = nullptr;
    Dl_info self;
    if (dladdr(reinterpret_cast<void*>(&PXSysChooseBackend), &self) && self.dli_fname) {
        std::string dir(self.dli_fname);
        size_t slash = dir.rfind('/');
        if (slash != std::string::npos) lib = dlopen((dir.substr(0, slash + 1) + file).c_str(), RTLD_NOW);
    }
    if (!lib) lib = dlopen(file, RTLD_NOW);
    if (!lib) {
        const char* e = dlerror();
        why = e ? e : "cannot load libpxbase-sdl";
        return nullptr;
    }
    // The library stays loaded for the life of the process: its backend is
    // in use until then.
    auto open = reinterpret_cast<SdlOpenFct>(dlsym(lib, "PXSdlBackendOpen"));
    if (!open) {
        why = "libpxbase-sdl has no backend";
        return nullptr;
    }
    char reason[256] = "";
    PXBackend* backend = open(reason, sizeof reason);
    if (!backend) why = reason;
    return backend;
}

}  // namespace

PXBackend& PXSysBackend() { return installed ? *installed : PXHeadlessBackend(); }

void PXSysSetBackend(PXBackend* backend) {
    if (backend == installed) return;
    // Windows and sounds hold things the old backend made.
    if (PXWindow::windowAt(0) || SoundManager::soundCount() > 0) {
        std::fprintf(stderr, "pxbase: backend not changed while windows or sounds exist\n");
        return;
    }
    installed = backend;
}

const char* PXSysChooseBackend(const char* name) {
    if (!name) name = "";
    if (chosen) {
        if (std::strcmp(name, chosen) != 0)
            std::fprintf(stderr, "pxbase: backend already chosen: %s\n", chosen);
        return PXSysBackend().name();
    }
    if (std::strcmp(name, "sdl") == 0) {
        std::string why;
        if (PXBackend* sdl = openSdl(why)) {
            PXSysSetBackend(sdl);
            chosen = "sdl";
            return PXSysBackend().name();
        }
        std::fprintf(stderr, "pxbase: no display (%s): running headless\n", why.c_str());
    } else if (std::strcmp(name, "headless") != 0) {
        std::fprintf(stderr, "pxbase: unknown backend '%s': running headless\n", name);
    }
    PXSysSetBackend(nullptr);
    chosen = std::strcmp(name, "sdl") == 0 ? "sdl" : "headless";
    return PXSysBackend().name();
}

void PXBackend::showMessage(const char* text, unsigned, const char* title) {
    if (title && *title)
        std::fprintf(stderr, "%s: %s\n", title, text);
    else
        std::fprintf(stderr, "%s\n", text);
    std::fflush(stderr);
}

int PXSysUserMessage(const char* text, unsigned flags, const char* title) {
    if (!text) text = "";
    PXSysBackend().showMessage(text, flags, title);
    if (messageHandler) messageHandler(text, flags, title, messageContext);
    return 1;
}

void PXSysSetUserMessageHandler(PXUserMessageHandler handler, void* context) {
    messageHandler = handler;
    messageContext = context;
}

uint32_t PXSysMilliSecCount() { return PXSysBackend().milliSecCount(); }

uint32_t PXSysTickCount() { return PXSysBackend().tickCount(); }

int PXSysNumColors(int display) { return PXSysBackend().displayDepth(display); }

void PXSysSetExitHook(PXExitHook hook, void* context) {
    exitHook = hook;
    exitContext = context;
}

void PXSysExit(int code) {
    if (exitHook) exitHook(code, exitContext);
    std::exit(code);
}
