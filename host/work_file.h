// A file that is only there while the program works on it, unless it takes the place of the one that was asked for.
#ifndef TOLVANE_HOST_WORK_FILE_H
#define TOLVANE_HOST_WORK_FILE_H

#include <string>

namespace tolvane::host {

class WorkFile {
  public:
    // A name that nothing has yet, in `folder` ("" or ending with a separator). Nobody has made the file so far.
    explicit WorkFile(const std::string& folder);
    ~WorkFile();
    WorkFile(const WorkFile&) = delete;
    WorkFile& operator=(const WorkFile&) = delete;

    const std::string& path() const { return path_; }

    // Takes the place of `target`, of an existing file only with `replace`.
    bool PutInPlace(const std::string& target, bool replace);

  private:
    std::string path_;
};

// "music/" of "music/song.wav", "" of "song.wav".
std::string FolderOf(const std::string& path);

// Whether both names mean one file, or would.
bool IsSameFile(const std::string& one, const std::string& other);

// The system's folder for such files, which is the library's too.
std::string TempFolder();

}  // namespace tolvane::host

#endif
