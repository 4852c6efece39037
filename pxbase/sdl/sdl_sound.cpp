// Voices on SDL2_mixer channels.
//
// Threads and locks. The mixer calls us on its audio thread, with its own
// audio lock held: the post-mix hook after each block it mixed, and the
// channel-finished callback when a channel stops (also from inside
// Mix_HaltChannel on our thread). Both only read and write the channel table
// under `tableLock` and queue a note that the task loop delivers. The loop
// thread never calls into the mixer while it holds `tableLock`, so the two
// locks are never waited for in opposite orders.
//
// A channel is handed to a new voice only when its table entry is empty
// (the finished callback of its last voice has run) and the mixer says it is
// not playing; so a late callback can never be taken for the new voice.
#include "sdl_sound.h"

#include <SDL.h>
#include <SDL_mixer.h>

#include <atomic>
#include <mutex>

#include "pxbase/sound.h"
#include "pxbase/wave_sound.h"

struct PXSoundChunk {
    Mix_Chunk* chunk;
};

namespace pxsdl {
namespace {

constexpr int kMaxChannels = 256;
constexpr int kFirstChannels = 32;

enum class MixerState { kClosed, kOpen, kFailed };
MixerState state = MixerState::kClosed;
std::atomic<int> allocated{0};  // read by the post-mix hook too

std::mutex tableLock;
uint32_t channelVoice[kMaxChannels];  // voice on each channel, 0 for none
bool channelBegun[kMaxChannels];

bool channelHalting[kMaxChannels];  // stopped by us: no beginning to infer

void channelFinished(int channel) {
    if (channel < 0 || channel >= kMaxChannels) return;
    uint32_t voice;
    bool begun;
    {
        std::lock_guard<std::mutex> hold(tableLock);
        voice = channelVoice[channel];
        // A sound shorter than one block can end before the post-mix hook
        // saw it playing; having played out, it was heard.
        begun = channelBegun[channel] || channelHalting[channel];
        channelVoice[channel] = 0;
        channelHalting[channel] = false;
    }
    if (!voice) return;
    if (!begun) SoundManager::noteBegun(voice);
    SoundManager::noteFinished(voice);
}

// After each mixed block: a voice whose channel is playing now was in that
// block, so this is when it is really heard.
void postMix(void*, Uint8*, int) {
    uint32_t begun[kMaxChannels];
    int n = 0;
    {
        std::lock_guard<std::mutex> hold(tableLock);
        for (int c = 0; c < allocated && c < kMaxChannels; ++c) {
            if (!channelVoice[c] || channelBegun[c] || !Mix_Playing(c) || Mix_Paused(c)) continue;
            channelBegun[c] = true;
            begun[n++] = channelVoice[c];
        }
    }
    for (int i = 0; i < n; ++i) SoundManager::noteBegun(begun[i]);
}

bool openMixer() {
    if (state == MixerState::kOpen) return true;
    if (state == MixerState::kFailed) return false;
    state = MixerState::kFailed;
    if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) return false;
    if (Mix_OpenAudio(44100, AUDIO_S16SYS, 2, 1024) != 0) {
        SDL_QuitSubSystem(SDL_INIT_AUDIO);
        return false;
    }
    allocated = Mix_AllocateChannels(kFirstChannels);
    Mix_ChannelFinished(channelFinished);
    Mix_SetPostMix(postMix, nullptr);
    state = MixerState::kOpen;
    return true;
}

// The channel of a voice, or -1. Only this thread hands channels out, so
// the answer stays true until it plays out by itself, after which halting
// or pausing the channel does nothing.
int channelOf(uint32_t voice) {
    std::lock_guard<std::mutex> hold(tableLock);
    for (int c = 0; c < allocated && c < kMaxChannels; ++c)
        if (channelVoice[c] == voice) return c;
    return -1;
}

void applyVolume(int channel, int volume, int pan) {
    Mix_Volume(channel, volume * MIX_MAX_VOLUME / 100);
    // Full on both sides at the centre, fading one side towards the other.
    int left = pan > 0 ? 255 * (100 - pan) / 100 : 255;
    int right = pan < 0 ? 255 * (100 + pan) / 100 : 255;
    Mix_SetPanning(channel, static_cast<Uint8>(left), static_cast<Uint8>(right));
}

}  // namespace

PXSoundChunk* soundLoad(const PXWaveInfo& wave) {
    if (!wave.file || !openMixer()) return nullptr;
    SDL_RWops* rw = SDL_RWFromConstMem(wave.file, static_cast<int>(wave.fileSize));
    Mix_Chunk* chunk = rw ? Mix_LoadWAV_RW(rw, 1) : nullptr;
    // A file we checked but the mixer cannot read is played as a simulated
    // voice rather than refused: its timing still holds.
    if (!chunk) return nullptr;
    return new PXSoundChunk{chunk};
}

void soundUnload(PXSoundChunk* chunk) {
    if (!chunk) return;
    // Halts the channels still playing it; their ends are dropped, as their
    // voices are gone.
    Mix_FreeChunk(chunk->chunk);
    delete chunk;
}

int soundStart(PXSoundChunk* chunk, uint32_t voice, int playCount, int volume, int pan) {
    if (!chunk || state != MixerState::kOpen) return 0;
    int channel = -1;
    for (int round = 0; channel < 0 && round < 2; ++round) {
        for (int c = 0; c < allocated && c < kMaxChannels && channel < 0; ++c) {
            bool empty;
            {
                std::lock_guard<std::mutex> hold(tableLock);
                empty = channelVoice[c] == 0;
            }
            if (empty && !Mix_Playing(c)) channel = c;
        }
        if (channel < 0 && allocated < kMaxChannels)
            allocated = Mix_AllocateChannels(allocated * 2 > kMaxChannels ? kMaxChannels : allocated * 2);
    }
    if (channel < 0) return 0;
    {
        std::lock_guard<std::mutex> hold(tableLock);
        channelVoice[channel] = voice;
        channelBegun[channel] = false;
        channelHalting[channel] = false;
    }
    applyVolume(channel, volume, pan);
    int loops = playCount == 0 ? -1 : playCount - 1;
    if (Mix_PlayChannel(channel, chunk->chunk, loops) < 0) {
        std::lock_guard<std::mutex> hold(tableLock);
        channelVoice[channel] = 0;
        return 0;
    }
    return 1;
}

void soundStop(uint32_t voice) {
    if (state != MixerState::kOpen) return;
    int channel = channelOf(voice);
    if (channel < 0) return;
    {
        std::lock_guard<std::mutex> hold(tableLock);
        if (channelVoice[channel] == voice) channelHalting[channel] = true;
    }
    Mix_HaltChannel(channel);
}

void soundPause(uint32_t voice, int pause) {
    if (state != MixerState::kOpen) return;
    int channel = channelOf(voice);
    if (channel < 0) return;
    if (pause)
        Mix_Pause(channel);
    else
        Mix_Resume(channel);
}

void soundSetVolume(uint32_t voice, int volume, int pan) {
    if (state != MixerState::kOpen) return;
    int channel = channelOf(voice);
    if (channel >= 0) applyVolume(channel, volume, pan);
}

void soundShutdown() {
    if (state != MixerState::kOpen) return;
    // Halted while the callback is still in place, so every voice that was
    // playing is reported finished.
    Mix_SetPostMix(nullptr, nullptr);
    Mix_HaltChannel(-1);
    Mix_ChannelFinished(nullptr);
    Mix_CloseAudio();
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
    state = MixerState::kClosed;
}

}  // namespace pxsdl
