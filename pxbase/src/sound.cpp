// Sounds and their voices, and the sound manager that reports on them.
//
// Every report reaches a sound through SoundManager::service() on the loop's
// thread. Reports are queued by voice id, never by pointer: a report for a
// voice that no longer exists (its sound was destroyed, or it was already
// reported finished) finds nothing and is dropped.
#include "pxbase/sound.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <mutex>
#include <vector>

#include "pxbase/backend.h"
#include "pxbase/link.h"
#include "pxbase/sys.h"

PXList<PXLink> SoundManager::interruptedList;

struct PXSound::Voice {
    uint32_t id = 0;
    Voice* next = nullptr;
    bool simulated = false;
    bool begun = false;          // simulated: its beginning has been queued
    bool beginReported = false;  // beginning() has been called for it
    bool stopped = false;        // its end has been queued
    bool paused = false;
    uint32_t beginClock = 0;  // simulated: clock when it began
    uint32_t pausedAt = 0;
    uint64_t pausedMs = 0;  // simulated: time spent paused since it began
    uint64_t lengthMs = 0;  // simulated: how long it lasts, kForever to repeat
};

namespace {

constexpr uint64_t kForever = std::numeric_limits<uint64_t>::max();

enum NoteKind { kBegun, kFinished };
struct Note {
    uint32_t voice;
    NoteKind kind;
};

// Notes come from mixer threads too; this lock guards only the queue and
// the lost time, and no call is made while it is held.
std::mutex notesLock;
std::vector<Note> notes;
uint64_t lostMs = 0;

uint32_t lastVoiceId = 0;

std::vector<PXSound*>& liveSounds() {
    static std::vector<PXSound*> sounds;
    return sounds;
}

bool isLive(const PXSound* s) {
    auto& live = liveSounds();
    return std::find(live.begin(), live.end(), s) != live.end();
}

void queue(uint32_t voice, NoteKind kind) {
    std::lock_guard<std::mutex> hold(notesLock);
    notes.push_back(Note{voice, kind});
}

}  // namespace

PXSound::PXSound() { liveSounds().push_back(this); }

PXSound::~PXSound() {
    stopVoices(false);
    releaseChunk();
    delete beginningLink_;
    delete finishedLink_;
    auto& live = liveSounds();
    live.erase(std::remove(live.begin(), live.end(), this), live.end());
}

bool PXSound::play() {
    if (!cued_ && !cue()) return false;
    auto* v = new Voice;
    v->id = ++lastVoiceId;
    v->simulated = chunk_ == nullptr;
    uint64_t once = getLengthMSec();
    v->lengthMs = playCount_ == 0 ? kForever : once * static_cast<uint64_t>(playCount_);
    if (!v->simulated && !PXSysBackend().soundStart(chunk_, v->id, playCount_, volume_, pan_)) {
        delete v;
        return false;
    }
    v->next = voices_;
    voices_ = v;
    return true;
}

void PXSound::stop() { stopVoices(true); }

bool PXSound::decue() {
    stopVoices(true);
    releaseChunk();
    cued_ = false;
    return true;
}

void PXSound::tick() {}

void PXSound::pause() {
    bool any = false;
    uint32_t now = PXSysMilliSecCount();
    for (Voice* v = voices_; v; v = v->next) {
        if (v->stopped || v->paused) continue;
        v->paused = true;
        v->pausedAt = now;
        if (!v->simulated) PXSysBackend().soundPause(v->id, 1);
        any = true;
    }
    if (any) paused();
}

void PXSound::resume() {
    bool any = false;
    uint32_t now = PXSysMilliSecCount();
    for (Voice* v = voices_; v; v = v->next) {
        if (v->stopped || !v->paused) continue;
        v->paused = false;
        if (v->begun) v->pausedMs += now - v->pausedAt;
        if (!v->simulated) PXSysBackend().soundPause(v->id, 0);
        any = true;
    }
    if (any) resumed();
}

void PXSound::setVolume(int volume) {
    volume_ = std::clamp(volume, 0, 100);
    for (Voice* v = voices_; v; v = v->next)
        if (!v->simulated && !v->stopped) PXSysBackend().soundSetVolume(v->id, volume_, pan_);
}

int PXSound::getVolume() const { return volume_; }

void PXSound::setPan(int pan) {
    pan_ = std::clamp(pan, -100, 100);
    for (Voice* v = voices_; v; v = v->next)
        if (!v->simulated && !v->stopped) PXSysBackend().soundSetVolume(v->id, volume_, pan_);
}

int PXSound::getPan() const { return pan_; }
bool PXSound::isCued() const { return cued_; }

bool PXSound::isPlaying() const {
    for (Voice* v = voices_; v; v = v->next)
        if (!v->stopped) return true;
    return false;
}

void PXSound::setPlayCount(int count) { playCount_ = count < 0 ? 1 : count; }

void PXSound::beginning() {
    if (beginningLink_) beginningLink_->call();
}

void PXSound::finished() {
    if (finishedLink_) finishedLink_->call();
}

void PXSound::paused() {}
void PXSound::resumed() {}

PXSoundStatus PXSound::getStatus() const {
    if (!cued_) return PXSoundIdle;
    bool playing = false, allPaused = true;
    for (Voice* v = voices_; v; v = v->next) {
        if (v->stopped) continue;
        playing = true;
        allPaused = allPaused && v->paused;
    }
    if (!playing) return PXSoundCued;
    return allPaused ? PXSoundPaused : PXSoundPlaying;
}

void PXSound::beginningSetLink(const PXLink* link) { PXStoreLink(beginningLink_, link); }
void PXSound::finishedSetLink(const PXLink* link) { PXStoreLink(finishedLink_, link); }

int32_t PXSound::voiceCount() const {
    int32_t n = 0;
    for (Voice* v = voices_; v; v = v->next)
        if (!v->stopped) ++n;
    return n;
}

void PXSound::stopVoices(bool report) {
    if (report) {
        for (Voice* v = voices_; v; v = v->next) {
            if (v->stopped) continue;
            v->stopped = true;
            if (!v->simulated) PXSysBackend().soundStop(v->id);
            // Queued here whatever the backend does, so a stop is reported
            // alike by every backend; a second report of the end is dropped.
            queue(v->id, kFinished);
        }
        return;
    }
    while (Voice* v = voices_) {
        voices_ = v->next;
        if (!v->simulated && !v->stopped) PXSysBackend().soundStop(v->id);
        delete v;
    }
}

void PXSound::releaseChunk() {
    if (!chunk_) return;
    PXSysBackend().soundUnload(chunk_);
    chunk_ = nullptr;
}

void SoundManager::interrupted(uint32_t ms) {
    if (ms == 0) return;
    std::lock_guard<std::mutex> hold(notesLock);
    lostMs += ms;
}

void SoundManager::noteBegun(uint32_t voice) { queue(voice, kBegun); }
void SoundManager::noteFinished(uint32_t voice) { queue(voice, kFinished); }

void SoundManager::service() {
    uint32_t now = PXSysMilliSecCount();
    // Simulated voices first: those played since the last service begin,
    // those whose time is up end.
    for (PXSound* s : liveSounds()) {
        for (PXSound::Voice* v = s->voices_; v; v = v->next) {
            if (!v->simulated || v->stopped || v->paused) continue;
            if (!v->begun) {
                v->begun = true;
                v->beginClock = now;
                queue(v->id, kBegun);
            } else if (v->lengthMs != kForever &&
                       static_cast<uint64_t>(now - v->beginClock) >= v->lengthMs + v->pausedMs) {
                v->stopped = true;
                queue(v->id, kFinished);
            }
        }
    }

    std::vector<Note> due;
    uint64_t lost = 0;
    {
        std::lock_guard<std::mutex> hold(notesLock);
        due.swap(notes);
        lost = lostMs;
        lostMs = 0;
    }
    for (const Note& n : due) {
        PXSound* owner = nullptr;
        PXSound::Voice* voice = nullptr;
        PXSound::Voice** link = nullptr;
        for (PXSound* s : liveSounds()) {
            for (PXSound::Voice** at = &s->voices_; *at; at = &(*at)->next) {
                if ((*at)->id == n.voice) {
                    owner = s;
                    voice = *at;
                    link = at;
                    break;
                }
            }
            if (owner) break;
        }
        if (!owner) continue;
        if (n.kind == kBegun) {
            if (voice->beginReported || voice->stopped) continue;
            voice->beginReported = true;
            owner->beginning();
        } else {
            *link = voice->next;
            delete voice;
            owner->finished();
        }
    }

    if (lost > 0) {
        auto ms = static_cast<uintptr_t>(std::min<uint64_t>(lost, std::numeric_limits<uint32_t>::max()));
        for (PXListWalk<PXLink> walk(interruptedList); PXLink* l = walk.next();)
            l->call(reinterpret_cast<const void*>(ms));
    }

    // A tick for each sound with voices; a tick may destroy sounds, so each
    // one is checked to be alive before it is called.
    std::vector<PXSound*> busy;
    for (PXSound* s : liveSounds())
        if (s->voices_) busy.push_back(s);
    for (PXSound* s : busy)
        if (isLive(s)) s->tick();
}

int32_t SoundManager::soundCount() { return static_cast<int32_t>(liveSounds().size()); }
