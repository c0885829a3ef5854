// Format records as the drivers see them: one that came in, bounded; one to be filled; and the wishes that
// come with the question for a suggestion.
#ifndef TOLVANE_PLATFORM_CODECS_FORMATS_H
#define TOLVANE_PLATFORM_CODECS_FORMATS_H

#include <msacm.h>

#include <cstdint>
#include <cstring>
#include <span>

namespace tolvane::platform {

constexpr DWORD kPcmRecordSize = 16;  // a PCM record may lack its last field
constexpr DWORD kWaveRecordSize = sizeof(WAVEFORMATEX);
constexpr DWORD kHighestRate = 192'000;

// A caller's format. `head.cbSize` is not to be looked at: PCM records may end before it, `extra` knows.
struct FormatView {
    WAVEFORMATEX head;
    std::span<const uint8_t> extra;

    explicit FormatView(const WAVEFORMATEX* record);
    const WAVEFORMATEX* Record() const { return start; }
    bool IsPcm() const { return head.wFormatTag == WAVE_FORMAT_PCM; }

    // The codec's part of a record such as GSM610WAVEFORMAT; null when the format is too short for it.
    template <class Record>
    const Record* As() const {
        return extra.size() + kWaveRecordSize >= sizeof(Record) ? reinterpret_cast<const Record*>(start)
                                                                : nullptr;
    }

  private:
    const WAVEFORMATEX* start;
};

// Room for the largest record of any driver.
struct FormatRecord {
    static constexpr DWORD kCapacity = 256;
    uint8_t bytes[kCapacity] = {};

    WAVEFORMATEX& head() { return *reinterpret_cast<WAVEFORMATEX*>(bytes); }
    const WAVEFORMATEX& head() const { return *reinterpret_cast<const WAVEFORMATEX*>(bytes); }
    FormatView View() const { return FormatView(&head()); }

    // Starts a record of a codec with all fields of its size zero but tag and extra size.
    template <class Record>
    Record& Start(WORD tag, WORD channels, DWORD rate, size_t size = sizeof(Record)) {
        static_assert(sizeof(Record) <= kCapacity && alignof(Record) == 1);
        std::memset(bytes, 0, size);
        head().wFormatTag = tag;
        head().nChannels = channels;
        head().nSamplesPerSec = rate;
        head().cbSize = static_cast<WORD>(size - kWaveRecordSize);
        return *reinterpret_cast<Record*>(bytes);
    }

    void MakePcm(WORD channels, DWORD rate, WORD bits);
};

// Which fields of the target the caller has fixed (ACM_FORMATSUGGESTF_ flags), and to what.
struct Wish {
    DWORD flags;
    WAVEFORMATEX target;

    bool Fixes(DWORD flag) const { return (flags & flag) != 0; }
    bool AllowsTag(WORD tag) const {
        return !Fixes(ACM_FORMATSUGGESTF_WFORMATTAG) || target.wFormatTag == tag;
    }
    bool Allows(const WAVEFORMATEX& format) const;
};

// PCM that every driver can take: 8 or 16 bits, 1 or 2 channels, a sensible rate.
bool IsPlainPcm(const FormatView& format);
bool HasPlainRate(const WAVEFORMATEX& format);

// Average rate of blocks of `block` bytes that hold `samples` frames each.
DWORD BytesPerSecond(DWORD rate, DWORD block, DWORD samples);

// The block size of both ADPCM families for one channel: it doubles with the rate, so that a block lasts
// about as long.
WORD AdpcmBlockSize(DWORD rate);

}  // namespace tolvane::platform
#endif
