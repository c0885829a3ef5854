// The file that is laid over another: the library mixes what stands at the same bytes of both, in one format.
#ifndef TOLVANE_HOST_MIX_FILE_H
#define TOLVANE_HOST_MIX_FILE_H

#include <memory>
#include <string>
#include <vector>

#include "message_window.h"
#include "sound_format.h"
#include "work_file.h"

namespace tolvane::host {

class MixFile {
  public:
    MixFile(std::string name, bool quiet) : name_(std::move(name)), path_(name_), quiet_(quiet) {}

    // Brings it into the format of what is played (PCM), with its sound beginning at the same byte. kExitDone, or a
    // failure that has been reported.
    int FitTo(const std::string& played, MessageWindow& window);

    // The file itself or a copy of it.
    const std::string& path() const { return path_; }

  private:
    int Convert(uint16_t tag, const PcmShape& shape, MessageWindow& window);
    int LineUp(uint32_t start);
    const std::string& NewCopy();

    const std::string name_;
    std::string path_;
    const bool quiet_;
    std::vector<std::unique_ptr<WorkFile>> copies_;
};

}  // namespace tolvane::host

#endif
