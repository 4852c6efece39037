// The stress build's report of a broken invariant. It writes straight to
// standard error: the library has no other log, and the process ends here.
#include "frame/stress.h"

#include <cstdio>
#include <cstdlib>

void bcframe::assertionFailed(const char* condition, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: invariant broken: %s\n", file, line, condition);
    std::fflush(stderr);
    std::abort();
}
