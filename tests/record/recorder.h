// Recordings on the virtual card with a moved clock, and what their files have to be, worked out once more.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform.h"
#include "support/faults.h"
#include "support/virtual_card.h"
#include "support/watchdog.h"

namespace tolvane::test {

constexpr size_t kHeaderBytes = 46;
constexpr uint16_t kRecordBuffers = 16;

inline size_t RecordBufferBytes(const Format& format) {
    return std::max<size_t>(format.BytesPerSecond() * 6 / 16 / format.Block(), 1) * format.Block();
}

// `sound` follows the header, with a pad byte where it is odd; `claimed` is what the header says of it.
inline Bytes RecordedFile(const Format& format, const Bytes& sound, size_t claimed) {
    const Bytes chunks = Chunk("fmt ", FormatRecord(format) + Little(0, 2)) +
                         Chunk("data", sound, static_cast<uint32_t>(claimed));
    return Riff(chunks, "WAVE", "RIFF", static_cast<uint32_t>(kHeaderBytes - 8 + claimed + claimed % 2));
}
inline Bytes RecordedFile(const Format& format, const Bytes& sound) {
    return RecordedFile(format, sound, sound.size());
}

struct Punch {
    uint32_t lead_in = 0, start = 0, stop = 0, minimum = 0;
};

// The sound of a file as the rules of punching in make it of the buffers that come back.
class SoundModel {
  public:
    SoundModel(const Format& format, const Punch& punch)
        : punch_(punch), silence_(format.bits == 8 ? 128 : 0), sound(punch.lead_in, silence_) {}

    void Take(const Bytes& buffer) {
        const size_t from = kHeaderBytes + sound.size(), to = from + buffer.size();
        if (from < punch_.start) {
            const size_t silent = std::min<size_t>(punch_.start, to) - from;
            sound = std::move(sound) + Bytes(silent, silence_) + Part(buffer, silent, buffer.size());
        } else if (punch_.stop != 0 && to >= punch_.stop) {
            told = 1;
            sound = std::move(sound) + Part(buffer, 0, punch_.stop > from ? punch_.stop - from : 0);
        } else {
            sound = std::move(sound) + buffer;
        }
    }
    Bytes AtTheEnd() const {
        Bytes all = sound;
        if (punch_.minimum < 0x80000000u)
            all.resize(std::max<size_t>(all.size() + kHeaderBytes, punch_.minimum) - kHeaderBytes, silence_);
        return all;
    }

  private:
    Punch punch_;
    uint8_t silence_;

  public:
    Bytes sound;
    int told = 0;
};

class Recorder : public VirtualCard {
  protected:
    void SetUp() override {
        AudioStopRecord();
        VirtualCard::SetUp();
        if (!IsSkipped()) PlatformVirtualSetClock(PLATFORM_CLOCK_MOVED);
    }
    // An input that has nothing left to hear.
    static void ResetCard() {
        EXPECT_TRUE(PlatformVirtualReset());
        PlatformVirtualSetClock(PLATFORM_CLOCK_MOVED);
    }
    void TearDown() override {
        PlatformFailNone();
        AudioStopRecord();
        VirtualCard::TearDown();
    }

    uint16_t StartAs(const std::string& path, const Format& format, const Punch& punch = {}) {
        std::string name = path;
        format_ = format;
        return AudioStartRecordEx(window_, kTold, name.data(), format.rate, format.bits, format.channels, 0,
                                  punch.lead_in, punch.start, punch.stop, punch.minimum);
    }
    uint16_t Start(const Format& format, const Punch& punch = {}) { return StartAs(path_, format, punch); }
    // The device hears this and the time for it passes.
    void Hear(const Bytes& sound) {
        PlatformVirtualFeed(0, sound.data(), sound.size());
        PlatformVirtualAdvanceInput(0, static_cast<uint32_t>(sound.size() / format_.Block()));
    }
    // New sound of so many frames.
    Bytes HearFrames(size_t frames) {
        Bytes sound = Pattern(frames * format_.Block(), ++seed_);
        Hear(sound);
        return sound;
    }
    Bytes HearBuffers(size_t count = 1) {
        return HearFrames(count * RecordBufferBytes(format_) / format_.Block());
    }

    Bytes File() const { return ReadAll(path_); }
    PlatformVirtualState State() const {
        PlatformVirtualState state = {};
        PlatformVirtualGetInputState(0, &state);
        return state;
    }
    static bool Runs() {
        AudioFileInfo info = {};
        AudioGetFileInfo(&info, nullptr, 0, 0);
        return info.recordingSampleRate != 0;
    }
    // After whatever came before, a recording works and leaves a file that is right.
    void ExpectToRecord() {
        constexpr Format kSmall{8000, 1, 16};
        const std::string path = folder_.Path("next.wav");
        ResetCard();
        ASSERT_EQ(StartAs(path, kSmall), TOLVANE_OK);
        const Bytes sound = HearFrames(3100);
        AudioStopRecord();
        EXPECT_EQ(ReadAll(path), RecordedFile(kSmall, sound));
        EXPECT_FALSE(State().open);
        std::filesystem::remove(path);
    }
    // Messages of a stop offset.
    int Told() {
        MSG message;
        int told = 0;
        while (PeekMessageA(&message, window_, 0, 0, PM_REMOVE))
            told += message.message == kTold && message.wParam == 0 && message.lParam == 0;
        return told;
    }

    static constexpr UINT kTold = WM_USER + 7;
    HostWindow host_;
    HWND window_ = host_.Handle();
    TempFolder folder_;
    std::string path_ = folder_.Path("record.wav");
    Format format_;
    uint32_t seed_ = 0;
    Watchdog watchdog_;
};

}  // namespace tolvane::test
