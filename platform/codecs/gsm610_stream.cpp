// The module "gsm610", on libgsm.
#include "platform/codecs/block_stream.h"
#include "platform/codecs/gsm610.h"
#include "platform/kernel/late_module.h"

#include <gsm.h>

#include <new>

namespace tolvane::platform {
namespace {

// The library's packing of two of its frames into one block: a call takes or gives one half of it.
constexpr size_t kHalfSamples = kGsmBlockSamples / 2;
constexpr size_t kFirstHalf = 33, kSecondHalf = 32;

struct Codec final : BlockCodec {
    explicit Codec(const FormatView&) { Codec::Restart(); }
    BlockShape Shape() const override { return {kGsmBlock, kGsmBlockSamples}; }
    void Encode(const int16_t* pcm, uint8_t* blocks, size_t count) override {
        for (; count > 0; --count, pcm += kGsmBlockSamples, blocks += kGsmBlock) {
            auto* samples = const_cast<int16_t*>(pcm);
            gsm_encode(state.get(), samples, blocks);
            gsm_encode(state.get(), samples + kHalfSamples, blocks + kSecondHalf);
        }
    }
    void Decode(const uint8_t* blocks, int16_t* pcm, size_t count) override {
        for (; count > 0; --count, pcm += kGsmBlockSamples, blocks += kGsmBlock) {
            auto* bytes = const_cast<uint8_t*>(blocks);
            gsm_decode(state.get(), bytes, pcm);
            gsm_decode(state.get(), bytes + kFirstHalf, pcm + kHalfSamples);
        }
    }
    size_t FramesIn(size_t bytes) const override { return bytes < kFirstHalf ? 0 : kHalfSamples; }
    void Restart() override {
        state.reset(gsm_create());
        int on = 1;
        if (!state || gsm_option(state.get(), GSM_OPT_WAV49, &on) < 0) throw std::bad_alloc();
    }

    struct Destroy {
        void operator()(gsm of) const { gsm_destroy(of); }
    };
    std::unique_ptr<std::remove_pointer_t<gsm>, Destroy> state;
};

}  // namespace
}  // namespace tolvane::platform

TOLVANE_MODULE_OFFERS(tolvane::platform::StreamOpener, tolvane::platform::OpenCodec<tolvane::platform::Codec>)
