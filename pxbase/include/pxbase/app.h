// The application and its task loop. Everything runs on one thread: a task
// returns before the next is called, and nothing is preemptive.
#pragma once

#include <cstdint>

#include "pxbase/export.h"
#include "pxbase/list.h"

class PXLink;
class PXBackend;

// A task fires its link, with no argument, once at each pass of the loop. It
// stores a clone of the link it was given.
class PX_API PXTask {
public:
    // `n` is kept for the contract; the library always passes 0.
    PXTask(const PXLink* link, unsigned n);
    ~PXTask();
    PXTask(const PXTask&) = delete;
    PXTask& operator=(const PXTask&) = delete;

    void fire();

private:
    friend class PXApp;
    PXLink* link_;
    class PXApp* app_ = nullptr;  // the loop it is in, so deletion takes it out
};

class PX_API PXApp {
public:
    static PXApp* theApp;

    // The first application made becomes theApp. A null backend keeps the one
    // installed (headless unless the host installed another).
    explicit PXApp(PXBackend* backend = nullptr);
    virtual ~PXApp();
    PXApp(const PXApp&) = delete;
    PXApp& operator=(const PXApp&) = delete;

    // Tasks run in the order they were added. A task may add or remove tasks,
    // itself included, while it runs.
    void addTask(PXTask* task);
    PXTask* removeTask(PXTask* task);

    // Ends run() after the pass now running.
    void stop();
    bool isStopped() const { return stopped_; }

    // One pass over the tasks, then input delivery, sound reports and the
    // backend's end of pass.
    void runPass();
    // Passes until stop(), until no task is left (nothing could ever run
    // again), or until `maxPasses` when it is not 0. Returns the passes run.
    uint64_t run(uint64_t maxPasses = 0);

    int32_t taskCount() const { return tasks_.count; }

    // Read as a display value by the colour code.
    int32_t displayValue = 0;

    // Non-zero turns page flipping on: window canvases then accept a back
    // page (PXWndCanvas::attachToFlipChain). Both backends provide it.
    static int bUsingDirectDraw;

private:
    PXList<PXTask> tasks_;
    bool stopped_ = false;
};
