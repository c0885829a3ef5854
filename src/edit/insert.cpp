// Paste inserts the sound of another file, insert silence a stretch of silence.
#include <algorithm>

#include "edit/engine.h"
#include "files/inspect.h"
#include "frame/disk_space.h"

namespace tolvane {

namespace {

const char* PasteFile(const Edit& edit) {
    return OrClipboard(edit, edit.request.third_file);
}

bool Exists(const char* path) {
    MMIOINFO info = {};
    info.fccIOProc = FOURCC_DOS;
    char name[kPathSize];
    CopyText(name, kPathSize, path);
    return mmioOpenA(name, &info, MMIO_EXIST) != nullptr;
}

// Opens the file to paste at its sound. The first 14 bytes of its format tell what has to fit.
bool OpenPaste(Edit& edit) {
    Chunk riff, chunk;
    InputFileInfo format = {};
    constexpr DWORD kCompared = 14;
    edit.paste = OpenForReading(PasteFile(edit));
    if (!edit.paste || !FindWave(edit.paste, &riff) ||
        !FindSubchunk(edit.paste, riff, kFormatChunk, &chunk) || chunk.cksize < kCompared ||
        !ReadExactly(edit.paste, &format, kCompared))
        return false;
    const bool fits = format.wFormatTag == 1 && format.nChannels == edit.format.nChannels &&
                      format.nSamplesPerSec == edit.format.nSamplesPerSec &&
                      format.nBlockAlign == edit.format.nBlockAlign;
    if (!fits || !FindSubchunk(edit.paste, riff, kDataChunk, &chunk) || chunk.cksize == 0) return false;
    edit.paste_size = chunk.cksize;
    return true;
}

bool HasRoomForPaste(const Edit& edit) {
    const uint64_t needed = uint64_t{GetFileLength(edit.request.file)} + GetFileLength(PasteFile(edit));
    return GetFreeDiskSpace() > needed && edit.HasRoom();
}

uint16_t CheckPaste(Edit& edit) {
    if (edit.first > edit.data_size) return TOLVANE_BEYOND_END;
    if (GetFileLength(PasteFile(edit)) == 0) return TOLVANE_NOTHING_TO_PASTE;
    if (!HasRoomForPaste(edit)) return TOLVANE_DISK_FULL;
    if (!Exists(PasteFile(edit))) return TOLVANE_NO_PASTE_FILE;
    return OpenPaste(edit) ? TOLVANE_OK : TOLVANE_PASTE_NOT_FITTING;
}

// The file's sound with `size` bytes from elsewhere at the position.
uint16_t PlanInsertion(Edit& edit, Piece::From from, DWORD size) {
    AddFromFile(edit, 0, edit.first, 0, size);
    Piece inserted = {from, false, 0, size};
    inserted.meter = {0, 100, edit.first, uint64_t{edit.data_size} + size};
    edit.Add(inserted);
    AddFromFile(edit, edit.first, edit.data_size, size, size);
    return TOLVANE_OK;
}

uint16_t PlanPaste(Edit& edit) {
    return PlanInsertion(edit, Piece::From::kPaste, edit.paste_size);
}

uint16_t CheckInsertSilence(Edit& edit) {
    if (edit.first > edit.data_size) return TOLVANE_BEYOND_END;
    return edit.HasRoom() ? TOLVANE_OK : TOLVANE_DISK_FULL;
}

// Whole frames, rounded down; more than a file can hold is refused by the engine.
uint16_t PlanInsertSilence(Edit& edit) {
    const uint64_t frames = uint64_t{edit.format.nSamplesPerSec} * edit.request.end / 1000;
    const uint64_t size =
        std::min<uint64_t>(frames, UINT32_MAX / edit.format.nBlockAlign) * edit.format.nBlockAlign;
    return PlanInsertion(edit, Piece::From::kSilence, static_cast<DWORD>(size));
}

}  // namespace

const EditOperation kPaste = {true, nullptr, CheckPaste, PlanPaste};
const EditOperation kInsertSilence = {true, nullptr, CheckInsertSilence, PlanInsertSilence};

}  // namespace tolvane
