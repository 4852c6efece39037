// The task loop: one pass fires every task once, in order of adding, through
// a list walk, so a task may add or remove tasks (itself included) mid-pass.
#include "pxbase/app.h"

#include "pxbase/backend.h"
#include "pxbase/link.h"
#include "pxbase/sound.h"

PXApp* PXApp::theApp = nullptr;
int PXApp::bUsingDirectDraw = 0;

PXTask::PXTask(const PXLink* link, unsigned) : link_(link ? link->clone() : nullptr) {}

PXTask::~PXTask() {
    if (app_) app_->removeTask(this);
    delete link_;
}

void PXTask::fire() {
    if (link_) link_->call();
}

PXApp::PXApp(PXBackend* backend) {
    if (backend) PXSysSetBackend(backend);
    if (!theApp) theApp = this;
}

PXApp::~PXApp() {
    // Tasks outlive the loop in their owners' hands: forget them here so a
    // later task deletion does not reach a dead application.
    for (PXListWalk<PXTask> walk(tasks_); PXTask* task = walk.next();) task->app_ = nullptr;
    tasks_.clear();
    if (theApp == this) theApp = nullptr;
}

void PXApp::addTask(PXTask* task) {
    // A task is in one loop at most, once.
    if (!task || task->app_) return;
    task->app_ = this;
    tasks_.append(task);
}

PXTask* PXApp::removeTask(PXTask* task) {
    if (!task || task->app_ != this) return nullptr;
    task->app_ = nullptr;
    return tasks_.remove(task);
}

void PXApp::stop() { stopped_ = true; }

void PXApp::runPass() {
    for (PXListWalk<PXTask> walk(tasks_); PXTask* task = walk.next();) task->fire();
    PXSysBackend().pollEvents();
    SoundManager::service();
    PXSysBackend().endOfPass();
}

uint64_t PXApp::run(uint64_t maxPasses) {
    stopped_ = false;
    uint64_t passes = 0;
    while (!stopped_ && tasks_.count > 0 && (maxPasses == 0 || passes < maxPasses)) {
        runPass();
        ++passes;
    }
    return passes;
}
