// BC_API marks what libbaublecore exports; everything else is hidden.
#pragma once

#if defined(BAUBLECORE_BUILDING)
#define BC_API __attribute__((visibility("default")))
#else
#define BC_API
#endif
