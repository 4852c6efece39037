// Everything baublecore exports, and the foundation it stands on.
#pragma once

#include "pxbase/pxbase.h"

#include "baublecore/api.h"
#include "baublecore/ao_sequence.h"
#include "baublecore/event_record.h"
#include "baublecore/extend.h"
#include "baublecore/frame.h"
#include "baublecore/heap.h"
#include "baublecore/scriptable_object.h"
#include "baublecore/sr.h"
#include "baublecore/thread.h"
#include "baublecore/trace.h"
#include "baublecore/variable.h"
