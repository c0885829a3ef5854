// Sound of any format turned into PCM piece by piece.
#include "platform/codecs/pcm_decoder.h"

#include "platform/codecs/manager.h"

namespace tolvane::platform {
namespace {

constexpr size_t kRoom = 16'384;

class StreamDecoder final : public PcmDecoder {
  public:
    StreamDecoder(InstalledDriver driver, std::unique_ptr<Stream> stream, const FormatRecord& target)
        : driver_(std::move(driver)), stream_(std::move(stream)), target_(target.head()) {}

    const WAVEFORMATEX& Target() const override { return target_; }
    MMRESULT Decode(std::span<const uint8_t> source, std::vector<uint8_t>& pcm) noexcept override try {
        waiting_.insert(waiting_.end(), source.begin(), source.end());
        size_t used = 0;
        for (size_t produced = 1; produced > 0;) {
            const size_t before = pcm.size();
            pcm.resize(before + kRoom);
            Piece piece{std::span(waiting_).subspan(used), std::span(pcm).subspan(before), flags_};
            if (const MMRESULT result = stream_->Convert(piece)) return Fail(result);
            flags_ = 0;
            used += piece.used;
            produced = piece.produced;
            pcm.resize(before + produced);
        }
        waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(used));
        return MMSYSERR_NOERROR;
    } catch (const std::bad_alloc&) {
        return Fail(MMSYSERR_NOMEM);
    }
    void Restart() override {
        waiting_.clear();
        flags_ = ACM_STREAMCONVERTF_START;
    }

  private:
    MMRESULT Fail(MMRESULT result) {
        Restart();
        return result;
    }

    const InstalledDriver driver_;  // goes after its stream
    const std::unique_ptr<Stream> stream_;
    const WAVEFORMATEX target_;
    std::vector<uint8_t> waiting_;
    DWORD flags_ = ACM_STREAMCONVERTF_START;
};

}  // namespace

std::unique_ptr<PcmDecoder> PcmDecoder::Open(const WAVEFORMATEX& source) {
    const FormatView view(&source);
    Wish wish{ACM_FORMATSUGGESTF_WFORMATTAG, {}};
    wish.target.wFormatTag = WAVE_FORMAT_PCM;
    for (const InstalledDriver& installed : ListDrivers(0)) {
        const Driver& driver = *installed->driver;
        FormatRecord target;
        target.head() = wish.target;
        if (!driver.handles(view) || !driver.open ||
            driver.suggest(driver, view, wish, FormatRecord::kCapacity, target))
            continue;
        if (auto stream = driver.open(driver, view, target.View()))
            return std::make_unique<StreamDecoder>(installed, std::move(stream), target);
    }
    return nullptr;
}

}  // namespace tolvane::platform
