#include "convert/convert_file.h"

#include <algorithm>
#include <cstring>

#include "convert/codec_manager.h"
#include "convert/catalogue.h"
#include "convert/conversion.h"
#include "files/pcm_format.h"
#include "files/replacement.h"
#include "files/wave_reader.h"
#include "files/wave_writer.h"

namespace tolvane {

namespace {

constexpr WAVEFORMATEX kLastAttempt = PcmFormat(2, 22050, 16);
constexpr FOURCC kFactChunk = mmioFOURCC('f', 'a', 'c', 't');

// A dialog of a service would wait on a desktop where nobody can close it.
bool IsDesktopVisible() {
    USEROBJECTFLAGS flags = {};
    return GetUserObjectInformationA(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags, nullptr) &&
           (flags.dwFlags & WSF_VISIBLE);
}

// One conversion, from step to step; what a step acquires goes with it.
class CodecConversion {
  public:
    CodecConversion(const ConvertRequest& request, ConvertJob* job) : request_(request), job_(job) {}

    TolvaneResult Run();

  private:
    TolvaneResult OpenDriver();
    TolvaneResult OpenSource();
    TolvaneResult MakeFormat();
    TolvaneResult SuggestFormat();
    TolvaneResult LetUserChoose();
    AcmStream OpenWith(HACMDRIVER driver);
    AcmStream OpenFallback();
    TolvaneResult OpenStream(AcmStream* stream);
    TolvaneResult BeginTarget();
    TolvaneResult WriteHeader();
    TolvaneResult ConvertData(AcmStream stream);
    TolvaneResult RunLoop(Conversion& conversion);
    TolvaneResult FinishTarget();
    bool IsCancelled() const { return job_ && job_->cancel != 0; }
    void Show(const Conversion& conversion) const;

    WAVEFORMATEX* Source() const { return static_cast<WAVEFORMATEX*>(source_format_.Data()); }
    WAVEFORMATEX* Target() const { return static_cast<WAVEFORMATEX*>(format_.Data()); }

    const ConvertRequest& request_;
    ConvertJob* const job_;
    CodecChoice choice_;
    AcmDriver driver_;
    MmioFile source_;
    Chunk riff_ = {};
    GlobalBlock source_format_;
    GlobalBlock format_;
    DWORD format_size_ = 0;
    DWORD total_ = 0;
    Replacement replacement_;
    WaveWriter target_;
};

TolvaneResult CodecConversion::OpenDriver() {
    if (!ChooseCodec(request_.codec_index, request_.format_tag_index, &choice_)) return TOLVANE_NO_CODEC;
    DWORD priority = 0;
    if (!ReadDriverPriority(choice_.driver_id, &priority)) return TOLVANE_NO_PRIORITY;
    if (!(priority & kPriorityOfNoUse)) driver_ = OpenAcmDriver(choice_.driver_id);
    return driver_ ? TOLVANE_OK : TOLVANE_CODEC_NOT_OPENED;
}

TolvaneResult CodecConversion::OpenSource() {
    source_ = OpenForReading(request_.source, MMIO_DENYWRITE);
    if (!source_) return TOLVANE_SOURCE_NOT_OPENED;
    if (!FindWave(source_, &riff_)) return TOLVANE_SOURCE_NOT_WAVE;
    const FormatRead read = ReadFormatRecord(source_, riff_, &source_format_);
    if (read == FormatRead::kNoChunk) return TOLVANE_SOURCE_NO_FORMAT;
    return read == FormatRead::kDone ? TOLVANE_OK : TOLVANE_SOURCE_BAD_FORMAT;
}

TolvaneResult CodecConversion::SuggestFormat() {
    const DWORD wish = choice_.names_tag ? ACM_FORMATSUGGESTF_WFORMATTAG : 0;
    Target()->wFormatTag = choice_.format_tag;
    const MMRESULT result = acmFormatSuggest(driver_.Get(), Source(), Target(), format_size_, wish);
    return result == MMSYSERR_NOERROR ? TOLVANE_OK : TOLVANE_NO_PCM_SUGGESTION;
}

// Where nobody can be asked, the driver's suggestion stays; who closes the dialog without a choice keeps what
// it began with.
TolvaneResult CodecConversion::LetUserChoose() {
    if (!IsDesktopVisible()) return TOLVANE_OK;
    GlobalBlock suggestion;
    if (suggestion.Allocate(format_size_, GMEM_MOVEABLE) != GlobalBlock::Outcome::kDone)
        return TOLVANE_NO_FORMAT_MEMORY;
    memcpy(suggestion.Data(), Target(), format_size_);
    *Target() = {choice_.format_tag, 1, 11025, 11025, 1, 8, 0};
    ACMFORMATCHOOSEA dialog = {};
    dialog.cbStruct = sizeof dialog;
    dialog.fdwStyle = ACMFORMATCHOOSE_STYLEF_INITTOWFXSTRUCT;
    dialog.pwfx = Target();
    dialog.cbwfx = format_size_;
    const MMRESULT result = acmFormatChooseA(&dialog);
    const bool asked = result == MMSYSERR_NOERROR || result == static_cast<MMRESULT>(ACMERR_CANCELED);
    if (!asked) memcpy(Target(), suggestion.Data(), format_size_);
    return TOLVANE_OK;
}

TolvaneResult CodecConversion::MakeFormat() {
    format_size_ = sizeof(WAVEFORMATEX);
    DWORD largest = 0;
    if (!choice_.to_pcm) {
        if (LargestFormat(&largest, driver_.Get()) != MMSYSERR_NOERROR) return TOLVANE_NO_FORMAT_SIZE;
        format_size_ = std::clamp<DWORD>(largest, sizeof(WAVEFORMATEX), kLongestFormat);
    }
    if (format_.Allocate(format_size_, GMEM_MOVEABLE | GMEM_ZEROINIT) != GlobalBlock::Outcome::kDone)
        return TOLVANE_NO_FORMAT_MEMORY;
    if (choice_.to_pcm) {
        const WAVEFORMATEX& wanted = request_.pcm_format;
        *Target() = PcmFormat(wanted.nChannels, wanted.nSamplesPerSec, wanted.wBitsPerSample);
        return TOLVANE_OK;
    }
    const TolvaneResult result = SuggestFormat();
    return result == TOLVANE_OK && choice_.names_tag ? LetUserChoose() : result;
}

// Whoever made the format: what it claims beside its 18 bytes lies within the record.
AcmStream CodecConversion::OpenWith(HACMDRIVER driver) {
    Target()->cbSize = std::min(Target()->cbSize, static_cast<WORD>(format_size_ - sizeof(WAVEFORMATEX)));
    return OpenAcmStream(driver, Source(), Target());
}

// With whatever driver can. A PCM target may become the first format of 18 bytes that is suggested for the source, of
// whatever tag.
AcmStream CodecConversion::OpenFallback() {
    if (choice_.to_pcm && SuggestFromAny(Source(), Target(), sizeof(WAVEFORMATEX), 0) != MMSYSERR_NOERROR)
        *Target() = kLastAttempt;
    return OpenWith(nullptr);
}

TolvaneResult CodecConversion::OpenStream(AcmStream* stream) {
    *stream = OpenWith(driver_.Get());
    if (!*stream && request_.allow_fallback) *stream = OpenFallback();
    return *stream ? TOLVANE_OK : TOLVANE_NO_STREAM;
}

// The target must not be the file that is being read.
TolvaneResult CodecConversion::BeginTarget() {
    Chunk data;
    if (!FindSubchunk(source_, riff_, kDataChunk, &data)) return TOLVANE_SOURCE_NO_DATA;
    total_ = data.cksize;
    if (IsSameFile(request_.source, request_.target) || !replacement_.Begin(request_.target) ||
        !target_.Create(replacement_.Path()))
        return TOLVANE_TARGET_NOT_CREATED;
    return WriteHeader();
}

TolvaneResult CodecConversion::WriteHeader() {
    if (!target_.BeginWave()) return TOLVANE_TARGET_NO_FORM;
    if (!target_.BeginChunk(kFormatChunk)) return TOLVANE_TARGET_NO_FORMAT;
    if (!target_.Write(Target(), format_size_)) return TOLVANE_TARGET_FORMAT_LOST;
    if (!target_.EndChunk()) return TOLVANE_TARGET_FORMAT_OPEN;
    if (!target_.BeginChunk(kFactChunk)) return TOLVANE_TARGET_NO_FACT;
    if (!target_.Write(&total_, sizeof total_)) return TOLVANE_TARGET_FACT_LOST;
    if (!target_.EndChunk()) return TOLVANE_TARGET_FACT_OPEN;
    return target_.BeginChunk(kDataChunk) ? TOLVANE_OK : TOLVANE_TARGET_NO_DATA;
}

TolvaneResult CodeOf(StreamBlock::Outcome outcome) {
    switch (outcome) {
        case StreamBlock::Outcome::kNoSourceMemory:
            return TOLVANE_NO_SOURCE_MEMORY;
        case StreamBlock::Outcome::kNotSized:
            return TOLVANE_TARGET_NOT_SIZED;
        case StreamBlock::Outcome::kNoTargetMemory:
            return TOLVANE_NO_TARGET_MEMORY;
        case StreamBlock::Outcome::kNotPrepared:
            return TOLVANE_NOT_PREPARED;
        default:
            return TOLVANE_OK;
    }
}

void CodecConversion::Show(const Conversion& conversion) const {
    if (!job_) return;
    job_->total = conversion.Total();
    job_->consumed = conversion.Consumed();
    job_->written = conversion.Written();
    JobControl{&job_->progress, nullptr}.ShowProgress(conversion.Consumed(), conversion.Total());
}

// The last steps, with everything taken, make the stream give what it still holds.
TolvaneResult CodecConversion::RunLoop(Conversion& conversion) {
    TolvaneResult result = TOLVANE_OK;
    for (bool last = false; result == TOLVANE_OK && !last;) {
        if (IsCancelled()) return TOLVANE_CANCELLED;
        Show(conversion);
        const bool exhausted = conversion.IsExhausted();
        result = conversion.Step();
        last = exhausted && !conversion.MayHoldMore();
    }
    Show(conversion);
    return result;
}

TolvaneResult CodecConversion::FinishTarget() {
    if (!target_.EndChunk()) return TOLVANE_TARGET_DATA_OPEN;
    if (!target_.EndWave() || !target_.Close()) return TOLVANE_TARGET_FORM_OPEN;
    return replacement_.Commit() ? TOLVANE_OK : TOLVANE_TARGET_NOT_CREATED;
}

TolvaneResult CodecConversion::ConvertData(AcmStream stream) {
    Conversion conversion(source_, total_, target_);
    const TolvaneResult result = CodeOf(conversion.Prepare(std::move(stream)));
    return result == TOLVANE_OK ? RunLoop(conversion) : result;
}

TolvaneResult CodecConversion::Run() {
    AcmStream stream;
    TolvaneResult result = OpenDriver();
    if (result == TOLVANE_OK) result = OpenSource();
    if (result == TOLVANE_OK) result = MakeFormat();
    if (result == TOLVANE_OK) result = OpenStream(&stream);
    if (result == TOLVANE_OK) result = BeginTarget();
    if (result == TOLVANE_OK) result = ConvertData(std::move(stream));
    if (result == TOLVANE_OK) result = FinishTarget();
    return result;
}

}  // namespace

TolvaneResult ConvertFile(const ConvertRequest& request, ConvertJob* job) {
    if (IsEmpty(request.source)) return TOLVANE_SOURCE_NOT_OPENED;
    if (IsEmpty(request.target)) return TOLVANE_TARGET_NOT_CREATED;
    const TolvaneResult result = CodecConversion(request, job).Run();
    return result == TOLVANE_CANCELLED ? TOLVANE_OK : result;
}

}  // namespace tolvane
