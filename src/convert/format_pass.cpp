#include "convert/format_pass.h"

#include <algorithm>

#include "convert/sample_loops.h"
#include "files/pcm_format.h"
#include "files/wave_reader.h"
#include "files/wave_writer.h"
#include "frame/handles.h"
#include "tolvane.h"

namespace tolvane {

namespace {

// The step of the arithmetic and of the progress; frames that are dropped are counted within it.
constexpr DWORD kBlockSize = 8192;
constexpr LONG kFileBufferSize = 65536;
constexpr DWORD kShortestFormat = 16;  // a format record without its extra size

WAVEFORMATEX FormatOf(const PcmShape& shape) {
    return PcmFormat(shape.channels, shape.rate, shape.bits);
}

PcmShape ShapeOf(const WAVEFORMATEX& format) {
    return {format.nSamplesPerSec, format.wBitsPerSample, format.nChannels};
}

bool IsHandled(const WAVEFORMATEX& format) {
    return IsPossibleShape(ShapeOf(format)) &&
           format.nBlockAlign == format.nChannels * format.wBitsPerSample / 8;
}

// A PCM wave file, open at its sound.
struct PcmInput {
    MmioFile file;
    WAVEFORMATEX format = {};  // that the passes can work on
    DWORD size = 0;            // of the sound, as the file claims it
};

uint16_t OpenPcmInput(const char* path, PcmInput* input) {
    Chunk riff, chunk;
    input->file = OpenForReading(path);
    if (!input->file) return TOLVANE_INPUT_NOT_OPENED;
    mmioSetBuffer(input->file.Get(), nullptr, kFileBufferSize, 0);  // without it reading is only slower
    if (!FindWave(input->file, &riff)) return TOLVANE_INPUT_NOT_WAVE;
    if (!FindSubchunk(input->file, riff, kFormatChunk, &chunk)) return TOLVANE_INPUT_NO_FORMAT;
    const DWORD size = std::min<DWORD>(chunk.cksize, sizeof input->format);
    if (size < kShortestFormat || !ReadExactly(input->file, &input->format, size))
        return TOLVANE_INPUT_BAD_FORMAT;
    if (input->format.wFormatTag != WAVE_FORMAT_PCM) return TOLVANE_INPUT_NOT_PCM;
    input->format.cbSize = 0;
    if (!FindSubchunk(input->file, riff, kDataChunk, &chunk)) return TOLVANE_INPUT_NO_DATA;
    input->size = chunk.cksize;
    if (input->size == 0) return TOLVANE_INPUT_EMPTY;
    return IsHandled(input->format) ? TOLVANE_OK : TOLVANE_CHANGE_NOT_POSSIBLE;
}

// What a pass does with each block.
struct BlockChange {
    WAVEFORMATEX format;  // of the output
    BlockLoop loop;
    uint32_t unit;    // bytes of what the loop takes one by one
    uint32_t factor;  // for the loop
    uint32_t growth;  // the output has at most so many times the bytes of the input
};

BlockChange PlanSampleRate(const WAVEFORMATEX& from, uint32_t rate) {
    PcmShape shape = ShapeOf(from);
    const uint32_t old_rate = std::exchange(shape.rate, rate);
    const bool raise = rate > old_rate;
    const uint32_t factor = raise ? rate / old_rate : old_rate / rate;
    const BlockLoop loop = (raise ? RepeatLoop : KeepLoop)(from.nBlockAlign);
    return {FormatOf(shape), loop, from.nBlockAlign, factor, raise ? factor : 1};
}

// Both follow what the file has now, whatever it had when it was looked at first.
BlockChange PlanChannels(const WAVEFORMATEX& from) {
    PcmShape shape = ShapeOf(from);
    const bool mono = shape.channels == 1;
    shape.channels = mono ? 2 : 1;
    const uint32_t sample = shape.bits / 8u;
    return {FormatOf(shape), mono ? RepeatLoop(sample) : AverageLoop(sample), from.nBlockAlign, 2,
            mono ? 2u : 1u};
}

BlockChange PlanSampleSize(const WAVEFORMATEX& from) {
    PcmShape shape = ShapeOf(from);
    const uint32_t sample = shape.bits / 8u;
    shape.bits = sample == 1 ? 16 : 8;
    return {FormatOf(shape), sample == 1 ? WidenSamples : NarrowSamples, sample, 1, sample == 1 ? 2u : 1u};
}

BlockChange Plan(Property property, const WAVEFORMATEX& from, const PcmShape& wanted) {
    switch (property) {
        case Property::kRate:
            return PlanSampleRate(from, wanted.rate);
        case Property::kChannels:
            return PlanChannels(from);
        default:
            return PlanSampleSize(from);
    }
}

struct Blocks {
    GlobalBlock in, out;

    bool Allocate(uint32_t growth, DWORD sound) {
        constexpr UINT kFlags = GMEM_MOVEABLE | GMEM_ZEROINIT;
        const SIZE_T most = SIZE_T{std::min(kBlockSize, sound)} * growth;
        return in.Allocate(kBlockSize, kFlags) == GlobalBlock::Outcome::kDone &&
               out.Allocate(most, kFlags) == GlobalBlock::Outcome::kDone;
    }
};

uint16_t ConvertSound(const PcmInput& input, const BlockChange& change, const Blocks& blocks,
                      WaveWriter* output, const PassProgress& progress) {
    for (DWORD done = 0; done < input.size;) {
        const LONG wanted = static_cast<LONG>(std::min(kBlockSize, input.size - done));
        const LONG got = mmioRead(input.file.Get(), static_cast<HPSTR>(blocks.in.Data()), wanted);
        if (got <= 0) return TOLVANE_OUTPUT_NOT_WRITTEN;
        const size_t units = static_cast<size_t>(got) / change.unit;
        const size_t made = change.loop(blocks.in.Data(), units, change.factor, blocks.out.Data());
        if (!output->Write(blocks.out.Data(), static_cast<DWORD>(made))) return TOLVANE_OUTPUT_NOT_WRITTEN;
        done += static_cast<DWORD>(got);
        progress.Show(done, input.size);
        if (progress.job.IsCancelled()) return TOLVANE_CANCELLED;
    }
    return TOLVANE_OK;
}

}  // namespace

void PassProgress::Show(uint64_t done, uint64_t total) const {
    if (job.progress)
        *job.progress = static_cast<uint32_t>(std::min<uint64_t>(share * done / total + base, 100));
}

bool IsPossibleShape(const PcmShape& shape) {
    return (shape.channels == 1 || shape.channels == 2) && (shape.bits == 8 || shape.bits == 16) &&
           shape.rate != 0 && uint64_t{shape.rate} * shape.channels * shape.bits / 8 <= UINT32_MAX;
}

uint16_t ReadPcmFormat(const char* path, WAVEFORMATEX* format, DWORD* sound_size) {
    PcmInput input;
    const uint16_t result = OpenPcmInput(path, &input);
    *format = input.format;
    *sound_size = input.size;
    return result;
}

uint16_t ChangeProperty(Property property, const char* input_path, const char* output_path,
                        const PcmShape& wanted, const PassProgress& progress) {
    PcmInput input;
    if (const uint16_t refused = OpenPcmInput(input_path, &input)) return refused;
    const BlockChange change = Plan(property, input.format, wanted);
    if (change.growth > 1 && uint64_t{input.size} * change.growth > kMostSound)
        return TOLVANE_OUTPUT_NOT_WRITTEN;
    Blocks blocks;
    if (!blocks.Allocate(change.growth, input.size)) return TOLVANE_NO_CHANGE_MEMORY;
    WaveWriter output;
    if (!output.CreatePcm(output_path, change.format)) return TOLVANE_OUTPUT_NOT_WRITTEN;
    const uint16_t result = ConvertSound(input, change, blocks, &output, progress);
    const bool finished = output.FinishPcm();
    return result == TOLVANE_OK && !finished ? uint16_t{TOLVANE_OUTPUT_NOT_WRITTEN} : result;
}

}  // namespace tolvane
