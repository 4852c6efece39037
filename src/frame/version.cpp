#include "baublecore/frame.h"

const char* BCSysGetVersion() { return "1.00a - " __DATE__ " " __TIME__; }
