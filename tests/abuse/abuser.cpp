#include "abuse/abuser.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <limits>

#include <gtest/gtest.h>

namespace tolvane::test {

namespace {

namespace fs = std::filesystem;

constexpr Format kStereo{44100, 2, 16}, kSmall{8000, 1, 8};
constexpr uintmax_t kLargestEdited = 100'000;

Bytes EditedFile(size_t index) {
    const Format& format = index % 2 ? kSmall : kStereo;
    return WaveFile(format, Pattern(format.Block() * 2000u));
}

Bytes ImaFile() {
    const Bytes format = Little(0x11, 2) + Little(1, 2) + Little(8000, 4) + Little(4055, 4) + Little(256, 2) +
                         Little(4, 2) + Little(2, 2) + Little(505, 2);
    return Riff(Chunk("fmt ", format) + Chunk("fact", Little(1010, 4)) + Chunk("data", Bytes(512)));
}

// Frames of MPEG-1 layer 3 with 32 kilobits a second, without sound in them.
Bytes Mp3File() {
    Bytes file;
    for (int i = 0; i < 10; ++i) {
        Bytes frame(104);
        const uint8_t header[] = {0xFF, 0xFB, 0x10, 0xC0};
        std::copy(std::begin(header), std::end(header), frame.begin());
        file = std::move(file) + frame;
    }
    return file;
}

HWND MakeGoneWindow() {
    const HWND window =
        CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    DestroyWindow(window);
    return window;
}

// In one step, so that nobody sees half of it; where others have the file open that may fail, and it stays as it is.
void Replace(const std::string& path, const std::string& by) {
    std::error_code ignored;
    fs::rename(by, path, ignored);
}

}  // namespace

Ground::Ground(const TempFolder& in)
    : folder(in),
      no_paths{"", in.Path("missing"), std::string(300, 'x'), in.Path(), in.Path("missing/x.wav")},
      gone(MakeGoneWindow()) {
    for (size_t i = 0; i < 4; ++i)
        edited.push_back(in.Write("edited" + std::to_string(i) + ".wav", EditedFile(i)));
    sources = edited;
    sources.push_back(in.Write("ima.wav", ImaFile()));
    sources.push_back(in.Write("alaw.wav", WaveFile({8000, 1, 8, 6}, Pattern(900))));
    sources.push_back(in.Write("unknown.wav", WaveFile({8000, 2, 16, 0x7777}, Pattern(900))));
    sources.push_back(in.Write("sound.mp3", Mp3File()));
    sources.push_back(in.Write("junk.wav", Pattern(500)));
    sources.push_back(in.Write("nothing.wav", {}));
    sources.push_back(in.Write("silent.wav", WaveFile(kStereo, {})));
}

Abuser::Abuser(const Ground& ground, uint32_t seed)
    : ground_(ground),
      random_(seed),
      own_(ground.folder.Path("own" + std::to_string(seed) + ".wav")),
      taken_(ground.folder.Path("taken" + std::to_string(seed) + ".wav")),
      sets_{} {
    const auto name = [](PlaybackSetEntry& entry, const std::string& path) {
        path.copy(entry.path, sizeof entry.path - 1);
    };
    for (uint32_t i = 0; i < kEntries; ++i) {
        name(sets_[0][i], ground.sources[i]);
        name(sets_[1][i], ground.folder.Path("sound.mp3"));
        name(sets_[2][i], ground.no_paths[i]);
    }
    memset(sets_[2][1].path, 'x', sizeof sets_[2][1].path);  // without an end
    std::generate(std::begin(block), std::end(block), [this] { return static_cast<uint8_t>(random_()); });
    std::copy_n(block, kBlock, mix_block);
}

Abuser::~Abuser() {
    CloseJobs();
}

void Abuser::CloseJobs() {
    AudioEditCloseHandle(&edit_job);
    AudioConvertCloseHandle(&convert_job);
    AbortACMConversion(conversion);
    conversion = nullptr;
}

void Abuser::Expect(uint32_t result, std::initializer_list<Range> documented) const {
    const bool is_documented = std::any_of(documented.begin(), documented.end(), [=](Range range) {
        return range.low <= result && result <= range.high;
    });
    EXPECT_TRUE(is_documented) << now << " answers " << result;
}

uint32_t Abuser::Any() {
    if (Chance(4)) return 0;
    if (Chance(3)) return static_cast<uint32_t>(random_() % 5000);
    return OneOf<uint32_t>(
        {0, 1, 2, 3, 0x7FFF, 0x8000, 0xFFFF, 0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF});
}

float Abuser::Factor() {
    using Limits = std::numeric_limits<float>;
    return OneOf<float>(
        {0, 1, -1, 0.5f, Limits::max(), Limits::denorm_min(), Limits::infinity(), Limits::quiet_NaN()});
}

const char* Abuser::NoPath() {
    return Chance(4) ? nullptr : OneOf(ground_.no_paths).c_str();
}

const char* Abuser::Source() {
    return Chance(4) ? NoPath() : OneOf(ground_.sources).c_str();
}

const char* Abuser::Edited() {
    if (Chance(3)) return Source();
    const size_t index = random_() % ground_.edited.size();
    const std::string& path = ground_.edited[index];
    std::error_code failed;
    if (const uintmax_t size = fs::file_size(path, failed); failed || size < 100 || size > kLargestEdited) {
        WriteFile(own_ + ".new", EditedFile(index));
        Replace(path, own_ + ".new");
    }
    return path.c_str();
}

const char* Abuser::Target() {
    if (Chance(4)) return NoPath();
    return Chance(4) ? OneOf(ground_.edited).c_str() : Chance(2) ? own_.c_str() : taken_.c_str();
}

const char* Abuser::Folder() {
    static const std::string temp = fs::temp_directory_path().string();
    return Chance(3) ? Source() : Chance(2) ? ground_.no_paths[3].c_str() : temp.c_str();
}

const char* Abuser::Plugin() {
    static const std::string too_long(2000, 'x');
    return Chance(2) ? TOLVANE_BARE_EFFECT : Chance(4) ? too_long.c_str() : Source();
}

// With white space around it, which the library takes away in place.
char* Abuser::RecordName() {
    if (Chance(5)) return nullptr;
    const std::string name = Chance(4) ? OneOf(ground_.no_paths) : Chance(4) ? "" : own_;
    const std::string padded = " \t" + name + "\n ";
    record_name_[padded.copy(record_name_, sizeof record_name_ - 1)] = 0;
    return record_name_;
}

void* Abuser::Window() {
    return OneOf<void*>({nullptr, ground_.window.Handle(), ground_.gone});
}

EditJob** Abuser::NewEditJob() {
    AudioEditCloseHandle(&edit_job);
    return OrNull(&edit_job);
}

ConvertJob** Abuser::NewConvertJob() {
    AudioConvertCloseHandle(&convert_job);
    return OrNull(&convert_job);
}

const tWAVEFORMATEX* Abuser::PcmFormat() {
    const Format format{Rate(), Channels(), Bits(), OneOf<uint16_t>({1, 1, 1, 0, 0x55, 0xFFFF})};
    const Bytes record = FormatRecord(format) + Little(Short(), 2);
    std::copy(record.begin(), record.end(), pcm_);
    return OrNull(reinterpret_cast<const tWAVEFORMATEX*>(pcm_));
}

PlaybackSetEntry* Abuser::Set(bool mp3) {
    return Chance(5) ? nullptr : sets_[Chance(4) ? random_() % 3 : mp3 ? 1 : 0];
}

}  // namespace tolvane::test
