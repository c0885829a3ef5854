// Which of the formats that a codec offers is taken: the one that was named, the user's answer, or the one that suits
// the sound best.
#ifndef TOLVANE_HOST_FORMAT_CHOICE_H
#define TOLVANE_HOST_FORMAT_CHOICE_H

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "job_screen.h"
#include "sound_format.h"

namespace tolvane::host {

// "44100 Hz, Stereo, 128 kbit/s" in numbers.
struct OfferedFormat {
    std::string text;
    uint32_t rate = 0;
    uint16_t channels = 0;
    uint32_t kilobits = 0;  // a second; 0 where it has bits instead
};

// While it lives, the codecs ask it, where they ask at all: on Windows the system asks with a dialog of its own.
class FormatChoice {
  public:
    // `wanted`: the number or (part of) the text of a format, or empty. `ask`: the user is there to be asked.
    FormatChoice(std::string wanted, const PcmShape& source, bool ask);
    ~FormatChoice();
    FormatChoice(const FormatChoice&) = delete;
    FormatChoice& operator=(const FormatChoice&) = delete;

    bool IsOurs() const { return ours_; }

    // Asks the user when the job waits for an answer. False when there is to be none: the job is cancelled.
    bool Attend(Job& job, JobScreen& screen);

    // What was taken; nothing as long as no codec asked, or when there is to be no answer.
    std::optional<OfferedFormat> Chosen();

    // The codec was asked and offers nothing of the wanted name; it offers these.
    bool IsUnknown();
    std::string OfferText();

  private:
    enum class State { kUnasked, kWaiting, kSettled };

    static int32_t OnQuestion(void* context, const char* name, const char* const* formats, uint32_t count,
                              uint32_t);
    void Take(const char* name, const char* const* formats, uint32_t count);
    std::optional<size_t> Find(const std::string& wanted) const;
    size_t Best() const;
    std::optional<size_t> Ask(JobScreen& screen) const;
    void Settle(std::optional<size_t> index);

    const std::string wanted_;
    const PcmShape source_;
    const bool ask_;
    bool ours_ = false;

    // Shared with the thread of the job.
    std::mutex mutex_;
    std::condition_variable settled_;
    State state_ = State::kUnasked;
    std::string name_;
    std::vector<OfferedFormat> offers_;
    std::optional<size_t> chosen_;
};

}  // namespace tolvane::host

#endif
