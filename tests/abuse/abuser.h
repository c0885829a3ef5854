// A thread that calls the exports with whatever their contract allows: files of every kind and none, numbers at and
// beyond every limit, null for everything that may be null. What an argument points to belongs to the thread or is
// never changed.
#pragma once

#include <initializer_list>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "examples/effects/gain.h"
#include "support/host_window.h"
#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {

// What all threads share: files to read, some of which are edited too.
class Ground {
  public:
    explicit Ground(const TempFolder& folder);

    const TempFolder& folder;
    std::vector<std::string> sources;  // the first ones are wave files that may be edited
    std::vector<std::string> edited;
    std::vector<std::string> no_paths;  // empty, missing, too long, a folder, in no folder
    HostWindow window;
    HWND gone;  // a window that is no more
};

struct Range {
    uint32_t low, high;
    Range(uint32_t only) : low(only), high(only) {}
    Range(uint32_t first, uint32_t last) : low(first), high(last) {}
};

class Abuser {
  public:
    Abuser(const Ground& ground, uint32_t seed);
    ~Abuser();
    Abuser(const Abuser&) = delete;
    Abuser& operator=(const Abuser&) = delete;

    const char* now = "";  // the function that is being called

    void Expect(uint32_t result, std::initializer_list<Range> documented) const;
    template <class... Values>
    void ExpectPercent(Values... values) const {
        (Expect(values, {{0, 100}}), ...);
    }

    bool Chance(uint32_t one_in) { return random_() % one_in == 0; }
    template <class Value>
    Value OneOf(std::initializer_list<Value> values) {
        return values.begin()[random_() % values.size()];
    }
    template <class Value>
    const Value& OneOf(const std::vector<Value>& values) {
        return values[random_() % values.size()];
    }
    // The place of a result, or nowhere.
    template <class Value>
    Value* OrNull(Value* place) {
        return Chance(4) ? nullptr : place;
    }

    uint32_t Any();
    uint32_t UpTo(size_t limit) { return Any() % (static_cast<uint32_t>(limit) + 1); }
    uint16_t Short() { return static_cast<uint16_t>(Any()); }
    // Of effects. In the last one is a plug-in that frees its parameters itself; another in its place would forget them.
    static constexpr int32_t kLastSlot = 5;
    int32_t Slot() { return OneOf<int32_t>({-1, 0, 1, kLastSlot, 6, INT32_MAX, INT32_MIN}); }
    float Factor();
    uint32_t Rate() { return OneOf<uint32_t>({0, 0, kLowestRate, 8000, 22050, 44100, 44100, kHighestRate}); }
    uint16_t Bits() { return OneOf<uint16_t>({8, 8, 16, 16, 0, 1, 24, 0xFFFF}); }
    uint16_t Channels() { return OneOf<uint16_t>({1, 1, 2, 2, 0, kMostChannels}); }

    const char* NoPath();
    const char* Source();
    const char* Edited();  // is kept small
    const char* Target();
    const char* Folder();
    const char* Plugin();
    char* RecordName();
    void* Window();

    // Handles, of which each place holds one at a time.
    EditJob** NewEditJob();
    EditJob* OldEditJob() { return OrNull(edit_job); }
    ConvertJob** NewConvertJob();
    ConvertJob* OldConvertJob() { return OrNull(convert_job); }
    PcmConversion* OldConversion() { return OrNull(conversion); }
    void CloseJobs();

    const tWAVEFORMATEX* PcmFormat();
    PlaybackSetEntry* Set(bool mp3);
    uint32_t SetCount() { return OneOf<uint32_t>({0, 1, kEntries}); }

    static constexpr uint32_t kEntries = 3;
// Wine's driver ends the process at formats that its sound server does not have.
#ifdef _WIN32
    static constexpr bool kWine = true;
#else
    static constexpr bool kWine = false;
#endif
    static constexpr uint32_t kLowestRate = kWine ? 8000 : 1, kHighestRate = kWine ? 48000 : 0xFFFFFFFF;
    static constexpr uint16_t kMostChannels = kWine ? 2 : 0xFFFF;
    static constexpr uint32_t kBlock = 512;
    EditJob* edit_job = nullptr;
    ConvertJob* convert_job = nullptr;
    PcmConversion* conversion = nullptr;
    uint32_t number = 0, other_number = 0;
    uint8_t block[2 * kBlock], mix_block[kBlock];
    char text[1024];
    const GainParameters gain = {50, 0};

  private:
    const Ground& ground_;
    std::mt19937 random_;
    std::string own_, taken_;
    char record_name_[400];
    uint8_t pcm_[18];
    PlaybackSetEntry sets_[3][kEntries];
};

struct Export {
    const char* name;
    void (*call)(Abuser&);
};
std::span<const Export> AllExports();
bool StartsSound(const std::string& name);

}  // namespace tolvane::test
