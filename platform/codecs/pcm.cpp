// The PCM converter: 8 and 16 bits, 1 and 2 channels, any rate into any other.
#include "platform/codecs/block_stream.h"
#include "platform/codecs/driver.h"
#include "platform/codecs/rate_stream.h"

namespace tolvane::platform {
namespace {

constexpr FormatTag kTags[] = {{WAVE_FORMAT_PCM, "PCM", kWaveRecordSize}};

MMRESULT Suggest(const Driver&, const FormatView& source, const Wish& wish, DWORD, FormatRecord& target) {
    const auto pick = [&wish](DWORD flag, auto wished, auto own) { return wish.Fixes(flag) ? wished : own; };
    const WAVEFORMATEX &asked = wish.target, &own = source.head;
    target.MakePcm(pick(ACM_FORMATSUGGESTF_NCHANNELS, asked.nChannels, own.nChannels),
                   pick(ACM_FORMATSUGGESTF_NSAMPLESPERSEC, asked.nSamplesPerSec, own.nSamplesPerSec),
                   pick(ACM_FORMATSUGGESTF_WBITSPERSAMPLE, asked.wBitsPerSample, own.wBitsPerSample));
    return wish.Allows(target.head()) && IsPlainPcm(target.View()) ? MMSYSERR_NOERROR : ACMERR_NOTPOSSIBLE;
}

// Other bits and channels at the same rate: every frame by itself.
class FrameStream final : public BlockStream {
  public:
    FrameStream(FrameLayout source, FrameLayout target)
        : BlockStream(source.Size(), target.Size()), loop_(FindFrameLoop(source, target)) {}

  private:
    void ConvertBlocks(const uint8_t* source, uint8_t* target, size_t count) override {
        loop_(source, target, count);
    }
    size_t ConvertRest(std::span<const uint8_t>, uint8_t*) override { return 0; }

    FrameLoop* loop_;
};

std::unique_ptr<Stream> Open(const Driver&, const FormatView& source, const FormatView& target) {
    if (source.head.nSamplesPerSec != target.head.nSamplesPerSec) return OpenRateStream(source, target);
    return std::make_unique<FrameStream>(FrameLayout::Of(source), FrameLayout::Of(target));
}

}  // namespace

const Driver kPcmConverter{"Tolvane PCM",
                           "Tolvane PCM Converter",
                           ACMDRIVERDETAILS_SUPPORTF_CONVERTER,
                           kTags,
                           IsPlainPcm,
                           Suggest,
                           nullptr,
                           Open};

}  // namespace tolvane::platform
