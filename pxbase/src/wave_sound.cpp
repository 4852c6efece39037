// WAV files: the parser every backend relies on, and the sound made from a
// stream. The parser reads only inside the bytes it was given: every chunk
// header is checked to fit before it is read, and a chunk that claims more
// than the file holds is cut to what is there.
#include "pxbase/wave_sound.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "pxbase/backend.h"
#include "pxbase/stream.h"
#include "pxbase/sys.h"

namespace {

uint16_t u16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

uint32_t u32(const uint8_t* p) {
    return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

int refuse(char* why, uint32_t whySize, const char* reason) {
    if (why && whySize > 0) std::snprintf(why, whySize, "%s", reason);
    return 0;
}

}  // namespace

int PXWaveParse(const uint8_t* bytes, uint32_t size, PXWaveInfo* info, char* why, uint32_t whySize) {
    if (!info) return refuse(why, whySize, "no place for the result");
    *info = PXWaveInfo{};
    if (!bytes || size < 12) return refuse(why, whySize, "too short for a WAV file");
    if (std::memcmp(bytes, "RIFF", 4) != 0 || std::memcmp(bytes + 8, "WAVE", 4) != 0)
        return refuse(why, whySize, "not a RIFF WAVE file");
    const uint8_t* fmt = nullptr;
    uint32_t fmtSize = 0;
    const uint8_t* data = nullptr;
    uint32_t dataSize = 0;
    uint64_t at = 12;
    while (at + 8 <= size) {
        const uint8_t* chunk = bytes + at;
        uint64_t body = at + 8;
        uint64_t len = u32(chunk + 4);
        uint64_t avail = size - body;
        uint32_t kept = static_cast<uint32_t>(len < avail ? len : avail);
        if (std::memcmp(chunk, "fmt ", 4) == 0 && !fmt) {
            fmt = bytes + body;
            fmtSize = kept;
        } else if (std::memcmp(chunk, "data", 4) == 0 && !data) {
            data = bytes + body;
            dataSize = kept;
        }
        at = body + len + (len & 1);
    }
    if (!fmt || fmtSize < 16) return refuse(why, whySize, "no format chunk");
    if (!data) return refuse(why, whySize, "no data chunk");
    uint16_t format = u16(fmt);
    uint16_t channels = u16(fmt + 2);
    uint32_t rate = u32(fmt + 4);
    uint16_t align = u16(fmt + 12);
    uint16_t bits = u16(fmt + 14);
    if (format == 0xFFFE) {
        // Extensible: the real format is the first word of the sub-format.
        if (fmtSize < 26) return refuse(why, whySize, "short extensible format chunk");
        format = u16(fmt + 24);
    }
    if (format != 1 && format != 3) return refuse(why, whySize, "not PCM or float samples");
    if (format == 1 && bits != 8 && bits != 16 && bits != 24 && bits != 32)
        return refuse(why, whySize, "unsupported sample size");
    if (format == 3 && bits != 32) return refuse(why, whySize, "unsupported float sample size");
    if (channels < 1 || channels > 8) return refuse(why, whySize, "unsupported channel count");
    if (rate < 1 || rate > 768000) return refuse(why, whySize, "unsupported sample rate");
    if (align != channels * (bits / 8)) return refuse(why, whySize, "inconsistent block size");
    info->format = format;
    info->channels = channels;
    info->sampleRate = rate;
    info->blockAlign = align;
    info->bitsPerSample = bits;
    info->file = bytes;
    info->fileSize = size;
    info->samples = data;
    info->samplesSize = dataSize - dataSize % align;  // whole blocks only
    uint64_t blocks = info->samplesSize / align;
    info->lengthMs = static_cast<uint32_t>((blocks * 1000 + rate - 1) / rate);
    return 1;
}

const char* const PXWaveSound::className = "PXWaveSound";

PXWaveSound::PXWaveSound(PXIStream* stream, bool) : stream_(stream) {}

PXWaveSound::~PXWaveSound() {
    // The base destructor stops the voices; the backend's copy goes first,
    // then ours.
    stopVoices(false);
    releaseChunk();
    std::free(bytes_);
}

const char* PXWaveSound::isA() const { return className; }

bool PXWaveSound::cue() {
    if (cued_) return true;
    error_[0] = 0;
    if (!stream_) {
        std::snprintf(error_, sizeof error_, "no stream");
        return false;
    }
    // A stream the host already brought in is used as it is; one we bring in
    // is emptied again once copied.
    bool fetched = false;
    if (!stream_->data) {
        stream_->getData(0);
        fetched = true;
    }
    uint32_t size = stream_->data ? stream_->size : 0;
    uint8_t* copy = size ? static_cast<uint8_t*>(std::malloc(size)) : nullptr;
    if (copy) std::memcpy(copy, stream_->data, size);
    if (fetched) stream_->reset();
    if (!copy) {
        std::snprintf(error_, sizeof error_, "the stream is empty");
        return false;
    }
    PXWaveInfo parsed;
    if (!PXWaveParse(copy, size, &parsed, error_, sizeof error_)) {
        std::free(copy);
        return false;
    }
    std::free(bytes_);
    bytes_ = copy;
    info_ = parsed;
    uint32_t before = PXSysMilliSecCount();
    chunk_ = PXSysBackend().soundLoad(info_);
    SoundManager::interrupted(PXSysMilliSecCount() - before);
    cued_ = true;
    return true;
}

bool PXWaveSound::decue() {
    PXSound::decue();
    std::free(bytes_);
    bytes_ = nullptr;
    info_ = PXWaveInfo{};
    return true;
}

int PXWaveSound::getChannels() const { return info_.channels; }
uint32_t PXWaveSound::getLengthMSec() const { return info_.lengthMs; }
