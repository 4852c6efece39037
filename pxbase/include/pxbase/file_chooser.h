// Asking the user for a file. There is no common file dialog here: a host
// installs its own chooser, and the default one asks on the terminal when
// standard input is one, and otherwise answers as a cancelled dialog.
#pragma once

#include <cstddef>

#include "pxbase/export.h"

// Writes the chosen name to `out` (at most `size` bytes with its NUL), or
// the empty string when the choice was cancelled. `title` and `pattern`
// describe what is asked for, as "Script" and "*.mps".
using PXFileChooser = void (*)(char* out, size_t size, const char* title, const char* pattern,
                               int forSave, void* context);

PX_API void PXSysSetFileChooser(PXFileChooser chooser, void* context);
PX_API void PXSysChooseFile(char* out, size_t size, const char* title, const char* pattern,
                            int forSave);
