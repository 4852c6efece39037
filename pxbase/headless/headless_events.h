// The headless backend's queue of injected input, by pass.
#pragma once

#include <cstdint>

// Delivers, in order of queueing, every event due at or before `pass` that
// was queued before this call began.
void PXHeadlessDeliverDue(uint64_t pass);
