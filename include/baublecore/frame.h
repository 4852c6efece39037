// The library's free functions: its version and in-place byte swapping for
// data written in the other byte order.
#pragma once

#include "baublecore/api.h"

// "1.00a - " followed by the build's date and time, as "Jun 10 2002 16:36:15".
BC_API const char* BCSysGetVersion();

// Exchanges the two bytes at p.
BC_API void SwapWord(void* p);
// Swaps the bytes of n consecutive 16-bit words; nothing when n <= 0.
BC_API void SwapNWords(void* p, int n);
// Reverses the bytes of n consecutive 32-bit words; nothing when n <= 0.
BC_API void SwapN32s(void* p, int n);
