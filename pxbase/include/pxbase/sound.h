// Sounds. A PXSound is played in voices: each play() starts one, so a sound
// played again before it ended is heard twice, and each voice reports its
// beginning once and its end once. Those reports reach the sound's virtual
// beginning() and finished() on the task loop's thread, between passes,
// however the backend learns of them (a mixer thread only queues a note).
//
// Where the backend has no sound device (headless, or sdl without audio) a
// voice is simulated on the millisecond clock: it begins when the pass that
// played it ends, and finishes at the first pass end at which its length has
// passed since then. Headless, that makes sound timing exact and repeatable.
#pragma once

#include <cstdint>

#include "pxbase/export.h"
#include "pxbase/list.h"

class PXLink;
struct PXSoundChunk;

// What getStatus reports.
enum PXSoundStatus {
    PXSoundIdle = 0,     // not prepared
    PXSoundCued = 1,     // prepared, no voice playing
    PXSoundPlaying = 2,  // at least one voice playing
    PXSoundPaused = 3,   // voices there, all paused
};

class PX_API PXSound {
public:
    PXSound(const PXSound&) = delete;
    PXSound& operator=(const PXSound&) = delete;

    // Virtual operations in slot order.
    // Stops every voice without reporting: nothing is fired for a sound
    // being destroyed.
    virtual ~PXSound();
    virtual const char* isA() const = 0;
    // Starts a voice (cueing first if needed); false when the sound cannot
    // be played.
    virtual bool play();
    // Stops every voice; each one's end is reported.
    virtual void stop();
    virtual bool cue() = 0;
    virtual bool decue();
    // Called for a sound with voices at the end of each pass of the loop.
    virtual void tick();
    virtual void pause();
    virtual void resume();
    // 0 (silent) to 100 (full).
    virtual void setVolume(int volume);
    virtual int getVolume() const;
    // -100 (left) to 100 (right).
    virtual void setPan(int pan);
    virtual int getPan() const;
    virtual int getChannels() const = 0;
    virtual uint32_t getLengthMSec() const = 0;
    virtual bool isCued() const;
    virtual bool isPlaying() const;
    // How many times the next play() runs through the sound; 0 repeats until
    // stop(), and below 0 counts as 1.
    virtual void setPlayCount(int count);
    // Reports, called on the loop's thread. The base versions fire the
    // beginning and finished links with their own data.
    virtual void beginning();
    virtual void finished();
    virtual void paused();
    virtual void resumed();
    virtual PXSoundStatus getStatus() const;

    // Links fired when a voice starts to be heard and when it ends. Each
    // stores a clone; null removes the link.
    void beginningSetLink(const PXLink* link);
    void finishedSetLink(const PXLink* link);
    const PXLink* beginningGetLink() const { return beginningLink_; }
    const PXLink* finishedGetLink() const { return finishedLink_; }

    int32_t voiceCount() const;

protected:
    PXSound();

    // The prepared data the backend plays; null when the backend has none
    // (the voices are then simulated). Set by cue() of a subclass.
    PXSoundChunk* chunk_ = nullptr;
    bool cued_ = false;

    // Stops all voices; with `report`, their ends are queued.
    void stopVoices(bool report);
    // Frees chunk_ through the backend.
    void releaseChunk();

private:
    friend class SoundManager;
    struct Voice;

    PXLink* beginningLink_ = nullptr;
    PXLink* finishedLink_ = nullptr;
    Voice* voices_ = nullptr;  // singly linked, newest first
    int volume_ = 100;
    int pan_ = 0;
    int playCount_ = 1;
};

// The loop-side half of sound: it delivers the voices' reports and keeps
// the list of links to tell when sound work held the machine up.
class PX_API SoundManager {
public:
    // Fired with the milliseconds lost as the link's data: the count itself
    // is passed as the pointer value, reinterpret_cast<uintptr_t>(data).
    static PXList<PXLink> interruptedList;

    // Records that sound work held the machine up for `ms` milliseconds. The
    // links of interruptedList hear of it at the next service(), never from
    // inside the sound call that lost the time.
    static void interrupted(uint32_t ms);
    // Backends call these from any thread: a voice was really heard for the
    // first time, or ended. The report is delivered by the next service().
    static void noteBegun(uint32_t voice);
    static void noteFinished(uint32_t voice);
    // Moves simulated voices on, then delivers every queued report. Run by
    // the task loop after each pass; reports queued by the handlers it calls
    // wait for the next pass.
    static void service();
    // Sound objects alive now.
    static int32_t soundCount();
};
