// Sound through SDL2_mixer, one mixer channel for each voice. The mixer's
// callbacks run on its own thread and only queue notes for the task loop.
#pragma once

#include <cstdint>

struct PXSoundChunk;
struct PXWaveInfo;

namespace pxsdl {

// Each returns as the PXBackend operation of the same name asks. The mixer
// is opened at the first load; if it cannot be, loads give null and pxbase
// simulates the voices.
PXSoundChunk* soundLoad(const PXWaveInfo& wave);
void soundUnload(PXSoundChunk* chunk);
int soundStart(PXSoundChunk* chunk, uint32_t voice, int playCount, int volume, int pan);
void soundStop(uint32_t voice);
void soundPause(uint32_t voice, int pause);
void soundSetVolume(uint32_t voice, int volume, int pan);
// Closes the mixer if it was opened.
void soundShutdown();

}  // namespace pxsdl
