// PCM into MPEG Layer-3 frames of a constant bit rate: the module "mpeg-encoder", on LAME.
#include "platform/codecs/driver.h"
#include "platform/codecs/frames.h"
#include "platform/codecs/lagging_stream.h"
#include "platform/kernel/late_module.h"

#include <lame/lame.h>

#include <new>

namespace tolvane::platform {
namespace {

struct DestroyEncoder {
    void operator()(lame_t encoder) const { lame_close(encoder); }
};
using Encoder = std::unique_ptr<std::remove_pointer_t<lame_t>, DestroyEncoder>;

struct Sound {
    int rate, channels, kilobits;
};

Encoder MakeEncoder(const Sound& sound) {
    Encoder encoder(lame_init());
    lame_t const lame = encoder.get();
    const auto silent = [](const char*, va_list) {};
    if (!lame || lame_set_in_samplerate(lame, sound.rate) || lame_set_out_samplerate(lame, sound.rate) ||
        lame_set_num_channels(lame, sound.channels) || lame_set_brate(lame, sound.kilobits) ||
        lame_set_mode(lame, sound.channels == 1 ? MONO : JOINT_STEREO) || lame_set_bWriteVbrTag(lame, 0) ||
        lame_set_errorf(lame, silent) || lame_set_msgf(lame, silent) || lame_set_debugf(lame, silent) ||
        lame_init_params(lame) < 0)
        throw std::bad_alloc();
    return encoder;
}

class MpegEncoder final : public LaggingStream {
  public:
    MpegEncoder(FrameLayout source, const Sound& sound)
        : LaggingStream(source.Size()), source_(source), sound_(sound), encoder_(MakeEncoder(sound)) {}

    uint64_t Bound(uint64_t source) override { return MostBytes(source / source_.Size()); }

  private:
    // What the library asks for; the second part also covers what it holds back.
    static uint64_t MostBytes(uint64_t frames) { return frames + frames / 4 + 7'200; }

    MMRESULT Feed(std::span<const uint8_t> source, std::vector<uint8_t>& output) override {
        used_ = true;
        const size_t frames = source.size() / source_.Size();
        input_.resize(frames * source_.channels);
        FindFrameLoop(source_, {16, source_.channels})(source.data(),
                                                       reinterpret_cast<uint8_t*>(input_.data()), frames);
        output.resize(MostBytes(frames));
        return Keep(Encode(static_cast<int>(frames), output.data(), static_cast<int>(output.size())), output);
    }
    int Encode(int frames, uint8_t* output, int room) {
        return source_.channels == 1
                   ? lame_encode_buffer(encoder_.get(), input_.data(), input_.data(), frames, output, room)
                   : lame_encode_buffer_interleaved(encoder_.get(), input_.data(), frames, output, room);
    }
    MMRESULT Finish(std::vector<uint8_t>& output) override {
        if (!used_) return MMSYSERR_NOERROR;
        output.resize(MostBytes(0));
        return Keep(lame_encode_flush(encoder_.get(), output.data(), static_cast<int>(output.size())),
                    output);
    }
    void Restart() override {
        if (used_) encoder_ = MakeEncoder(sound_);
        used_ = false;
    }
    static MMRESULT Keep(int size, std::vector<uint8_t>& output) {
        output.resize(static_cast<size_t>(std::max(size, 0)));
        return size < 0 ? MMSYSERR_ERROR : MMSYSERR_NOERROR;
    }

    const FrameLayout source_;
    const Sound sound_;
    Encoder encoder_;
    bool used_ = false;
    std::vector<int16_t> input_;
};

// The highest bit rates of the standard.
constexpr DWORD MostKilobits(DWORD rate) {
    return rate >= 32'000 ? 320 : 160;
}

// Null when the bit rate that is asked for is none.
std::unique_ptr<Stream> OpenEncoder(const Driver&, const FormatView& pcm, const FormatView& mpeg) {
    const DWORD rate = pcm.head.nSamplesPerSec, kilobits = mpeg.head.nAvgBytesPerSec / 125;
    if (kilobits < 8 || kilobits > MostKilobits(rate)) return nullptr;
    const Sound sound{static_cast<int>(rate), pcm.head.nChannels, static_cast<int>(kilobits)};
    return std::make_unique<MpegEncoder>(FrameLayout::Of(pcm), sound);
}

}  // namespace
}  // namespace tolvane::platform

TOLVANE_MODULE_OFFERS(tolvane::platform::StreamOpener, tolvane::platform::OpenEncoder)
