// Everything pxbase exports.
#pragma once

#include "pxbase/app.h"
#include "pxbase/backend.h"
#include "pxbase/file_chooser.h"
#include "pxbase/link.h"
#include "pxbase/list.h"
#include "pxbase/stream.h"
#include "pxbase/sys.h"
