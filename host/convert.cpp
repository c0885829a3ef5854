// `tolvane convert`: wave files into the formats of the codecs and back, in as many steps as the codecs need: they
// keep rate and channels, and work on 16 bits.
#include <tolvane.h>

#include <fmt/format.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "codec_names.h"
#include "commands.h"
#include "conversion_files.h"
#include "format_choice.h"
#include "job_screen.h"
#include "result_text.h"
#include "wave_data.h"

namespace tolvane::host {
namespace {

constexpr std::string_view kCannot = "cannot convert";
constexpr uint32_t kSuggestedFormat = 0xFFFFFFFF;
constexpr uint16_t kCodecBits = 16;

struct Step {
    CodecTag codec;
    PcmShape pcm;
};

// A tenth of a second of silence that every codec takes: with it a codec can be asked for its formats.
bool WriteSilence(const std::string& path) {
    constexpr uint32_t kRate = 22050, kBytes = kRate / 10 * 2;
    const InputFileInfo format{kPcmTag, 1, kRate, kRate * 2, 2, kCodecBits};
    std::vector<uint8_t> bytes = WaveHead(format, kBytes);
    bytes.resize(bytes.size() + kBytes);
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    return file && std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size() &&
           std::fflush(file.get()) == 0;
}

class Conversion {
  public:
    Conversion(const ConvertRequest& request, const SoundFormat& sound, CodecTag codec, MessageWindow& window)
        : request_(request),
          source_(sound.Shape()),
          source_tag_(sound.format.wFormatTag),
          codec_(std::move(codec)),
          folder_(FolderOf(request.files.target)),
          screen_(window, "Converting", request.files.quiet),
          choice_(request.format, source_, CanAsk()) {}

    int Run();

  private:
    bool CanAsk() { return !request_.files.yes && screen_.terminal() && screen_.terminal()->HasKeys(); }
    uint16_t ChooseFormat();
    PcmShape PcmBeforeCodec();
    uint16_t PlanSteps();
    uint16_t RunSteps(const WorkFile& result);
    uint16_t RunAll(const WorkFile& result);
    int Report(uint16_t code);
    bool IsOfWantedTag(const WorkFile& result) const;

    const ConvertRequest& request_;
    const PcmShape source_;
    const uint16_t source_tag_;
    CodecTag codec_;
    const std::string folder_;
    JobScreen screen_;
    FormatChoice choice_;
    std::vector<Step> steps_;
};

// The codec asks in the course of a conversion. Where the answer tells which steps are needed, silence is converted
// first.
uint16_t Conversion::ChooseFormat() {
    const WorkFile silence(folder_), result(folder_);
    if (!WriteSilence(silence.path())) return TOLVANE_TARGET_NOT_CREATED;
    ConversionJob job(codec_, silence.path(), result.path());
    const auto code = screen_.Follow(job, [this](Job& asking) { return choice_.Attend(asking, screen_); });
    if (code == TOLVANE_CANCELLED || choice_.IsUnknown()) return TOLVANE_CANCELLED;
    return choice_.Chosen() ? uint16_t{TOLVANE_OK} : code;  // silence need not fit what was chosen
}

// Without an answer (the system asks with its dialog, later) the codec is left to take what there is.
PcmShape Conversion::PcmBeforeCodec() {
    const PcmShape decoded{source_.rate, source_tag_ == kPcmTag ? source_.bits : kCodecBits,
                           source_.channels};
    const auto format = choice_.Chosen();
    return format && format->rate != 0 ? PcmShape{format->rate, kCodecBits, format->channels} : decoded;
}

uint16_t Conversion::PlanSteps() {
    const bool to_pcm = codec_.tag == kPcmTag;
    PcmShape now = source_;
    const PcmShape wanted = !to_pcm
                                ? PcmBeforeCodec()
                                : request_.pcm.value_or(PcmShape{source_.rate, kCodecBits, source_.channels});
    if (source_tag_ != kPcmTag) {
        const auto decoder = FindDecoder(source_tag_);
        if (!decoder) return TOLVANE_NO_CODEC;
        now.bits = kCodecBits;
        steps_.push_back({*decoder, now});
    }
    if (now != wanted || (to_pcm && steps_.empty())) {
        const auto converter = FindPcmConverter();
        if (!converter) return TOLVANE_NO_CODEC;
        steps_.push_back({*converter, wanted});
    }
    if (!to_pcm) steps_.push_back({codec_, {}});
    return TOLVANE_OK;
}

// Each step reads what the one before has written.
uint16_t Conversion::RunSteps(const WorkFile& result) {
    std::unique_ptr<WorkFile> before;
    screen_.ExpectJobs(static_cast<uint32_t>(steps_.size()));
    for (const Step& step : steps_) {
        auto after = &step == &steps_.back() ? nullptr : std::make_unique<WorkFile>(folder_);
        ConversionJob job(step.codec, before ? before->path() : request_.files.source,
                          after ? after->path() : result.path(), step.pcm);
        if (const uint16_t code = screen_.Follow(job); code != TOLVANE_OK) return code;
        before = std::move(after);
    }
    return TOLVANE_OK;
}

uint16_t Conversion::RunAll(const WorkFile& result) {
    uint16_t code = TOLVANE_OK;
    if (codec_.tag != kPcmTag && choice_.IsOurs()) code = ChooseFormat();
    if (code == TOLVANE_OK) code = PlanSteps();
    return code == TOLVANE_OK ? RunSteps(result) : code;
}

int Conversion::Report(uint16_t code) {
    if (choice_.IsUnknown()) {
        ReportFailure("cannot take the format", request_.format,
                      fmt::format("{} does not offer it.", codec_.name),
                      fmt::format("There are:{}", choice_.OfferText()));
        return kExitBadArguments;
    }
    const bool does_not_fit = code == TOLVANE_NO_PCM_SUGGESTION || code == TOLVANE_NO_STREAM;
    return ReportConversionEnd(request_.files, code,
                               does_not_fit && codec_.tag != kPcmTag
                                   ? "Make PCM first that the codec takes, for instance with --pcm 8000/16/1."
                                   : "");
}

bool Conversion::IsOfWantedTag(const WorkFile& result) const {
    InputFileInfo format{};
    GetInputFileInfo(result.path().c_str(), &format);
    return format.wFormatTag == codec_.tag;
}

int Conversion::Run() {
    const std::string name = codec_.name;
    if (!choice_.IsOurs() && !request_.format.empty())
        return ReportFailure("cannot take the format", request_.format,
                             "The system asks for it with a dialog here.", "Leave --format out.");
    if (!choice_.IsOurs() && !CanAsk() && codec_.tag != kPcmTag) codec_.index = kSuggestedFormat;
    WorkFile result(folder_);
    if (const uint16_t code = RunAll(result); code != TOLVANE_OK) return Report(code);
    if (!IsOfWantedTag(result))
        return ReportFailure(kCannot, request_.files.source, "The codec suggests another format.",
                             "In a terminal, without -y and --quiet, the system asks for the format.");
    return FinishConversion(request_.files, result, name);
}

int ReportNoCodec(const std::string& name, const std::vector<CodecTag>& several) {
    if (several.empty())
        ReportFailure("cannot use the codec", name, "No such codec is installed.",
                      fmt::format("There are {}.", CodecNames()));
    else
        ReportFailure("cannot use the codec", name, "Several codecs have this in their names.",
                      fmt::format("Name one of {}.", CodecNames(several)));
    return kExitBadArguments;
}

}  // namespace

int RunConvert(const ConvertRequest& request) {
    MessageWindow window;
    SoundFormat sound;
    const auto codecs = FindCodecs(request.codec.empty() ? "pcm" : request.codec);
    if (codecs.size() != 1) return ReportNoCodec(request.codec, codecs);
    if (const int failed = CheckSource(request.files, sound)) return failed;
    if (const int failed = CheckTarget(request.files)) return failed;
    return Conversion(request, sound, codecs[0], window).Run();
}

}  // namespace tolvane::host
