// `tolvane devices`, and how a device or a card is chosen.
#include <platform.h>
#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>

#include "result_text.h"
#include "sound_devices.h"

namespace tolvane::host {
namespace {

constexpr uint32_t kNone = TOLVANE_WAVE_MAPPER;

using DescribeDevice = uint32_t(TOLVANE_CALL*)(uint32_t, char*);

std::vector<std::string> Names(uint32_t count, DescribeDevice describe) {
    std::vector<std::string> names;
    for (uint32_t index = 0; index < count; ++index) {
        char name[TOLVANE_DEVICE_NAME_SIZE] = "";
        describe(index, name);
        names.emplace_back(name);
    }
    return names;
}

void PrintDevices(std::string_view title, const std::vector<std::string>& names, uint32_t preferred) {
    fmt::print("{}{}\n", title, names.empty() ? ": none" : "");
    for (uint32_t index = 0; index < names.size(); ++index)
        fmt::print("{} {:>2}  {}\n", index == preferred ? '*' : ' ', index, names[index]);
}

// Cards can be chosen only where the layer below is our own.
bool CardsCanBeChosen() {
    return PlatformCardInUse() >= 0;
}

std::string_view NoSoundAdvice() {
    return CardsCanBeChosen()
               ? "Start a sound server, or play into a wave file instead: --card virtual --into heard.wav"
               : "Connect or enable a sound device, then try again.";
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::optional<uint32_t> ParseNumber(std::string_view text) {
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

}  // namespace

std::optional<uint32_t> FindNamed(const std::vector<std::string>& names, const std::string& wanted) {
    if (const auto number = ParseNumber(wanted); number && *number < names.size()) return number;
    std::optional<uint32_t> found;
    const std::string part = Lower(wanted);
    for (uint32_t index = 0; index < names.size(); ++index) {
        const std::string name = Lower(names[index]);
        if (name == part) return index;
        if (name.find(part) == name.npos) continue;
        if (found) return std::nullopt;
        found = index;
    }
    return found;
}

int UseCard(const CardRequest& card) {
    if (card.name.empty()) return kExitDone;
    const PlatformCard wanted = card.name == "server"    ? PLATFORM_CARD_SERVER
                                : card.name == "virtual" ? PLATFORM_CARD_VIRTUAL
                                                         : PLATFORM_CARD_NONE;
    if (PlatformUseCard(wanted)) return kExitDone;
    return ReportFailure("cannot use the card", card.name, "Cards cannot be chosen on this system.",
                         "Leave --card out.");
}

bool MachineHasOutput() {
    return GetNumberOfOutputDevices() > 0;
}

int ReportNoSound(std::string_view what, std::string_view on) {
    return ReportFailure(what, on, "This machine has no sound device.", NoSoundAdvice());
}

std::vector<std::string> OutputNames() {
    return Names(GetNumberOfOutputDevices(), GetOutputDeviceDescription);
}

namespace {

std::vector<std::string> InputNames() {
    return Names(GetNumberOfInputDevices(), GetInputDeviceDescription);
}

// Without a wish no device is asked for: that takes its time, and a session that never plays needs none.
int SelectDevice(std::vector<std::string> (*list)(), uint32_t(TOLVANE_CALL* select)(uint32_t),
                 const std::string& device) {
    if (device.empty()) return kExitDone;
    const std::vector<std::string> names = list();
    const auto index = FindNamed(names, device);
    if (index && select(*index) == TOLVANE_OK) return kExitDone;
    if (names.empty()) return ReportNoSound("cannot use the device", device);
    return ReportFailure("cannot use the device", device, "It does not exist, or several have this name.",
                         "`tolvane devices` lists the devices; give the number or the name of one.");
}

}  // namespace

int SelectOutput(const std::string& device) {
    return SelectDevice(OutputNames, SelectOutputDevice, device);
}

int SelectInput(const std::string& device) {
    return SelectDevice(InputNames, SelectInputDevice, device);
}

int RunDevices(const CardRequest& card) {
    if (const int failed = UseCard(card)) return failed;
    uint32_t output = kNone, input = kNone;
    GetPreferredOutputDeviceIndex(&output);
    GetPreferredInputDeviceIndex(&input);
    const std::vector<std::string> outputs = OutputNames();
    PrintDevices("Outputs", outputs, output);
    PrintDevices("Inputs", InputNames(), input);
    if (output != kNone || input != kNone) fmt::print("* is the one the system prefers.\n");
    if (outputs.empty()) fmt::print("This machine has no sound output. {}\n", NoSoundAdvice());
    return kExitDone;
}

}  // namespace tolvane::host
