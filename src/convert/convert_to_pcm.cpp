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

// Nothing stands behind the 18 bytes of a PCM format, whatever it claims.
WAVEFORMATEX WithoutExtra(WAVEFORMATEX format) {
    format.cbSize = 0;
    return format;
}

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

// A PCM format into which any codec can decode the input.
TolvaneResult SuggestOutput(const PcmInput& input, WAVEFORMATEX* output) {
    DWORD largest = 0;
    if (LargestFormat(&largest) != MMSYSERR_NOERROR) return TOLVANE_NO_PCM_SUGGESTION;
    largest = std::max<DWORD>(largest, sizeof *output);
    GlobalBlock block;
    if (block.Allocate(largest, GMEM_MOVEABLE | GMEM_ZEROINIT) != GlobalBlock::Outcome::kDone)
        return TOLVANE_NO_CHANGE_MEMORY;
    auto* format = static_cast<WAVEFORMATEX*>(block.Data());
    format->wFormatTag = WAVE_FORMAT_PCM;
    if (SuggestFromAny(input.Format(), format, largest, ACM_FORMATSUGGESTF_WFORMATTAG) != MMSYSERR_NOERROR)
        return TOLVANE_NO_PCM_SUGGESTION;
    *output = WithoutExtra(*format);
    return TOLVANE_OK;
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
    return result;
}

TolvaneResult Finish(WaveWriter& output) {
    const bool data = output.EndChunk(), form = output.EndWave(), closed = output.Close();
    if (!data) return TOLVANE_TARGET_DATA_OPEN;
    return form && closed ? TOLVANE_OK : TOLVANE_TARGET_FORM_OPEN;
}

// One pass over the data, into a file that the writer begins anew.
class Pass {
  public:
    // `job` (may be null) is told of the progress; `tell`: the debugger is told of the sizes.
    Pass(const PcmInput& input, const JobControl* job, bool tell) : input_(input), job_(job), tell_(tell) {}

    // Without a format, into the one that is suggested for the input.
    TolvaneResult Run(const char* output, const WAVEFORMATEX* format);

    // How much of the sound is in the output, also after a failure.
    DWORD Written() const { return written_; }

  private:
    TolvaneResult FindData();
    TolvaneResult WriteFormat(const WAVEFORMATEX* wanted);
    TolvaneResult OpenStream();
    TolvaneResult BeginData();
    TolvaneResult ConvertData();

    const PcmInput& input_;
    const JobControl* const job_;
    const bool tell_;
    WaveWriter writer_;
    Chunk data_ = {};
    WAVEFORMATEX format_ = {};
    AcmStream stream_;
    DWORD written_ = 0;
};

TolvaneResult Pass::FindData() {
    Chunk chunk;
    if (!FindSubchunk(input_.file, input_.riff, kFormatChunk, &chunk) ||
        mmioAscend(input_.file.Get(), &chunk, 0) != MMSYSERR_NOERROR)
        return TOLVANE_FORMAT_NOT_CLOSED;
    if (!FindSubchunk(input_.file, input_.riff, kDataChunk, &data_)) return TOLVANE_PCM_SOURCE_NO_DATA;
    if (tell_) TellDebugger("Total File Size: %ld\n", data_.cksize);
    return TOLVANE_OK;
}

TolvaneResult Pass::WriteFormat(const WAVEFORMATEX* wanted) {
    if (!writer_.BeginWave()) return TOLVANE_OUTPUT_NO_FORM;
    if (!writer_.BeginChunk(kFormatChunk)) return TOLVANE_OUTPUT_NO_FORMAT;
    const TolvaneResult result = wanted ? TOLVANE_OK : SuggestOutput(input_, &format_);
    if (result != TOLVANE_OK) return result;
    if (wanted) format_ = *wanted;
    if (!writer_.Write(&format_, sizeof format_)) return TOLVANE_OUTPUT_FORMAT_LOST;
    return writer_.EndChunk() ? TOLVANE_OK : TOLVANE_FORMAT_NOT_CLOSED;
}

TolvaneResult Pass::OpenStream() {
    stream_ = OpenAcmStream(nullptr, input_.Format(), &format_);
    return stream_ ? TOLVANE_OK : TOLVANE_NO_STREAM;
}

TolvaneResult Pass::BeginData() {
    return writer_.BeginChunk(kDataChunk) ? TOLVANE_OK : TOLVANE_OUTPUT_NO_DATA;
}

TolvaneResult Pass::ConvertData() {
    Conversion conversion(input_.file, data_.cksize, writer_);
    TolvaneResult result = CodeOf(conversion.Prepare(std::move(stream_)));
    if (result == TOLVANE_OK) result = RunLoop(conversion, job_);
    written_ = conversion.Written();
    if (result != TOLVANE_OK) return result;
    TellDebugger("%ld bytes written in all", written_);
    if (tell_) TellDebugger("%ld bytes read from file\n", conversion.BytesRead());
    return TOLVANE_OK;
}

// Sound that has been begun is finished in any case, so that what is in the file can be played.
TolvaneResult Pass::Run(const char* output, const WAVEFORMATEX* format) {
    if (!writer_.Create(output)) return TOLVANE_OUTPUT_NOT_WRITTEN;
    TolvaneResult result = FindData();
    if (result == TOLVANE_OK) result = WriteFormat(format);
    if (result == TOLVANE_OK && !format) result = OpenStream();
    if (result == TOLVANE_OK) result = BeginData();
    if (result == TOLVANE_OK && format) result = OpenStream();
    if (result != TOLVANE_OK) return result;
    result = ConvertData();
    const TolvaneResult finished = Finish(writer_);
    return result == TOLVANE_OK ? finished : result;
}

TolvaneResult CopyInto(Replacement& replacement, const char* from) {
    const bool done = CopyFileA(from, replacement.Path(), FALSE) && replacement.Commit();
    return done ? TOLVANE_OK : TOLVANE_OUTPUT_NOT_WRITTEN;
}

TolvaneResult Place(Replacement& replacement) {
    return replacement.Commit() ? TOLVANE_OK : TOLVANE_OUTPUT_NOT_WRITTEN;
}

bool HasFormat(const PcmInput& input, const WAVEFORMATEX& format) {
    const WAVEFORMATEX own = WithoutExtra(*input.Format());
    return input.IsPcm() && memcmp(&own, &format, sizeof format) == 0;
}

TolvaneResult RunOnlyPass(PcmInput input, Replacement& replacement, const WAVEFORMATEX& format,
                          const JobControl* job) {
    const TolvaneResult result = Pass(input, job, !job).Run(replacement.Path(), &format);
    input = PcmInput();  // it may be the target
    return result == TOLVANE_OK ? Place(replacement) : result;
}

TolvaneResult RunSecondPass(const char* source, Replacement& replacement, const WAVEFORMATEX& format) {
    PcmInput input;
    if (const TolvaneResult result = Open(source, &input); result != TOLVANE_OK) return result;
    if (HasFormat(input, format)) return CopyInto(replacement, source);
    Pass pass(input, nullptr, false);
    const TolvaneResult result = pass.Run(replacement.Path(), &format);
    if (result != TOLVANE_OK && pass.Written() == 0) return result;
    const TolvaneResult placed = Place(replacement);
    return result == TOLVANE_OK ? placed : result;
}

TolvaneResult RunBothPasses(PcmInput input, Replacement& replacement, const WAVEFORMATEX& format,
                            const JobControl* job) {
    const TempFile scratch = TempFile::InSystemFolder();
    if (!scratch) return TOLVANE_OUTPUT_NOT_WRITTEN;
    const TolvaneResult result = Pass(input, job, !job).Run(scratch.Path(), nullptr);
    input = PcmInput();  // it may be the target
    return result == TOLVANE_OK ? RunSecondPass(scratch.Path(), replacement, format) : result;
}

// The sound has the right format already; a file needs no copy of itself.
TolvaneResult CopySound(const char* source, const char* target, bool begun, Replacement& replacement) {
    if (IsSameFile(source, target)) return TOLVANE_OK;
    return begun ? CopyInto(replacement, source) : TOLVANE_OUTPUT_NOT_WRITTEN;
}

// The place for the target is made while nobody holds the source, which may be the same file.
TolvaneResult Convert(const char* source, const char* target, const WAVEFORMATEX& format,
                      const JobControl* job) {
    Replacement replacement;
    const bool begun = replacement.Begin(target);
    PcmInput input;
    if (const TolvaneResult result = Open(source, &input); result != TOLVANE_OK) return result;
    if (HasFormat(input, format)) return CopySound(source, target, begun, replacement);
    if (!begun) return TOLVANE_OUTPUT_NOT_WRITTEN;
    return (input.IsPcm() ? RunOnlyPass : RunBothPasses)(std::move(input), replacement, format, job);
}

}  // namespace

TolvaneResult ConvertToPcmFile(const char* source, const char* target, const WAVEFORMATEX& format,
                               const JobControl* job) {
    if (!source) return TOLVANE_NO_INPUT_PATH;
    if (!target) return TOLVANE_NO_OUTPUT_PATH;
    if (format.wFormatTag != WAVE_FORMAT_PCM) return TOLVANE_NO_STREAM;
    const TolvaneResult result = Convert(source, target, WithoutExtra(format), job);
    if (job && result == TOLVANE_OK && !job->IsCancelled()) job->ShowProgress(1, 1);
    return result;
}

}  // namespace tolvane
