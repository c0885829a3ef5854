// Calls everything that reads a file, on a file that may be anything: whatever it is, a documented answer
// comes.
#pragma once

#include <string>

namespace tolvane::test {

// `play`: also starts and stops a playback of it.
void ReadEverything(const std::string& path, bool play);

}  // namespace tolvane::test
