#include "edit/engine.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "edit/muting.h"
#include "edit/progress_copy.h"
#include "edit/state.h"
#include "files/inspect.h"
#include "files/positions.h"
#include "frame/disk_space.h"
#include "playback/choice.h"

namespace tolvane {

namespace {

constexpr int64_t kLargestFile = 0x7FFFFFFF;  // offsets in a wave file are signed 32-bit numbers
constexpr int64_t kFormTypeSize = 4;
constexpr int64_t kChunkHeaderSize = 8;

// An output on its way: a work file, or a file beside the one that it becomes.
struct Output {
    WaveWriter writer;
    DWORD position = 0;  // where in the file the next byte goes

    bool Write(const void* data, DWORD size) {
        position += size;
        return writer.Write(data, size);
    }
};

class Engine {
  public:
    Engine(const EditOperation& operation, const EditJob& request, const JobControl& job)
        : operation_(operation), edit_(request, job) {}

    uint16_t Run();

  private:
    uint16_t Measure();
    uint16_t MakeUndoCopy(const JobControl& job);
    uint16_t Produce();
    uint16_t OpenSource();
    uint16_t OpenOutputs();
    bool CopyHeader();
    bool Begin(Output& output, const char* path);
    uint16_t WritePieces();
    uint16_t WritePiece(const Piece& piece, Output& output);
    bool ReadBlock(const Piece& piece, DWORD at, DWORD length);
    uint16_t FinishOutputs();
    uint16_t PutInPlace();
    uint16_t PutInPlaceOf(const char* destination);
    void RemoveOutputs();
    uint8_t* Block() const { return static_cast<uint8_t*>(edit_.block.Data()); }
    const char* WorkFile() const { return edit_.scratch.Name(ScratchFile::kEditWork); }
    const char* UndoFile() const { return edit_.scratch.Name(ScratchFile::kUndo); }

    const EditOperation& operation_;
    Edit edit_;
    const bool undo_ = operation_.modifies && IsUndoOn();
    bool old_is_kept_ = false;      // the file itself becomes the undo file, so that nothing is copied for it
    bool scratch_is_last_ = false;  // the destination is gone, and what it held is in the scratch files
    const char* read_from_ = edit_.request.file;
    Output result_, taken_;
    Replacement taken_file_;
};

uint16_t Engine::Measure() {
    const EditJob& request = edit_.request;
    if (const uint16_t failed = ReadInputFileInfo(request.file, &edit_.format)) return failed;
    if (edit_.format.nChannels == 0 || edit_.format.nBlockAlign == 0) return TOLVANE_CANNOT_OPEN;
    uint32_t size = 0;
    if (const uint16_t failed = ReadDataChunkSize(request.file, &size)) return failed;
    edit_.data_size = size;
    const auto to_bytes = [&](uint32_t position) {
        return DownToBlock(PositionToBytes(position, request.unit, edit_.format), edit_.format.nBlockAlign);
    };
    edit_.first = to_bytes(request.start);
    edit_.second = to_bytes(request.end);
    edit_.low = std::min(edit_.first, edit_.second);
    edit_.high = std::max(edit_.first, edit_.second);
    return TOLVANE_OK;
}

uint16_t Engine::MakeUndoCopy(const JobControl& job) {
    if (!undo_ || old_is_kept_) return TOLVANE_OK;
    if (GetFileLength(edit_.request.file) > kLargestFile)
        return TOLVANE_NO_UNDO_COPY;  // it could not be brought back
    const bool copied = CopyWithProgress(edit_.request.file, UndoFile(), job);
    if (!copied) return DeleteFileA(UndoFile()), TOLVANE_NO_UNDO_COPY;
    read_from_ = UndoFile();
    return TOLVANE_OK;
}

// A format record behind the sound would be lost with everything that stands there; of a sound that breaks off nobody
// knows what is missing.
uint16_t Engine::OpenSource() {
    Chunk format;
    edit_.source = OpenForReading(read_from_);
    const bool found = edit_.source && FindWave(edit_.source, &edit_.source_riff) &&
                       FindSubchunk(edit_.source, edit_.source_riff, kFormatChunk, &format) &&
                       FindSound(edit_.source, &edit_.source_riff, &edit_.source_data) &&
                       format.dwDataOffset < edit_.source_data.dwDataOffset &&
                       AvailableBytes(edit_.source, edit_.source_data) == edit_.data_size;
    return found ? TOLVANE_OK : TOLVANE_EDIT_NOT_WRITTEN;
}

// The chunks before the sound, byte for byte, whatever they say.
bool Engine::CopyHeader() {
    int64_t left = int64_t{edit_.source_data.dwDataOffset} - kChunkHeaderSize -
                   (int64_t{edit_.source_riff.dwDataOffset} + kFormTypeSize);
    const LONG begin = static_cast<LONG>(edit_.source_riff.dwDataOffset + kFormTypeSize);
    if (left < 0 || mmioSeek(edit_.source.Get(), begin, SEEK_SET) != begin) return false;
    while (left > 0) {
        const auto length = static_cast<DWORD>(std::min<int64_t>(left, kEditBlock));
        if (!ReadExactly(edit_.source, Block(), length)) return false;
        if (operation_.modifies && !result_.Write(Block(), length)) return false;
        if (operation_.taken && !taken_.Write(Block(), length)) return false;
        left -= length;
    }
    return true;
}

bool Engine::Begin(Output& output, const char* path) {
    output.position = static_cast<DWORD>(kChunkHeaderSize + kFormTypeSize);
    return output.writer.Create(path, WaveWriter::Buffering::kSmall) && output.writer.BeginWave();
}

uint16_t Engine::OpenOutputs() {
    const char* taken = operation_.taken ? operation_.taken(edit_) : nullptr;
    if (operation_.taken && (!taken_file_.Begin(taken) || !Begin(taken_, taken_file_.Path())))
        return TOLVANE_EDIT_NOT_WRITTEN;
    if (operation_.modifies && !Begin(result_, WorkFile())) return TOLVANE_EDIT_NOT_WRITTEN;
    if (!CopyHeader()) return TOLVANE_EDIT_NOT_WRITTEN;
    if (operation_.taken && !taken_.writer.BeginChunk(kDataChunk)) return TOLVANE_EDIT_NOT_WRITTEN;
    if (operation_.modifies && !result_.writer.BeginChunk(kDataChunk)) return TOLVANE_EDIT_NOT_WRITTEN;
    taken_.position += static_cast<DWORD>(kChunkHeaderSize);
    result_.position += static_cast<DWORD>(kChunkHeaderSize);
    return TOLVANE_OK;
}

bool Engine::ReadBlock(const Piece& piece, DWORD at, DWORD length) {
    switch (piece.from) {
        case Piece::From::kPaste:
            return ReadExactly(edit_.paste, Block(), length);
        case Piece::From::kSilence:
            if (at == 0) memset(Block(), SilenceOf(edit_.format), kEditBlock);
            return true;
        case Piece::From::kFileMuted:
            if (!ReadExactly(edit_.source, Block(), length)) return false;
            Mute(Block(), length, edit_.format, edit_.request.channel_mask);
            return true;
        default:
            return ReadExactly(edit_.source, Block(), length);
    }
}

uint16_t Engine::WritePiece(const Piece& piece, Output& output) {
    const bool of_file = piece.from == Piece::From::kFile || piece.from == Piece::From::kFileMuted;
    const auto offset = static_cast<LONG>(edit_.source_data.dwDataOffset + piece.begin);
    if (of_file && mmioSeek(edit_.source.Get(), offset, SEEK_SET) != offset) return TOLVANE_EDIT_NOT_WRITTEN;
    for (DWORD done = 0; done < piece.Length();) {
        const Meter& meter = piece.meter;
        if (edit_.job.progress)
            *edit_.job.progress = static_cast<uint32_t>(std::min<uint64_t>(
                meter.offset + (meter.done + done) * meter.weight / std::max<uint64_t>(meter.whole, 1), 100));
        if (edit_.job.IsCancelled()) return TOLVANE_CANCELLED;
        DWORD length = AlignedLength(output.position, piece.Length() - done);
        if (piece.from == Piece::From::kFileMuted)
            length = WholeFrames(length, edit_.format, piece.Length() - done);
        if (!ReadBlock(piece, done, length) || !output.Write(Block(), length))
            return TOLVANE_EDIT_NOT_WRITTEN;
        done += length;
    }
    return TOLVANE_OK;
}

uint16_t Engine::WritePieces() {
    int64_t sizes[2] = {};
    for (int i = 0; i < edit_.piece_count; ++i)
        sizes[edit_.pieces[i].taken] += edit_.pieces[i].Length();
    if (std::max(result_.position + sizes[0], taken_.position + sizes[1]) > kLargestFile)
        return TOLVANE_EDIT_NOT_WRITTEN;
    for (int i = 0; i < edit_.piece_count; ++i) {
        const Piece& piece = edit_.pieces[i];
        if (const uint16_t failed = WritePiece(piece, piece.taken ? taken_ : result_)) return failed;
    }
    return TOLVANE_OK;
}

uint16_t Engine::FinishOutputs() {
    const bool result = !operation_.modifies || result_.writer.FinishPcm();
    const bool taken = !operation_.taken || taken_.writer.FinishPcm();
    edit_.source.Reset();
    edit_.paste.Reset();
    return result && taken ? TOLVANE_OK : TOLVANE_EDIT_NOT_WRITTEN;
}

// What was taken first: should the process end in between, the sound is in both files and not in none.
uint16_t Engine::PutInPlace() {
    if (operation_.taken && !taken_file_.Commit()) return TOLVANE_EDIT_NOT_WRITTEN;
    if (!operation_.modifies) return TOLVANE_OK;
    const EditJob& request = edit_.request;
    return PutInPlaceOf(*request.second_file ? request.second_file : request.file);
}

// Where the old file cannot be kept after all, it is copied now: too late to be cancelled.
uint16_t Engine::PutInPlaceOf(const char* destination) {
    const bool was_there = IsThere(destination);
    CloseLoadedFile(destination);
    if (old_is_kept_ && PlaceFileKeepingOld(WorkFile(), destination, UndoFile())) return TOLVANE_OK;
    scratch_is_last_ = was_there && !IsThere(destination);
    if (scratch_is_last_) return TOLVANE_NOT_PUT_IN_PLACE;
    const bool copies_old = std::exchange(old_is_kept_, false);
    if (copies_old)
        if (const uint16_t failed = MakeUndoCopy(JobControl())) return failed;
    if (PlaceFile(WorkFile(), destination)) return TOLVANE_OK;
    scratch_is_last_ = was_there && !IsThere(destination);
    return TOLVANE_NOT_PUT_IN_PLACE;
}

uint16_t Engine::Produce() {
    if (edit_.job.IsCancelled()) return TOLVANE_CANCELLED;
    uint16_t result = OpenSource();
    if (result == TOLVANE_OK) result = OpenOutputs();
    if (result == TOLVANE_OK) result = operation_.plan(edit_);
    if (result == TOLVANE_OK) result = WritePieces();
    if (result == TOLVANE_OK) result = FinishOutputs();
    return result == TOLVANE_OK ? PutInPlace() : result;
}

// A clipboard that was being written holds nothing that could be pasted. A system that lost the destination over the
// attempt to replace it has left its sound in the scratch files alone: they stay.
void Engine::RemoveOutputs() {
    edit_.source.Reset();
    result_.writer.Close();
    taken_.writer.Close();
    if (scratch_is_last_) return;
    if (operation_.modifies) DeleteFileA(WorkFile());
    const char* clipboard = edit_.scratch.Name(ScratchFile::kClipboard);
    if (operation_.taken && strcmp(operation_.taken(edit_), clipboard) == 0) DeleteFileA(clipboard);
    if (undo_) DeleteFileA(UndoFile());
}

uint16_t Engine::Run() {
    uint16_t result = Measure();
    if (result == TOLVANE_OK) result = operation_.check(edit_);
    if (result != TOLVANE_OK) return result;
    if (edit_.block.Allocate(kEditBlock, GMEM_MOVEABLE | GMEM_ZEROINIT) != GlobalBlock::Outcome::kDone)
        return TOLVANE_NO_FILE_BUFFER;
    old_is_kept_ = undo_ && !*edit_.request.second_file && CanBecome(UndoFile(), edit_.request.file) &&
                   GetFileLength(edit_.request.file) <= kLargestFile;
    result = MakeUndoCopy(edit_.job);
    if (result != TOLVANE_OK) return result;
    result = Produce();
    if (result != TOLVANE_OK) RemoveOutputs();
    if (edit_.job.progress) *edit_.job.progress = 100;
    if (operation_.modifies && result == TOLVANE_OK) NoteEdited(edit_.request.file, undo_);
    return result;
}

}  // namespace

// Twice the file, for the undo copy and the result.
bool Edit::HasRoom() const {
    return GetFreeDiskSpace() > uint64_t{2} * GetFileLength(request.file);
}

void AddFromFile(Edit& edit, DWORD begin, DWORD end, DWORD done_before, DWORD more) {
    Piece piece;
    piece.begin = begin;
    piece.end = end;
    piece.meter.done = uint64_t{begin} + done_before;
    piece.meter.whole = uint64_t{edit.data_size} + more;
    edit.Add(piece);
}

bool FindSound(const MmioFile& file, Chunk* riff, Chunk* data) {
    return FindWave(file, riff) && FindSubchunk(file, *riff, kDataChunk, data);
}

uint16_t RunEdit(const EditOperation& operation, const EditJob& request, const JobControl& job) {
    return Engine(operation, request, job).Run();
}

}  // namespace tolvane
