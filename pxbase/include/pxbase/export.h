// PX_API marks what libpxbase exports; everything else is hidden.
#pragma once

#if defined(PXBASE_BUILDING)
#define PX_API __attribute__((visibility("default")))
#else
#define PX_API
#endif
