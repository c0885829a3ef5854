// What is looked at before a file is edited or its format changed.
#pragma once

#include <cstdint>

#include "frame/text.h"

namespace tolvane {

// Settles which file is meant, the current one where none is named, and refuses (result codes) one that is being
// played, empty or compressed.
uint16_t SettleEditedFile(const char* name, char (&path)[kPathSize]);

// The same for an edit, which of a compressed file works on its playback copy, while there is one.
uint16_t SettleFileToEdit(const char* name, char (&path)[kPathSize]);

}  // namespace tolvane
