#include "convert/change_format.h"

#include <algorithm>

#include "edit/front_checks.h"
#include "files/replacement.h"
#include "frame/scratch_files.h"

namespace tolvane {

namespace {

// The parameters of a job.
struct ChangeParameters {
    uint32_t size;
    char file[kPathSize];
    char target[kPathSize];
    uint32_t rate;
    uint16_t bits;
    uint16_t channels;
};
static_assert(sizeof(ChangeParameters) == 532);

struct Changes {
    bool rate, channels, size;
    uint32_t Count() const { return uint32_t{rate} + uint32_t{channels} + uint32_t{size}; }
};

Changes Compare(const WAVEFORMATEX& from, const PcmShape& wanted) {
    return {from.nSamplesPerSec != wanted.rate, from.nChannels != wanted.channels,
            from.wBitsPerSample != wanted.bits};
}

bool IsWholeRatio(uint32_t rate, uint32_t other) {
    return std::max(rate, other) % std::min(rate, other) == 0;
}

uint16_t CheckChange(const WAVEFORMATEX& from, const PcmShape& wanted) {
    if (!IsPossibleShape(wanted)) return TOLVANE_CHANGE_NOT_POSSIBLE;
    if (Compare(from, wanted).Count() == 0) return TOLVANE_SAME_FORMAT;
    return IsWholeRatio(from.nSamplesPerSec, wanted.rate) ? TOLVANE_OK : TOLVANE_CHANGE_NOT_POSSIBLE;
}

uint16_t CopyOver(const char* from, const char* to) {
    return CopyFileA(from, to, FALSE) ? TOLVANE_OK : TOLVANE_OUTPUT_NOT_WRITTEN;
}

// Whether what the passes make fits a wave file, where one of them makes more than it reads.
bool AllPassesFit(const WAVEFORMATEX& from, DWORD size, const PcmShape& wanted) {
    const Changes changes = Compare(from, wanted);
    uint64_t made = size, most = 0;
    const auto grow = [&](bool changed, uint64_t to, uint64_t before) {
        if (!changed) return;
        made = made * to / before;
        if (to > before) most = std::max(most, made);
    };
    grow(changes.rate, wanted.rate, from.nSamplesPerSec);
    grow(changes.channels, wanted.channels, from.nChannels);
    grow(changes.size, wanted.bits, from.wBitsPerSample);
    return most <= kMostSound;
}

// A copy of a file that may not be written may not be written either, but the next step wants to.
uint16_t CopySource(const char* file, const char* target) {
    const uint16_t result = CopyOver(file, target);
    if (result == TOLVANE_OK) SetFileAttributesA(target, FILE_ATTRIBUTE_NORMAL);
    return result;
}

// Changes the target through a scratch file.
uint16_t ChangeTarget(const char* target, Property property, const PcmShape& wanted, PassProgress* progress) {
    const TempFile scratch = TempFile::InLibraryFolder();
    if (!scratch) return TOLVANE_OUTPUT_NOT_WRITTEN;
    const uint16_t result = ChangeProperty(property, target, scratch.Path(), wanted, *progress);
    progress->base += progress->share;
    return result == TOLVANE_OK ? CopyOver(scratch.Path(), target) : result;
}

uint16_t ChangeFormat(const char* file, const char* target, const PcmShape& wanted, const JobControl& job) {
    WAVEFORMATEX from;
    DWORD size = 0;
    uint16_t result = ReadPcmFormat(file, &from, &size);
    if (result == TOLVANE_OK) result = CheckChange(from, wanted);
    if (result != TOLVANE_OK) return result;
    if (!IsUsablePath(target) || IsSameFile(file, target) || !AllPassesFit(from, size, wanted))
        return TOLVANE_OUTPUT_NOT_WRITTEN;
    const Changes changes = Compare(from, wanted);
    PassProgress progress = {job, 100 / changes.Count(), 0};
    if (changes.rate) {
        result = ChangeProperty(Property::kRate, file, target, wanted, progress);
        progress.base += progress.share;
    } else {
        result = CopySource(file, target);
    }
    if (result == TOLVANE_OK && changes.channels)
        result = ChangeTarget(target, Property::kChannels, wanted, &progress);
    if (result == TOLVANE_OK && changes.size)
        result = ChangeTarget(target, Property::kSampleSize, wanted, &progress);
    return result;
}

// By their whole names; an empty one where the target is none.
struct ChangedFiles {
    char source[kPathSize];
    char target[kPathSize];

    uint16_t Settle(const char* name, const char* wanted_target) {
        char file[kPathSize];
        if (const uint16_t refused = SettleEditedFile(name, file)) return refused;
        if (!CopyFullPath(target, wanted_target)) *target = 0;
        return CopyFullPath(source, file) ? TOLVANE_OK : TOLVANE_CANNOT_OPEN;
    }
};

unsigned __stdcall ChangeInBackground(void* argument) {
    auto* job = static_cast<EditJob*>(argument);
    const auto* change = static_cast<const ChangeParameters*>(job->parameters);
    const PcmShape wanted = {change->rate, change->bits, change->channels};
    FinishEditJob(job, ChangeFormat(change->file, change->target, wanted, ControlOf(*job)));
    EndWorker();
}

}  // namespace

uint16_t ChangeFormatNow(const char* name, const char* target, const PcmShape& wanted) {
    ChangedFiles files;
    const uint16_t refused = files.Settle(name, target);
    return refused ? refused : ChangeFormat(files.source, files.target, wanted, JobControl());
}

uint16_t StartChangeFormat(const char* name, const char* target, const PcmShape& wanted, EditJob** handle) {
    ChangedFiles files;
    if (const uint16_t refused = files.Settle(name, target)) return refused;
    if (handle) *handle = nullptr;
    EditJobOwner job = NewEditJob(sizeof(ChangeParameters));
    if (!job) return TOLVANE_NO_CHANGE_MEMORY;
    auto* change = static_cast<ChangeParameters*>(job->parameters);
    *change = {sizeof *change, "", "", wanted.rate, wanted.bits, wanted.channels};
    CopyText(change->file, kPathSize, files.source);
    CopyText(change->target, kPathSize, files.target);
    return StartEditJob(std::move(job), ChangeInBackground, handle) ? TOLVANE_OK : TOLVANE_NO_CHANGE_MEMORY;
}

}  // namespace tolvane
