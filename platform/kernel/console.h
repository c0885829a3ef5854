// What others have to know of the terminal.
#ifndef TOLVANE_PLATFORM_KERNEL_CONSOLE_H
#define TOLVANE_PLATFORM_KERNEL_CONSOLE_H

namespace tolvane::platform {

// Puts the terminal back as it was found. May be called from a signal's handler.
void RestoreTerminal();

}  // namespace tolvane::platform
#endif
