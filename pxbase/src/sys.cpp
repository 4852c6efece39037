// System calls routed through the backend and the hooks a host installs.
#include "pxbase/sys.h"

#include <cstdlib>

#include "pxbase/backend.h"

namespace {
PXBackend* installed = nullptr;
PXUserMessageHandler messageHandler = nullptr;
void* messageContext = nullptr;
PXExitHook exitHook = nullptr;
void* exitContext = nullptr;
}  // namespace

PXBackend& PXSysBackend() { return installed ? *installed : PXHeadlessBackend(); }

void PXSysSetBackend(PXBackend* backend) { installed = backend; }

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

void PXSysSetExitHook(PXExitHook hook, void* context) {
    exitHook = hook;
    exitContext = context;
}

void PXSysExit(int code) {
    if (exitHook) exitHook(code, exitContext);
    std::exit(code);
}
