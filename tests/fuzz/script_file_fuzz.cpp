// libFuzzer target for the compiled-script loader. Every input is taken as a
// compiled script (its first byte made 1 or 2, so both byte orders are
// tried) and given to a thread through a memory stream; a script that loads
// is run for a few hundred statements, so that what the loader accepted is
// also what the interpreter can run. Refusals still reach standard error
// through the backend; "say" writes to a scratch directory.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "baublecore/baublecore.h"

namespace {

constexpr int kSteps = 300;
long inputs = 0;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    char dir[] = "/tmp/bc-script-fuzz-XXXXXX";
    if (!mkdtemp(dir) || chdir(dir) != 0) std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    std::vector<uint8_t> bytes(data, data + size);
    bytes[0] = (bytes[0] & 1) ? 1 : 2;
    PXIStreamMemory stream(bytes.data(), bytes.size());
    {
        YThread thread(&stream);
        if (thread) {
            thread.go();
            // A thread that asks to leave its script would be ended by the
            // tick; the loop ends there too.
            for (int i = 0; i < kSteps && !YThread::leavingThread; ++i) thread.step(nullptr);
        }
    }
    if (++inputs % 1000 == 0) std::remove("debug.txt");
    return 0;
}
