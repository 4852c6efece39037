// PXWaveSound: a sound from a WAV file held by a stream.
//
// The RIFF WAVE layout read here: "RIFF", u32 size, "WAVE", then chunks of a
// four-byte id and a u32 little-endian size, padded to an even length. The
// "fmt " chunk (at least 16 bytes) gives u16 format (1 PCM, 3 IEEE float,
// 0xFFFE extensible), u16 channels, u32 sample rate, u32 byte rate, u16
// block align, u16 bits per sample; "data" holds the samples. A file that
// ends inside a chunk keeps what it has; anything else malformed is refused.
#pragma once

#include <cstdint>

#include "pxbase/export.h"
#include "pxbase/sound.h"

class PXIStream;

// A WAV file, checked and described. Pointers point into the bytes parsed.
struct PXWaveInfo {
    uint16_t format = 0;  // 1 PCM or 3 IEEE float (extensible files give theirs)
    uint16_t channels = 0;
    uint32_t sampleRate = 0;
    uint16_t blockAlign = 0;
    uint16_t bitsPerSample = 0;
    const uint8_t* file = nullptr;  // the whole file
    uint32_t fileSize = 0;
    const uint8_t* samples = nullptr;  // the data chunk, whole blocks only
    uint32_t samplesSize = 0;
    uint32_t lengthMs = 0;  // rounded up, so a sound that has samples lasts 1 ms at least
};

// Checks the bytes as a WAV file: PCM of 8, 16, 24 or 32 bits or float of 32
// bits, 1 to 8 channels, 1 Hz to 768 kHz, a consistent block size, and a
// data chunk. Returns 1 and fills `info`, or 0 with a reason in `why` (when
// not null; at most whySize bytes, terminated).
PX_API int PXWaveParse(const uint8_t* bytes, uint32_t size, PXWaveInfo* info, char* why,
                       uint32_t whySize);

class PX_API PXWaveSound : public PXSound {
public:
    static const char* const className;  // "PXWaveSound"

    // A sound on the stream. The stream stays the caller's and must outlive
    // the sound's cue(): cue reads it whole and keeps its own copy, so the
    // stream is not touched after that. `b` is kept for the contract.
    PXWaveSound(PXIStream* stream, bool b);
    ~PXWaveSound() override;

    const char* isA() const override;
    // Reads and checks the WAV and hands it to the backend. False, with the
    // reason in lastError(), when there is no stream or the data is no WAV
    // this can play. Time the backend spent is reported to
    // SoundManager::interruptedList.
    bool cue() override;
    bool decue() override;
    int getChannels() const override;
    uint32_t getLengthMSec() const override;

    const char* lastError() const { return error_; }
    const PXWaveInfo& info() const { return info_; }

private:
    PXIStream* stream_;
    uint8_t* bytes_ = nullptr;  // our copy of the file while cued
    PXWaveInfo info_;
    char error_[96] = "";
};
