// One entry of an animation sequence, and the command codes an entry's `cel`
// can hold. Sequences are used where they lie in the loaded file, so an
// entry is exactly the eight bytes of the file: four signed 16-bit fields in
// the host's order once the loader has read the file.
#pragma once

#include <cstdint>

struct PXAOSequence {
    int16_t x;      // frame: offset from the sequence's origin; user command: first parameter
    int16_t y;      // frame: offset from the sequence's origin; user command: second parameter
    int16_t cel;    // 0 or more: a frame of that cel; negative: a command
    int16_t param;  // frame: milliseconds at 0 frames per second; sound: its id; user: third parameter
};
static_assert(sizeof(PXAOSequence) == 8, "an entry is the eight bytes of the file");

// Commands in `cel`. -500 and below are user commands; other negative
// values are passed over.
enum PXAOCommand : int16_t {
    kAOEnd = -1,
    kAOLoop = -2,
    kAOHold = -4,
    kAOSound = -101,
};
