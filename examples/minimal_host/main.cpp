// The smallest host: the library loads, sets itself up, and tells its version.
#include <baublecore/baublecore.h>

#include <cstdio>

int main() {
    std::printf("baublecore %s\n", BCSysGetVersion());
    PXApp app;  // the headless backend unless the host installs another
    return PXApp::theApp == &app ? 0 : 1;
}
