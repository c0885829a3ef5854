// A copy of a file that is there when it is whole.
#ifndef TOLVANE_HOST_COPY_FILE_H
#define TOLVANE_HOST_COPY_FILE_H

#include <string>

namespace tolvane::host {

// kExitDone, or a failure that has been reported.
int CopyWhole(const std::string& from, const std::string& to, bool replace);

}  // namespace tolvane::host

#endif
