// Everything that reads a wave file, on any bytes: the answers agree with each other, and the playback that they allow
// ends.
#include "fuzz/virtual_card.h"
#include "support/reading_exports.h"
#include "support/temp_folder.h"
#include "tolvane.h"

using namespace tolvane::test;

namespace {

// A playback asks for buffers as large as the file's format says before the device refuses it: memory that is never
// touched, but that a sanitizer takes its time over.
constexpr uint64_t kMostBytesASecond = 16 << 20;

bool IsWorthPlaying(const std::string& path) {
    InputFileInfo info = {};
    return GetInputFileInfo(path.c_str(), &info) == TOLVANE_OK &&
           uint64_t{info.nSamplesPerSec} * info.nBlockAlign <= kMostBytesASecond;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const TempFolder folder;
    static const FuzzedCard card;
    const std::string path = folder.Write("x.wav", Bytes(data, data + size));
    ReadEverything(path, IsWorthPlaying(path));
    return 0;
}
