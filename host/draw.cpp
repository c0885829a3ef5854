// `tolvane draw`: the waveform of a file in the terminal or as a picture.
#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "commands.h"
#include "conversion_files.h"
#include "drawing.h"
#include "picture.h"
#include "result_text.h"
#include "work_file.h"

namespace tolvane::host {
namespace {

constexpr uint32_t kUsualWidth = 1200, kChannelHeight = 160, kGap = 8, kAxisHeight = 24, kMarkLength = 6;
constexpr uint32_t kMarkDistance = 100;

void DrawChannel(Picture& picture, const Waveform& waveform, uint16_t channel, uint32_t top) {
    const auto height_of = [](int value) {
        return static_cast<uint32_t>(INT16_MAX - value) * kChannelHeight / 65536;
    };
    picture.Row(top + height_of(0), Ink::kLine);
    for (uint32_t x = 0; x < waveform.columns; ++x) {
        const Peaks& peaks = waveform.At(x, channel);
        const bool clipped = peaks.high == INT16_MAX || peaks.low == INT16_MIN;
        picture.Column(x, top + height_of(peaks.high), top + height_of(peaks.low),
                       clipped ? Ink::kClipped : Ink::kWave);
    }
}

Picture PictureOf(const Waveform& waveform, TimeSpan span) {
    const uint32_t axis = waveform.channels * (kChannelHeight + kGap);
    Picture picture(waveform.columns, axis + kAxisHeight);
    for (uint16_t channel = 0; channel < waveform.channels; ++channel)
        DrawChannel(picture, waveform, channel, channel * (kChannelHeight + kGap));
    picture.Row(axis, Ink::kText);
    for (const TimeMark& mark : TimeMarks(span, waveform.columns, kMarkDistance)) {
        picture.Column(mark.place, axis, axis + kMarkLength, Ink::kText);
        picture.Text(mark.place + 3, axis + kMarkLength + 2, mark.text, Ink::kText);
    }
    return picture;
}

bool WriteFile(const std::string& path, const std::string& content) {
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    const bool written = file && std::fwrite(content.data(), 1, content.size(), file.get()) == content.size();
    return file && std::fclose(file.release()) == 0 && written;
}

int WritePicture(const DrawRequest& request, const Picture& picture) {
    WorkFile work(FolderOf(request.picture));
    if (!WriteFile(work.path(), picture.Png()) || !work.PutInPlace(request.picture, request.yes))
        return ReportFailure("cannot write", request.picture, "The picture cannot be written.",
                             "Check the free space, and that you may write in its folder.");
    fmt::print("{}: {} x {} dots\n", request.picture, picture.width(), picture.height());
    return kExitDone;
}

}  // namespace

int RunDraw(const DrawRequest& request) {
    SoundFormat sound;
    if (const auto code = ReadSound(request.file, sound); code != TOLVANE_OK)
        return ReportFileFailure("cannot draw", request.file, code);
    const ByteSpan span{BytesAt(sound, request.from), BytesAt(sound, request.to)};
    if (request.picture.empty())
        return DrawInTerminal(request.file, sound, span, std::nullopt, request.width);
    if (const int failed = CheckNewFile(request.picture, request.yes)) return failed;
    Waveform waveform;
    const uint32_t width = request.width ? request.width : kUsualWidth;
    if (const int failed = ReadForDrawing(request.file, sound, span, width, waveform)) return failed;
    return WritePicture(request, PictureOf(waveform, TimesOf(sound, span)));
}

}  // namespace tolvane::host
