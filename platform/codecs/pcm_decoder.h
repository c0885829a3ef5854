// Sound of any format turned into PCM piece by piece, for those in the layer that play it.
#ifndef TOLVANE_PLATFORM_CODECS_PCM_DECODER_H
#define TOLVANE_PLATFORM_CODECS_PCM_DECODER_H

#include <mmsystem.h>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace tolvane::platform {

class PcmDecoder {
  public:
    // Null where no enabled driver decodes this format; throws where memory runs short.
    static std::unique_ptr<PcmDecoder> Open(const WAVEFORMATEX& source);

    virtual ~PcmDecoder() = default;
    virtual const WAVEFORMATEX& Target() const = 0;
    // Appends what `source` becomes. What is not enough for a block yet waits for the next call.
    virtual MMRESULT Decode(std::span<const uint8_t> source, std::vector<uint8_t>& pcm) noexcept = 0;
    // Forgets all that came before.
    virtual void Restart() = 0;
};

}  // namespace tolvane::platform
#endif
