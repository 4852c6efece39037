#include "baublecore/frame.h"

#include <cstdint>

void SwapWord(void* p) { SwapNWords(p, 1); }

void SwapNWords(void* p, int n) {
    auto* b = static_cast<uint8_t*>(p);
    for (int i = 0; i < n; ++i, b += 2) {
        uint8_t t = b[0];
        b[0] = b[1];
        b[1] = t;
    }
}

void SwapN32s(void* p, int n) {
    auto* b = static_cast<uint8_t*>(p);
    for (int i = 0; i < n; ++i, b += 4) {
        uint8_t t0 = b[0], t1 = b[1];
        b[0] = b[3];
        b[1] = b[2];
        b[2] = t1;
        b[3] = t0;
    }
}
