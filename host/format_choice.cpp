// Which of the formats that a codec offers is taken.
#include "format_choice.h"

#include <platform_codecs.h>

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <tuple>

#include "codec_names.h"

namespace tolvane::host {
namespace {

constexpr size_t kLongestFullList = 16;
constexpr std::chrono::milliseconds kLookForKeysEvery{30};
constexpr size_t kLongestAnswer = 6;

OfferedFormat ParseOffer(const char* text) {
    OfferedFormat offer{text};
    char channels[16] = "", unit[16] = "";
    unsigned rate = 0, amount = 0;
    if (std::sscanf(text, "%u Hz, %15[^,], %u %15s", &rate, channels, &amount, unit) != 4) return offer;
    offer.rate = rate;
    offer.channels = std::string_view(channels) == "Mono" ? 1 : 2;
    if (unit[0] == 'k') offer.kilobits = amount;
    return offer;
}

uint32_t Distance(uint32_t a, uint32_t b) {
    return a < b ? b - a : a - b;
}

std::optional<size_t> ParseNumber(std::string_view text, size_t count) {
    size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool is_one =
        error == std::errc() && end == text.data() + text.size() && number >= 1 && number <= count;
    return is_one ? std::optional(number - 1) : std::nullopt;
}

// A line that the user types, key by key, so that Ctrl-C is heard meanwhile. Nothing when he wants to stop.
std::optional<std::string> ReadAnswer(JobScreen& screen, const std::string& prompt) {
    std::string answer;
    for (;;) {
        screen.terminal()->Redraw(prompt + answer);
        const int key = screen.terminal()->ReadCharacter();
        if (key == '\r' || key == '\n') return answer;
        if (key < 0 || key == 27 || key == 4 || key == 'q') return std::nullopt;
        if ((key == 8 || key == 127) && !answer.empty()) answer.pop_back();
        if (std::isalnum(key) && answer.size() < kLongestAnswer) answer += static_cast<char>(key);
        if (key == 0 && !screen.Sleep(kLookForKeysEvery)) return std::nullopt;
    }
}

void PrintOffers(Terminal& terminal, const std::vector<OfferedFormat>& offers, size_t best, bool all) {
    for (size_t index = 0; index < offers.size(); ++index) {
        const OfferedFormat& offer = offers[index];
        if (all || (offer.rate == offers[best].rate && offer.channels == offers[best].channels))
            terminal.PrintAbove(
                fmt::format("{} {:>3}  {}", index == best ? '*' : ' ', index + 1, offer.text));
    }
    if (!all) terminal.PrintAbove(fmt::format("    a  all {} formats", offers.size()));
}

}  // namespace

FormatChoice::FormatChoice(std::string wanted, const PcmShape& source, bool ask)
    : wanted_(std::move(wanted)),
      source_(source),
      ask_(ask),
      ours_(PlatformSetFormatChooser(OnQuestion, this) != 0) {}

FormatChoice::~FormatChoice() {
    PlatformSetFormatChooser(nullptr, nullptr);
}

// Called in the thread of the job. The conversion that follows the question gets the same answer.
int32_t FormatChoice::OnQuestion(void* context, const char* name, const char* const* formats, uint32_t count,
                                 uint32_t) {
    auto& choice = *static_cast<FormatChoice*>(context);
    std::unique_lock lock(choice.mutex_);
    if (choice.state_ == State::kUnasked) choice.Take(name, formats, count);
    choice.settled_.wait(lock, [&] { return choice.state_ != State::kWaiting; });
    return choice.chosen_ && *choice.chosen_ < count ? static_cast<int32_t>(*choice.chosen_) : -1;
}

void FormatChoice::Take(const char* name, const char* const* formats, uint32_t count) {
    name_ = name;
    std::transform(formats, formats + count, std::back_inserter(offers_), ParseOffer);
    chosen_ = wanted_.empty() ? Best() : Find(wanted_);
    state_ = ask_ && wanted_.empty() && count > 1 ? State::kWaiting : State::kSettled;
}

// By its number or its text, or by a part of the text that only one has.
std::optional<size_t> FormatChoice::Find(const std::string& wanted) const {
    if (const auto number = ParseNumber(wanted, offers_.size())) return number;
    const std::string part = Simplified(wanted);
    std::optional<size_t> found;
    for (size_t index = 0; index < offers_.size(); ++index) {
        const std::string text = Simplified(offers_[index].text);
        if (text == part) return index;
        if (text.find(part) == text.npos) continue;
        if (found) return std::nullopt;
        found = index;
    }
    return found;
}

// What loses least: no lower rate, if there is one, then the channels; of several bit rates the one that spends 1.5
// bits on a sample, 128 kbit/s for a CD.
size_t FormatChoice::Best() const {
    const auto loss = [this](const OfferedFormat& offer) {
        const uint32_t usual_kilobits = offer.rate * offer.channels * 3 / 2000;
        return std::tuple(offer.rate < source_.rate, Distance(offer.rate, source_.rate),
                          Distance(offer.channels, source_.channels),
                          offer.kilobits == 0 ? 0 : Distance(offer.kilobits, usual_kilobits));
    };
    return static_cast<size_t>(std::ranges::min_element(offers_, {}, loss) - offers_.begin());
}

std::optional<size_t> FormatChoice::Ask(JobScreen& screen) const {
    const size_t best = *chosen_;
    bool all = offers_.size() <= kLongestFullList;
    screen.terminal()->PrintAbove(fmt::format("{} can be written as:", name_));
    for (;;) {
        PrintOffers(*screen.terminal(), offers_, best, all);
        const auto answer = ReadAnswer(screen, fmt::format("Which one? [{}] ", best + 1));
        screen.terminal()->Clear();
        if (!answer) return std::nullopt;
        if (answer->empty()) return best;
        if (const auto number = ParseNumber(*answer, offers_.size())) return number;
        all = all || *answer == "a";
        if (*answer != "a") screen.terminal()->PrintAbove("Type one of the numbers, or q to stop.");
    }
}

void FormatChoice::Settle(std::optional<size_t> index) {
    const std::lock_guard lock(mutex_);
    chosen_ = index;
    state_ = State::kSettled;
    settled_.notify_all();
}

// While the state is "waiting", the job's thread changes nothing.
bool FormatChoice::Attend(Job& job, JobScreen& screen) {
    {
        const std::lock_guard lock(mutex_);
        if (state_ == State::kUnasked || (state_ == State::kSettled && chosen_)) return true;
    }
    const bool waiting = state_ == State::kWaiting;
    const auto answer = waiting ? Ask(screen) : std::nullopt;
    if (!answer) job.Cancel();
    if (waiting) Settle(answer);
    return answer.has_value();
}

std::optional<OfferedFormat> FormatChoice::Chosen() {
    const std::lock_guard lock(mutex_);
    return chosen_ ? std::optional(offers_[*chosen_]) : std::nullopt;
}

bool FormatChoice::IsUnknown() {
    const std::lock_guard lock(mutex_);
    return !wanted_.empty() && state_ == State::kSettled && !chosen_;
}

std::string FormatChoice::OfferText() {
    const std::lock_guard lock(mutex_);
    std::string text;
    for (size_t index = 0; index < offers_.size(); ++index)
        text += fmt::format("\n{:>5}  {}", index + 1, offers_[index].text);
    return text;
}

}  // namespace tolvane::host
