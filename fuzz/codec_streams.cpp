// Conversion streams between formats that may be anything, on sound that may be anything, in pieces of any size: a stream
// keeps to its buffers and to what it says of itself.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

#include <gmock/gmock.h>

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>

#include "fuzz/input.h"
#include "platform_codecs.h"
#include "support/temp_folder.h"

using namespace tolvane::test;
using ::testing::AnyOf;

namespace {

constexpr uint16_t kTags[] = {WAVE_FORMAT_PCM, 0x02, 0x06, 0x07, 0x11, 0x31, 0x55, 0xFFFE};
constexpr uint32_t kRates[] = {8000, 11025, 22050, 44100, 48000, 1, 192000, 16000};
constexpr DWORD kMostRoom = 1 << 20;
constexpr DWORD kLargestFormat = 64;

// A record and what stands behind it, not a byte more.
class Record {
  public:
    explicit Record(const Bytes& bytes) : size_(bytes.size()), bytes_(new uint8_t[bytes.size()]) {
        std::copy(bytes.begin(), bytes.end(), bytes_.get());
    }
    WAVEFORMATEX* Get() const { return reinterpret_cast<WAVEFORMATEX*>(bytes_.get()); }
    DWORD Size() const { return static_cast<DWORD>(size_); }

  private:
    size_t size_;
    std::unique_ptr<uint8_t[]> bytes_;
};

WAVEFORMATEX PlainFormat(Input& input, uint16_t tag) {
    WAVEFORMATEX format = {};
    format.wFormatTag = tag;
    format.nChannels = static_cast<WORD>(input.Byte() % 2 + 1);
    format.nSamplesPerSec = kRates[input.Byte() % std::size(kRates)];
    format.wBitsPerSample = static_cast<WORD>(tag == WAVE_FORMAT_PCM && input.Byte() % 2 ? 16 : 8);
    format.nBlockAlign = static_cast<WORD>(format.nChannels * format.wBitsPerSample / 8);
    format.nAvgBytesPerSec = format.nSamplesPerSec * format.nBlockAlign;
    return format;
}

// What somebody wrote over it.
void Spoil(WAVEFORMATEX& format, Input& input) {
    const uint8_t fields = input.Byte();
    if (fields & 1) format.nChannels = input.Short();
    if (fields & 2) format.nSamplesPerSec = input.Long();
    if (fields & 4) format.nAvgBytesPerSec = input.Long();
    if (fields & 8) format.nBlockAlign = input.Short();
    if (fields & 16) format.wBitsPerSample = input.Short();
    if (fields & 32) format.wFormatTag = input.Short();
}

Record AnyFormat(Input& input) {
    WAVEFORMATEX format = PlainFormat(input, kTags[input.Byte() % std::size(kTags)]);
    Spoil(format, input);
    Bytes extra(format.wFormatTag == WAVE_FORMAT_PCM ? 0 : input.Byte() % 48);
    std::generate(extra.begin(), extra.end(), [&] { return input.Byte(); });
    format.cbSize = static_cast<WORD>(extra.size());
    Bytes bytes(sizeof format);
    memcpy(bytes.data(), &format, sizeof format);
    bytes.insert(bytes.end(), extra.begin(), extra.end());
    return Record(bytes);
}

// What the codecs suggest for it, perhaps spoiled.
Record Suggested(const Record& source, Input& input) {
    Bytes room(kLargestFormat);
    auto* format = reinterpret_cast<WAVEFORMATEX*>(room.data());
    const bool tagged = input.Byte() % 4 != 0;
    format->wFormatTag = kTags[input.Byte() % std::size(kTags)];
    const MMRESULT result = acmFormatSuggest(nullptr, source.Get(), format, kLargestFormat,
                                             tagged ? ACM_FORMATSUGGESTF_WFORMATTAG : DWORD{0});
    EXPECT_THAT(result, AnyOf(0u, MMSYSERR_INVALPARAM, MMSYSERR_NODRIVER, ACMERR_NOTPOSSIBLE));
    if (result == 0) {
        EXPECT_LE(sizeof *format + format->cbSize, kLargestFormat);
        room.resize(sizeof *format + format->cbSize);
        if (input.Byte() % 4 == 0) Spoil(*format, input);
    } else {
        room.resize(sizeof *format);
        format->cbSize = 0;
    }
    return Record(room);
}

class OpenStream {
  public:
    OpenStream(const Record& source, const Record& target) {
        const MMRESULT result = acmStreamOpen(&handle_, nullptr, source.Get(), target.Get(), nullptr, 0, 0,
                                              ACM_STREAMOPENF_NONREALTIME);
        EXPECT_THAT(result, AnyOf(0u, MMSYSERR_INVALPARAM, MMSYSERR_NOMEM, ACMERR_NOTPOSSIBLE));
    }
    ~OpenStream() {
        if (handle_) acmStreamClose(handle_, 0);
        EXPECT_EQ(PlatformOpenStreams(), 0u);
    }
    OpenStream(const OpenStream&) = delete;
    OpenStream& operator=(const OpenStream&) = delete;
    explicit operator bool() const { return handle_; }

    DWORD Bound(DWORD source) const {
        DWORD bound = 0;
        const MMRESULT result = acmStreamSize(handle_, source, &bound, ACM_STREAMSIZEF_SOURCE);
        EXPECT_THAT(result, AnyOf(0u, ACMERR_NOTPOSSIBLE));
        DWORD back = 0;
        acmStreamSize(handle_, std::max<DWORD>(bound, 1), &back, ACM_STREAMSIZEF_DESTINATION);
        EXPECT_TRUE(bound == 0 || back >= source) << bound << " for " << source << ", but not back: " << back;
        return bound;
    }

    // The buffers are as large as is said, to the byte. How much was used, or -1.
    int64_t Convert(const uint8_t* bytes, DWORD size, DWORD room, DWORD flags, DWORD* produced) const {
        const std::unique_ptr<uint8_t[]> source(new uint8_t[size]), target(new uint8_t[room]);
        std::copy_n(bytes, size, source.get());
        ACMSTREAMHEADER header = {};
        header.cbStruct = sizeof header;
        header.pbSrc = source.get();
        header.cbSrcLength = size;
        header.pbDst = target.get();
        header.cbDstLength = room;
        EXPECT_EQ(acmStreamPrepareHeader(handle_, &header, 0), 0u);
        const MMRESULT result = acmStreamConvert(handle_, &header, flags);
        EXPECT_THAT(result, AnyOf(0u, MMSYSERR_NOMEM, ACMERR_NOTPOSSIBLE));
        EXPECT_LE(header.cbSrcLengthUsed, size);
        EXPECT_LE(header.cbDstLengthUsed, room);
        EXPECT_EQ(acmStreamUnprepareHeader(handle_, &header, 0), 0u);
        *produced = header.cbDstLengthUsed;
        return result == 0 ? int64_t{header.cbSrcLengthUsed} : -1;
    }

  private:
    HACMSTREAM handle_ = nullptr;
};

// All of it, with as much room as the stream asked for.
void ConvertAtOnce(const OpenStream& stream, const Bytes& sound) {
    const auto size = static_cast<DWORD>(sound.size());
    const DWORD bound = stream.Bound(size);
    DWORD produced = 0;
    if (bound == 0 || bound > kMostRoom) return;
    const int64_t used = stream.Convert(sound.data(), size, bound,
                                        ACM_STREAMCONVERTF_START | ACM_STREAMCONVERTF_END, &produced);
    EXPECT_TRUE(used == -1 || used == size) << used << " of " << size;
}

// With room and flags of any kind.
void ConvertInPieces(const OpenStream& stream, const Bytes& sound, Input& input) {
    size_t at = 0;
    for (int calls = 0; calls < 24 && at < sound.size(); ++calls) {
        const size_t size = std::min<size_t>(1 + input.Short() % 1500, sound.size() - at);
        DWORD produced = 0;
        const int64_t used = stream.Convert(sound.data() + at, static_cast<DWORD>(size),
                                            1 + input.Short() % 3000, DWORD{input.Byte()} & 0x34, &produced);
        if (used < 0) return;
        at += static_cast<size_t>(used);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    const uint8_t way = input.Byte();
    const Record one = AnyFormat(input);
    const Record other = way % 4 ? Suggested(one, input) : AnyFormat(input);
    const OpenStream stream(way & 4 ? other : one, way & 4 ? one : other);
    Input pieces(data + size / 2, size / 2);
    const Bytes sound = input.Rest();
    if (!stream || sound.empty()) return 0;
    ConvertAtOnce(stream, sound);
    ConvertInPieces(stream, sound, pieces);
    return 0;
}
