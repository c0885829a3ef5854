// The engine of every edit: undo copy, outputs, block loop, progress, cancel, putting the result in place. An operation
// says what it refuses and of which pieces its outputs consist.
#pragma once

#include <windows.h>
#include <mmsystem.h>

#include <cstdint>

#include "edit/job.h"
#include "files/replacement.h"
#include "files/wave_reader.h"
#include "files/wave_writer.h"
#include "frame/scratch_files.h"
#include "frame/worker.h"
#include "tolvane.h"

namespace tolvane {

inline constexpr DWORD kEditBlock = 262144;  // what files are written in fastest, and still lies in the cache

// How the progress runs while a piece is written: `offset` percent before it, and of `whole` bytes, which are `weight`
// percent, `done` when it begins.
struct Meter {
    uint32_t offset = 0;
    uint32_t weight = 100;
    uint64_t done = 0;
    uint64_t whole = 0;
};

// A stretch of an output.
struct Piece {
    enum class From { kFile, kFileMuted, kPaste, kSilence };

    From from = From::kFile;
    bool taken = false;        // goes to the file that receives what is cut or copied
    DWORD begin = 0, end = 0;  // in the sound it comes from
    Meter meter = {};

    DWORD Length() const { return end - begin; }
};

// An edit on its way. What an operation may use is filled before its functions are called.
struct Edit {
    Edit(const EditJob& requested, const JobControl& control) : request(requested), job(control) {}

    const EditJob& request;
    const JobControl job;
    const ScratchLease scratch;

    InputFileInfo format = {};
    DWORD data_size = 0;
    DWORD first = 0, second = 0;  // the request's start and end in bytes, whole frames
    DWORD low = 0, high = 0;      // the same in order

    MmioFile source;
    Chunk source_riff = {}, source_data = {};
    MmioFile paste;
    DWORD paste_size = 0;
    GlobalBlock block;

    static constexpr int kMostPieces = 3;
    Piece pieces[kMostPieces];
    int piece_count = 0;
    void Add(const Piece& piece) {
        if (piece.Length()) pieces[piece_count++] = piece;
    }

    bool HasRoom() const;
};

struct EditOperation {
    bool modifies;  // the file or the destination receives a result; undo can take it back
    const char* (*taken)(const Edit&);  // the file that receives what is cut or copied; null: none
    uint16_t (*check)(Edit&);           // refuses, before anything is written
    uint16_t (*plan)(Edit&);            // adds the pieces; the source is open
};

extern const EditOperation kCut, kCopy, kPaste, kClear, kCrop, kMute, kTrimSilence, kInsertSilence;

// A result code, which is also the reason of the job whose control is given.
uint16_t RunEdit(const EditOperation& operation, const EditJob& request, const JobControl& job);

// A file that the caller named, otherwise the clipboard file.
inline const char* OrClipboard(const Edit& edit, const char* named) {
    return *named ? named : edit.scratch.Name(ScratchFile::kClipboard);
}

// Adds pieces of the file, with the progress that counts all bytes of the file and `more`.
void AddFromFile(Edit& edit, DWORD begin, DWORD end, DWORD done_before = 0, DWORD more = 0);

// The chunk of the sound, at which the file is positioned then.
bool FindSound(const MmioFile& file, Chunk* riff, Chunk* data);

}  // namespace tolvane
