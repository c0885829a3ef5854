// A copy of a file that is there when it is whole.
#include "copy_file.h"

#include <filesystem>

#include "commands.h"
#include "conversion_files.h"
#include "result_text.h"
#include "work_file.h"

namespace tolvane::host {

namespace fs = std::filesystem;

int CopyWhole(const std::string& from, const std::string& to, bool replace) {
    if (IsSameFile(from, to))
        return ReportFailure("cannot write", to, "It is the file that is edited.", "Name another file.");
    if (const int refused = CheckNewFile(to, replace)) return refused;
    WorkFile work(FolderOf(to));
    std::error_code failed;
    fs::copy_file(from, work.path(), failed);
    if (!failed && work.PutInPlace(to, replace)) return kExitDone;
    return ReportFailure("cannot write", to, "The copy cannot be written.",
                         "Check the free space, and that you may write in its folder.");
}

}  // namespace tolvane::host
