#include "record/recording_file.h"

#include <cstring>

#include "frame/handles.h"
#include "record/settings.h"

namespace tolvane {

namespace {

// Offsets in a wave file are signed 32-bit values, and behind the sound there may be a pad byte.
constexpr DWORD kLargestFile = 0x7FFFFFFE;
constexpr DWORD kSilenceBlock = 32768;

// A device that was named as a file stays what it is.
void Remove(const char* path) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    FileHandle file(CreateFileA(path, 0, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
    const bool is_device = file && GetFileType(file.Get()) != FILE_TYPE_DISK;
    file.Reset();
    if (!is_device) DeleteFileA(path);
}

// What a disk took of a block that it refused.
void CutBehind(const char* path, DWORD size) {
    const FileHandle file(CreateFileA(path, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    if (file && SetFilePointer(file.Get(), static_cast<LONG>(size), nullptr, FILE_BEGIN) == size)
        SetEndOfFile(file.Get());
}

}  // namespace

bool RecordingFile::Create(const char* path, const WAVEFORMATEX& format) {
    if (!CopyFullPath(path_, path)) CopyText(path_, kPathSize, path);
    format_ = format;
    torn_ = false;
    offset_ = kPcmDataStart;
    end_ = kPcmDataStart + (kLargestFile - kPcmDataStart) / format.nBlockAlign * format.nBlockAlign;
    // Others may read meanwhile.
    open_ = writer_.CreatePcm(path, format, MMIO_DENYWRITE) && writer_.SavePcm(format, offset_);
    if (open_) return true;
    if (writer_.IsOpen()) Discard();
    return false;
}

// After a failure the next write goes where this one began.
bool RecordingFile::Put(const void* data, DWORD size) {
    const bool put = writer_.MoveTo(offset_) && writer_.Write(data, size) && writer_.Flush();
    if (put) offset_ += size;
    torn_ |= !put;
    return put;
}

bool RecordingFile::Append(const void* data, DWORD size) {
    size = std::min(size, Room());
    if (size == 0) return true;
    const bool appended = Put(data, size);
    writer_.SavePcm(format_, offset_);
    return appended;
}

void RecordingFile::AppendSilence(DWORD size) {
    char silence[kSilenceBlock];
    memset(silence, SilenceByte(format_), sizeof silence);
    for (size = std::min(size, Room()); size > 0;) {
        const DWORD piece = std::min(size, kSilenceBlock);
        if (!Put(silence, piece)) break;
        size -= piece;
    }
    writer_.SavePcm(format_, offset_);
}

void RecordingFile::Finish() {
    if (!writer_.MoveTo(offset_) || !writer_.EndChunk() || !writer_.EndWave())
        writer_.SavePcm(format_, offset_);
    writer_.Close();
    open_ = false;
    if (torn_) CutBehind(path_, offset_ + offset_ % 2);
}

void RecordingFile::Discard() {
    writer_.Close();
    open_ = false;
    Remove(path_);
}

}  // namespace tolvane
