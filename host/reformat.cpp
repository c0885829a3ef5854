// `tolvane reformat`: another rate, sample size or channel count of a PCM file by the library's own arithmetic.
#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>

#include "commands.h"
#include "conversion_files.h"
#include "job_screen.h"
#include "result_text.h"

namespace tolvane::host {
namespace {

constexpr uint32_t kUsualRates[] = {8'000,  11'025, 12'000, 16'000, 22'050,  24'000, 32'000,
                                    44'100, 48'000, 88'200, 96'000, 176'400, 192'000};
constexpr std::string_view kCannot = "cannot reformat";
constexpr std::string_view kAnyRate = "`tolvane convert --pcm RATE/BITS/CHANNELS` reaches any rate.";

bool IsWholeRatio(uint32_t rate, uint32_t other) {
    return rate != 0 && other != 0 && std::max(rate, other) % std::min(rate, other) == 0;
}

std::string PossibleRates(uint32_t rate) {
    std::string list;
    for (const uint32_t usual : kUsualRates)
        if (usual != rate && IsWholeRatio(usual, rate))
            list += fmt::format("{}{}", list.empty() ? "" : ", ", usual);
    return list.empty() ? fmt::format("{} and {}", rate / 2, rate * 2) : list;
}

PcmShape WantedShape(const ReformatRequest& request, const PcmShape& source) {
    return {request.rate ? request.rate : source.rate, request.bits ? request.bits : source.bits,
            request.channels ? request.channels : source.channels};
}

// The library refuses these too, with codes that stand for several causes.
int CheckChange(const std::string& file, const SoundFormat& sound, const PcmShape& wanted) {
    const PcmShape source = sound.Shape();
    if (!sound.IsPcm())
        return ReportFailure(kCannot, file, "The sound is compressed.",
                             "`tolvane convert --pcm RATE/BITS/CHANNELS` makes PCM of it.");
    if (wanted == source)
        return ReportFailure(kCannot, file, fmt::format("It has this format already: {}.", ShapeText(source)),
                             "Say what is to be changed with --rate, --bits or --channels.");
    if (IsWholeRatio(wanted.rate, source.rate)) return kExitDone;
    return ReportFailure(kCannot, file,
                         fmt::format("{} Hz cannot become {} Hz: rates change by whole numbers only.",
                                     source.rate, wanted.rate),
                         fmt::format("Possible rates are {}. {}", PossibleRates(source.rate), kAnyRate));
}

}  // namespace

int RunReformat(const ReformatRequest& request) {
    ConversionFiles files = request.files;
    files.cannot = kCannot;
    MessageWindow window;
    SoundFormat sound;
    if (const int failed = CheckSource(files, sound)) return failed;
    const PcmShape wanted = WantedShape(request, sound.Shape());
    if (const int failed = CheckChange(files.source, sound, wanted)) return failed;
    if (const int failed = CheckTarget(files)) return failed;

    WorkFile work(FolderOf(files.target));
    uint16_t code = TOLVANE_OK;
    {
        JobScreen screen(window, "Reformatting", files.quiet);
        EditingJob job([&](EditJob** handle) {
            return AudioChangeFormat(files.source.c_str(), work.path().c_str(), wanted.rate, wanted.bits,
                                     wanted.channels, handle, 0);
        });
        code = screen.Follow(job);
    }
    return code == TOLVANE_OK ? FinishConversion(files, work, "PCM") : ReportConversionEnd(files, code);
}

}  // namespace tolvane::host
