#include "platform/codecs/modules.h"

#include "platform/kernel/late_module.h"

namespace tolvane::platform {
namespace {

constinit LateModule<StreamOpener> gsm610("gsm610"), mpeg_decoder("mpeg-decoder"),
    mpeg_encoder("mpeg-encoder");
constinit LateModule<RateChangerMaker> rate_changer("rate-changer");

template <typename Function, typename... Arguments>
auto CallIn(LateModule<Function>& module, const Arguments&... arguments) {
    Function* const offered = module.Offered();
    return offered ? offered(arguments...) : nullptr;
}

}  // namespace

std::unique_ptr<Stream> OpenGsm610(const Driver& self, const FormatView& source, const FormatView& target) {
    return CallIn(gsm610, self, source, target);
}

std::unique_ptr<Stream> OpenMpegDecoder(const Driver& self, const FormatView& source,
                                        const FormatView& target) {
    return CallIn(mpeg_decoder, self, source, target);
}

std::unique_ptr<Stream> OpenMpegEncoder(const Driver& self, const FormatView& source,
                                        const FormatView& target) {
    return CallIn(mpeg_encoder, self, source, target);
}

std::unique_ptr<RateChanger> MakeRateChanger(Rates rates, WORD channels, FrameLayout target) {
    return CallIn(rate_changer, rates, channels, target);
}

}  // namespace tolvane::platform
