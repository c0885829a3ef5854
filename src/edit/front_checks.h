// What is looked at before a file is edited or its format changed.
#pragma once

#include <cstdint>

#include "frame/text.h"

namespace tolvane {

// Settles which file is meant, the current one where none is named, and refuses (result codes) one that is
// being played, empty or compressed.
uint16_t SettleEditedFile(const char* name, char (&path)[kPathSize]);

}  // namespace tolvane
