// The services around conversion streams. Streams are handles like the manager's others: numbers that are never
// used twice. A stream is used by one thread at a time, without any lock that streams share.
#include "platform/codecs/manager.h"

#include <platform_codecs.h>

#include <atomic>
#include <limits>
#include <map>
#include <mutex>
#include <tuple>

namespace tolvane::platform {
namespace {

// The low bits of a handle tell what it is a handle to (see the manager's).
constexpr uintptr_t kStreamKind = 3, kKindStep = 4;

struct OpenStream {
    OpenStream(InstalledDriver of, std::unique_ptr<Stream> opened)
        : driver(std::move(of)), stream(std::move(opened)) {}

    InstalledDriver driver;  // goes after its stream
    std::unique_ptr<Stream> stream;
    std::atomic_flag in_use;
};

struct Streams {
    std::mutex mutex;
    std::map<uintptr_t, std::shared_ptr<OpenStream>> open;
    uintptr_t next = kStreamKind;
};

// Lives until the process ends: a host may call from its own last destructors.
Streams& TheStreams() {
    static Streams& streams = *new Streams;
    return streams;
}

std::shared_ptr<OpenStream> FindStream(uintptr_t number) {
    Streams& streams = TheStreams();
    const std::lock_guard lock(streams.mutex);
    const auto found = streams.open.find(number);
    return found != streams.open.end() ? found->second : nullptr;
}

HACMSTREAM KeepStream(std::shared_ptr<OpenStream> open) {
    Streams& streams = TheStreams();
    const std::lock_guard lock(streams.mutex);
    streams.open.emplace(streams.next, std::move(open));
    const auto handle = reinterpret_cast<HACMSTREAM>(streams.next);
    streams.next += kKindStep;
    return handle;
}

uintptr_t Number(HACMSTREAM handle) {
    return reinterpret_cast<uintptr_t>(handle);
}

void ForgetStream(HACMSTREAM handle) {
    Streams& streams = TheStreams();
    const std::lock_guard lock(streams.mutex);
    streams.open.erase(Number(handle));
}

// Whether this is the one user of a stream; a driver that comes back to its own stream is not.
class Turn {
  public:
    explicit Turn(std::atomic_flag& in_use) : in_use_(in_use), ours_(!in_use.test_and_set()) {}
    ~Turn() {
        if (ours_) in_use_.clear();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    explicit operator bool() const { return ours_; }

  private:
    std::atomic_flag& in_use_;
    const bool ours_;
};

// Runs `work` with a stream that nobody else uses meanwhile.
template <class Work>
MMRESULT WithStream(HACMSTREAM handle, Work&& work) {
    const std::shared_ptr<OpenStream> open = FindStream(Number(handle));
    if (!open) return MMSYSERR_INVALHANDLE;
    const Turn turn(open->in_use);
    if (!turn) return ACMERR_BUSY;
    return work(*open);
}

std::unique_ptr<Stream> AskDriver(const Driver& driver, const FormatView& source, const FormatView& target) {
    if (!driver.open || !driver.handles(source) || !driver.handles(target)) return nullptr;
    return driver.open(driver, source, target);
}

MMRESULT CheckOpenFlags(const WAVEFILTER* filter, DWORD flags) {
    constexpr DWORD kKnownFlags =
        ACM_STREAMOPENF_QUERY | ACM_STREAMOPENF_ASYNC | ACM_STREAMOPENF_NONREALTIME | CALLBACK_TYPEMASK;
    if (flags & ~kKnownFlags) return MMSYSERR_INVALFLAG;
    if (flags & CALLBACK_TYPEMASK) return MMSYSERR_NOTSUPPORTED;
    if (filter || (flags & ACM_STREAMOPENF_ASYNC)) return ACMERR_NOTPOSSIBLE;
    return MMSYSERR_NOERROR;
}

MMRESULT Open(HACMSTREAM* handle, HACMDRIVER driver, const WAVEFORMATEX* source, const WAVEFORMATEX* target,
              const WAVEFILTER* filter, DWORD flags) {
    if (handle) *handle = nullptr;
    if (!source || !target || (!handle && !(flags & ACM_STREAMOPENF_QUERY))) return MMSYSERR_INVALPARAM;
    if (const MMRESULT result = CheckOpenFlags(filter, flags)) return result;
    const auto drivers = DriversBehind(driver);
    if (driver && drivers.empty()) return MMSYSERR_INVALHANDLE;
    for (const InstalledDriver& installed : drivers) {
        auto stream = AskDriver(*installed->driver, FormatView(source), FormatView(target));
        if (!stream) continue;
        if (!(flags & ACM_STREAMOPENF_QUERY))
            *handle = KeepStream(std::make_shared<OpenStream>(installed, std::move(stream)));
        return MMSYSERR_NOERROR;
    }
    return ACMERR_NOTPOSSIBLE;
}

constexpr DWORD kMost = std::numeric_limits<DWORD>::max();

// The most source bytes whose output fits into `target` bytes.
DWORD SourceFor(Stream& stream, DWORD target) {
    DWORD fits = 0;
    for (DWORD step = 1u << 31; step; step >>= 1) {
        const uint64_t bound = stream.Bound(fits + step);
        if (bound && bound <= target) fits += step;
    }
    return fits;
}

MMRESULT Size(Stream& stream, DWORD input, DWORD* output, DWORD flags) {
    const uint64_t size =
        flags & ACM_STREAMSIZEF_DESTINATION ? SourceFor(stream, input) : stream.Bound(input);
    if (!size || size > kMost) return ACMERR_NOTPOSSIBLE;
    *output = static_cast<DWORD>(size);
    return MMSYSERR_NOERROR;
}

// What a prepared header keeps in the field that is a driver's.
struct Preparation {
    uintptr_t stream = 0;
    const BYTE* source = nullptr;
    const BYTE* target = nullptr;
    DWORD source_size = 0, target_size = 0;

    static Preparation Of(const ACMSTREAMHEADER& header) {
        Preparation kept;
        static_assert(sizeof kept <= sizeof header.dwReservedDriver);
        std::memcpy(&kept, header.dwReservedDriver, sizeof kept);
        return kept;
    }
    static bool IsFor(HACMSTREAM stream, const ACMSTREAMHEADER& header) {
        return (header.fdwStatus & ACMSTREAMHEADER_STATUSF_PREPARED) && Of(header).stream == Number(stream);
    }
    bool Allows(const ACMSTREAMHEADER& header) const {
        return header.pbSrc == source && header.pbDst == target && header.cbSrcLength <= source_size &&
               header.cbDstLength <= target_size;
    }
    bool Matches(const ACMSTREAMHEADER& header) const {
        return Allows(header) && header.cbSrcLength == source_size && header.cbDstLength == target_size;
    }
};

bool IsWhole(const ACMSTREAMHEADER* header) {
    return header && header->cbStruct >= sizeof *header;
}

MMRESULT Prepare(HACMSTREAM stream, ACMSTREAMHEADER& header) {
    if (header.fdwStatus & ACMSTREAMHEADER_STATUSF_PREPARED) return MMSYSERR_NOERROR;
    if (!header.pbSrc || !header.pbDst || !header.cbSrcLength || !header.cbDstLength)
        return MMSYSERR_INVALPARAM;
    const Preparation kept{Number(stream), header.pbSrc, header.pbDst, header.cbSrcLength,
                           header.cbDstLength};
    std::memcpy(header.dwReservedDriver, &kept, sizeof kept);
    header.fdwStatus = ACMSTREAMHEADER_STATUSF_PREPARED;
    return MMSYSERR_NOERROR;
}

MMRESULT Unprepare(HACMSTREAM stream, ACMSTREAMHEADER& header) {
    if (!Preparation::IsFor(stream, header)) return ACMERR_UNPREPARED;
    if (!Preparation::Of(header).Matches(header)) return MMSYSERR_INVALPARAM;
    header.fdwStatus &= ~static_cast<DWORD>(ACMSTREAMHEADER_STATUSF_PREPARED);
    return MMSYSERR_NOERROR;
}

MMRESULT Convert(OpenStream& open, ACMSTREAMHEADER& header, DWORD flags) {
    Piece piece{{header.pbSrc, header.cbSrcLength}, {header.pbDst, header.cbDstLength}, flags};
    header.cbSrcLengthUsed = header.cbDstLengthUsed = 0;
    if (const MMRESULT result = open.stream->Convert(piece)) return result;
    header.cbSrcLengthUsed = static_cast<DWORD>(piece.used);
    header.cbDstLengthUsed = static_cast<DWORD>(piece.produced);
    header.fdwStatus |= ACMSTREAMHEADER_STATUSF_DONE;
    return MMSYSERR_NOERROR;
}

MMRESULT Convert(HACMSTREAM stream, ACMSTREAMHEADER* header, DWORD flags) {
    constexpr DWORD kKnownFlags =
        ACM_STREAMCONVERTF_BLOCKALIGN | ACM_STREAMCONVERTF_START | ACM_STREAMCONVERTF_END;
    if (!IsWhole(header)) return MMSYSERR_INVALPARAM;
    if (flags & ~kKnownFlags) return MMSYSERR_INVALFLAG;
    return WithStream(stream, [=](OpenStream& open) -> MMRESULT {
        if (!Preparation::IsFor(stream, *header)) return ACMERR_UNPREPARED;
        if (!Preparation::Of(*header).Allows(*header)) return MMSYSERR_INVALPARAM;
        header->fdwStatus &= ~static_cast<DWORD>(ACMSTREAMHEADER_STATUSF_DONE);
        return Convert(open, *header, flags);
    });
}

// The frame of the services for a header, which take no flags.
template <class Work>
MMRESULT ServeHeader(const char* service, MMRESULT usual, HACMSTREAM stream, ACMSTREAMHEADER* header,
                     DWORD flags, Work&& work) {
    return Serve(service, usual, [&]() -> MMRESULT {
        if (flags) return MMSYSERR_INVALFLAG;
        return WithStream(stream, [&](OpenStream&) -> MMRESULT {
            return IsWhole(header) ? work(stream, *header) : MMRESULT{MMSYSERR_INVALPARAM};
        });
    });
}

}  // namespace
}  // namespace tolvane::platform

using namespace tolvane::platform;

MMRESULT WINAPI acmStreamOpen(LPHACMSTREAM stream, HACMDRIVER open, LPWAVEFORMATEX source,
                              LPWAVEFORMATEX target, LPWAVEFILTER filter, DWORD_PTR, DWORD_PTR, DWORD flags) {
    return Serve("acmStreamOpen", ACMERR_NOTPOSSIBLE,
                 [=] { return Open(stream, open, source, target, filter, flags); });
}

MMRESULT WINAPI acmStreamClose(HACMSTREAM stream, DWORD flags) {
    const auto forget = [=](OpenStream&) -> MMRESULT { return ForgetStream(stream), MMSYSERR_NOERROR; };
    return ServeAnyway("acmStreamClose", MMSYSERR_INVALHANDLE,
                       [&]() -> MMRESULT { return flags ? MMSYSERR_INVALFLAG : WithStream(stream, forget); });
}

MMRESULT WINAPI acmStreamSize(HACMSTREAM stream, DWORD input, LPDWORD output, DWORD flags) {
    return Serve("acmStreamSize", ACMERR_NOTPOSSIBLE, [=]() -> MMRESULT {
        if (!output || !input) return MMSYSERR_INVALPARAM;
        *output = 0;
        if (flags > ACM_STREAMSIZEF_DESTINATION) return MMSYSERR_INVALFLAG;
        return WithStream(stream, [=](OpenStream& open) { return Size(*open.stream, input, output, flags); });
    });
}

MMRESULT WINAPI acmStreamPrepareHeader(HACMSTREAM stream, LPACMSTREAMHEADER header, DWORD flags) {
    return ServeHeader("acmStreamPrepareHeader", MMSYSERR_NOMEM, stream, header, flags, Prepare);
}

MMRESULT WINAPI acmStreamConvert(HACMSTREAM stream, LPACMSTREAMHEADER header, DWORD flags) {
    return Serve("acmStreamConvert", MMSYSERR_ERROR, [=] { return Convert(stream, header, flags); });
}

MMRESULT WINAPI acmStreamUnprepareHeader(HACMSTREAM stream, LPACMSTREAMHEADER header, DWORD flags) {
    return ServeHeader("acmStreamUnprepareHeader", MMSYSERR_INVALHANDLE, stream, header, flags, Unprepare);
}

uint32_t PlatformOpenStreams(void) {
    Streams& streams = TheStreams();
    const std::lock_guard lock(streams.mutex);
    return static_cast<uint32_t>(streams.open.size());
}
