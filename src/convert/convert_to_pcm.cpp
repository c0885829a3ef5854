#include "convert/convert_to_pcm.h"

#include <mmreg.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "convert/conversion.h"
#include "files/replacement.h"
#include "files/wave_reader.h"
#include "files/wave_writer.h"
#include "frame/scratch_files.h"

namespace tolvane {

namespace {

// The text of a message for the debugger holds one number.
void TellDebugger(const char* text, DWORD number) {
    char line[64];
    snprintf(line, sizeof line, text, static_cast<long>(number));
    OutputDebugStringA(line);
}

struct PcmInput {
    MmioFile file;
    Chunk riff = {};
    GlobalBlock format;

    const WAVEFORMATEX* Format() const { return static_cast<const WAVEFORMATEX*>(format.Data()); }
    bool IsPcm() const { return Format()->wFormatTag == WAVE_FORMAT_PCM; }
};

TolvaneResult Open(const char* path, PcmInput* input) {
    input->file = OpenForReading(path, MMIO_DENYWRITE);
    if (!input->file) return TOLVANE_INPUT_NOT_OPENED;
    if (!FindWave(input->file, &input->riff)) return TOLVANE_PCM_SOURCE_NOT_WAVE;
    const FormatRead read = ReadFormatRecord(input->file, input->riff, &input->format);
    if (read == FormatRead::kNoMemory) return TOLVANE_NO_CHANGE_MEMORY;
    return read == FormatRead::kDone ? TOLVANE_OK : TOLVANE_INPUT_BAD_FORMAT;
}

// What a pass writes: the format that was asked for, or a PCM format into which any codec can decode.
TolvaneResult SuggestOutput(const PcmInput& input, WAVEFORMATEX* output) {
    DWORD largest = 0;
    if (acmMetrics(nullptr, ACM_METRIC_MAX_SIZE_FORMAT, &largest) != MMSYSERR_NOERROR)
        return TOLVANE_NO_PCM_SUGGESTION;
    largest = std::max<DWORD>(largest, sizeof *output);
    GlobalBlock block;
    if (block.Allocate(largest, GMEM_MOVEABLE | GMEM_ZEROINIT) != GlobalBlock::Outcome::kDone)
        return TOLVANE_NO_CHANGE_MEMORY;
    auto* format = static_cast<WAVEFORMATEX*>(block.Data());
    format->wFormatTag = WAVE_FORMAT_PCM;
    if (acmFormatSuggest(nullptr, const_cast<WAVEFORMATEX*>(input.Format()), format, largest,
                         ACM_FORMATSUGGESTF_WFORMATTAG) != MMSYSERR_NOERROR)
        return TOLVANE_NO_PCM_SUGGESTION;
    memcpy(output, format, sizeof *output);
    return TOLVANE_OK;
}

TolvaneResult WriteHeader(WaveWriter& output, const WAVEFORMATEX& format) {
    if (!output.BeginWave()) return TOLVANE_OUTPUT_NO_FORM;
    if (!output.BeginChunk(kFormatChunk)) return TOLVANE_OUTPUT_NO_FORMAT;
    if (!output.Write(&format, sizeof format)) return TOLVANE_OUTPUT_FORMAT_LOST;
    if (!output.EndChunk()) return TOLVANE_FORMAT_NOT_CLOSED;
    return output.BeginChunk(kDataChunk) ? TOLVANE_OK : TOLVANE_OUTPUT_NO_DATA;
}

TolvaneResult CodeOf(StreamBlock::Outcome outcome) {
    if (outcome == StreamBlock::Outcome::kReady) return TOLVANE_OK;
    if (outcome == StreamBlock::Outcome::kNotSized) return TOLVANE_BLOCK_NOT_SIZED;
    return outcome == StreamBlock::Outcome::kNotPrepared ? TOLVANE_OUTPUT_NOT_PREPARED
                                                         : TOLVANE_NO_CHANGE_MEMORY;
}

TolvaneResult RunLoop(Conversion& conversion, const JobControl* job) {
    TolvaneResult result = TOLVANE_OK;
    while (result == TOLVANE_OK && !conversion.IsExhausted()) {
        if (job) job->ShowProgress(conversion.Consumed(), conversion.Total());
        if (job && job->IsCancelled()) return TOLVANE_OK;
        result = conversion.Step();
    }
    if (job && result == TOLVANE_OK) job->ShowProgress(conversion.Consumed(), conversion.Total());
    return result;
}

TolvaneResult Finish(WaveWriter& output) {
    const bool data = output.EndChunk(), form = output.EndWave(), closed = output.Close();
    if (!data) return TOLVANE_TARGET_DATA_OPEN;
    return form && closed ? TOLVANE_OK : TOLVANE_TARGET_FORM_OPEN;
}

// One pass over the data. `written` tells how much of it is in the output, also after a failure.
struct Pass {
    const char* output;
    const JobControl* job;
    bool tell;
    DWORD written = 0;

    TolvaneResult Run(const PcmInput& input, const WAVEFORMATEX& format);
    TolvaneResult ConvertData(const PcmInput& input, const WAVEFORMATEX& format, DWORD size,
                              WaveWriter& writer);
};

TolvaneResult Pass::ConvertData(const PcmInput& input, const WAVEFORMATEX& format, DWORD size,
                                WaveWriter& writer) {
    AcmStream stream = OpenAcmStream(nullptr, input.Format(), &format);
    if (!stream) return TOLVANE_NO_STREAM;
    Conversion conversion(input.file, size, writer);
    TolvaneResult result = CodeOf(conversion.Prepare(std::move(stream)));
    if (result == TOLVANE_OK) result = RunLoop(conversion, job);
    written = conversion.Written();
    TellDebugger("%ld bytes written in all", written);
    if (tell) TellDebugger("%ld bytes read from file\n", conversion.BytesRead());
    return result;
}

// A file that has been begun is finished in any case, so that what is in it can be played.
TolvaneResult Pass::Run(const PcmInput& input, const WAVEFORMATEX& format) {
    WaveWriter writer;
    Chunk chunk;
    if (!writer.Create(output)) return TOLVANE_OUTPUT_NOT_WRITTEN;
    if (!FindSubchunk(input.file, input.riff, kFormatChunk, &chunk) ||
        mmioAscend(input.file.Get(), &chunk, 0) != MMSYSERR_NOERROR)
        return TOLVANE_FORMAT_NOT_CLOSED;
    if (!FindSubchunk(input.file, input.riff, kDataChunk, &chunk)) return TOLVANE_PCM_SOURCE_NO_DATA;
    if (tell) TellDebugger("Total File Size: %ld\n", chunk.cksize);
    TolvaneResult result = WriteHeader(writer, format);
    if (result != TOLVANE_OK) return result;
    const MmioFile& file = input.file;
    if (mmioSeek(file.Get(), static_cast<LONG>(chunk.dwDataOffset), SEEK_SET) < 0)
        return TOLVANE_SOURCE_CUT_SHORT;
    result = ConvertData(input, format, chunk.cksize, writer);
    const TolvaneResult finished = Finish(writer);
    return result == TOLVANE_OK ? finished : result;
}

TolvaneResult CopyInPlace(const char* from, const char* target) {
    Replacement replacement;
    const bool done =
        replacement.Begin(target) && CopyFileA(from, replacement.Path(), FALSE) && replacement.Commit();
    return done ? TOLVANE_OK : TOLVANE_OUTPUT_NOT_WRITTEN;
}

bool HasFormat(const PcmInput& input, const WAVEFORMATEX& format) {
    return input.IsPcm() && memcmp(input.Format(), &format, sizeof format) == 0;
}

// The sound has the right format already; a file needs no copy of itself.
TolvaneResult CopySound(const char* source, const char* target, const JobControl* job) {
    const TolvaneResult result = IsSameFile(source, target) ? TOLVANE_OK : CopyInPlace(source, target);
    if (job && result == TOLVANE_OK) job->ShowProgress(1, 1);
    return result;
}

TolvaneResult RunSecondPass(const char* source, const char* target, const WAVEFORMATEX& format) {
    PcmInput input;
    if (const TolvaneResult result = Open(source, &input); result != TOLVANE_OK) return result;
    if (HasFormat(input, format)) return CopyInPlace(source, target);
    Replacement replacement;
    if (!replacement.Begin(target)) return TOLVANE_OUTPUT_NOT_WRITTEN;
    Pass pass{replacement.Path(), nullptr, false};
    const TolvaneResult result = pass.Run(input, format);
    if (result != TOLVANE_OK && pass.written == 0) return result;
    const bool placed = replacement.Commit();
    return result == TOLVANE_OK && !placed ? TOLVANE_OUTPUT_NOT_WRITTEN : result;
}

// A file of the system's temp folder, for the time of a conversion.
struct TempFile {
    char path[kPathSize];
    bool made = MakeTempName(path);
    TempFile() = default;
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    ~TempFile() {
        if (made) DeleteFileA(path);
    }
};

TolvaneResult RunBothPasses(PcmInput input, const char* target, const WAVEFORMATEX& format,
                            const JobControl* job) {
    const bool is_pcm = input.IsPcm();
    WAVEFORMATEX first = format;
    if (!is_pcm)
        if (const TolvaneResult result = SuggestOutput(input, &first); result != TOLVANE_OK) return result;
    TempFile scratch;
    if (!scratch.made) return TOLVANE_OUTPUT_NOT_WRITTEN;
    Pass pass{scratch.path, job, !job};
    const TolvaneResult result = pass.Run(input, first);
    input = PcmInput();
    if (result != TOLVANE_OK) return result;
    return is_pcm ? CopyInPlace(scratch.path, target) : RunSecondPass(scratch.path, target, format);
}

}  // namespace

TolvaneResult ConvertToPcmFile(const char* source, const char* target, const WAVEFORMATEX& format,
                               const JobControl* job) {
    if (!source) return TOLVANE_NO_INPUT_PATH;
    if (!target) return TOLVANE_NO_OUTPUT_PATH;
    PcmInput input;
    if (const TolvaneResult result = Open(source, &input); result != TOLVANE_OK) return result;
    if (HasFormat(input, format)) return CopySound(source, target, job);
    return RunBothPasses(std::move(input), target, format, job);
}

}  // namespace tolvane
