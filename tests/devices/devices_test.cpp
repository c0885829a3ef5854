// Device lists, names, preferences and choices: on a card of our making, on a machine without sound, and
// wherever the tests run.
#include <cstring>

#include <gmock/gmock.h>

#include "support/virtual_card.h"

namespace tolvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> debug_texts;

// Output and input obey the same rules with other codes.
struct Direction {
    const char* name;
    uint32_t(TOLVANE_CALL* count)();
    uint32_t(TOLVANE_CALL* preferred)(uint32_t*);
    uint32_t(TOLVANE_CALL* describe)(uint32_t, char*);
    uint32_t(TOLVANE_CALL* select)(uint32_t);
    uint32_t no_preferred, no_such, not_selected;
    const char* none_text;
};

const Direction kOutput{"output",
                        GetNumberOfOutputDevices,
                        GetPreferredOutputDeviceIndex,
                        GetOutputDeviceDescription,
                        SelectOutputDevice,
                        TOLVANE_NO_PREFERRED_OUTPUT,
                        TOLVANE_NO_SUCH_OUTPUT,
                        TOLVANE_OUTPUT_NOT_SELECTED,
                        "GetPreferredOutputDeviceIndex : No Output devices"};
const Direction kInput{"input",
                       GetNumberOfInputDevices,
                       GetPreferredInputDeviceIndex,
                       GetInputDeviceDescription,
                       SelectInputDevice,
                       TOLVANE_NO_PREFERRED_INPUT,
                       TOLVANE_NO_SUCH_INPUT,
                       TOLVANE_INPUT_NOT_SELECTED,
                       "GetPreferredInputDeviceIndex : No Input devices"};

std::string Describe(const Direction& direction, uint32_t device, uint32_t code = TOLVANE_OK) {
    char description[TOLVANE_DEVICE_NAME_SIZE + 4];
    std::memset(description, '#', sizeof description);
    EXPECT_EQ(direction.describe(device, description), code) << direction.name << ' ' << device;
    EXPECT_EQ(std::string(description + TOLVANE_DEVICE_NAME_SIZE, 4), "####") << "written behind the buffer";
    return description;
}

uint32_t Preferred(const Direction& direction, uint32_t code) {
    uint32_t device = 12345;
    EXPECT_EQ(direction.preferred(&device), code) << direction.name;
    EXPECT_EQ(direction.preferred(nullptr), code) << direction.name;
    return device;
}

// Holds wherever the library runs, whatever devices there are.
void CheckAgainstCount(const Direction& direction) {
    const uint32_t count = direction.count();
    for (uint32_t device = 0; device < count; ++device) {
        EXPECT_LT(Describe(direction, device).size(), size_t{TOLVANE_DEVICE_NAME_SIZE});
        EXPECT_EQ(direction.describe(device, nullptr), TOLVANE_OK);
        EXPECT_EQ(direction.select(device), TOLVANE_OK);
    }
    for (const uint32_t beyond : {count, count + 1, 0x7FFFFFFFu, 0xFFFFFFFEu}) {
        EXPECT_EQ(Describe(direction, beyond, direction.no_such), "");
        EXPECT_EQ(direction.select(beyond), direction.not_selected);
    }
    if (count > 0)
        EXPECT_LT(Preferred(direction, TOLVANE_OK), count);
    else
        EXPECT_EQ(Preferred(direction, direction.no_preferred), TOLVANE_WAVE_MAPPER);
    EXPECT_EQ(direction.select(TOLVANE_WAVE_MAPPER), TOLVANE_OK);
}

TEST(Devices, AgreeWithTheirCountHere) {
    CheckAgainstCount(kOutput);
    CheckAgainstCount(kInput);
}

class ChosenDevices : public VirtualCard {
  protected:
    void SetUp() override {
        VirtualCard::SetUp();
        debug_texts.clear();
        PlatformSetDebugHook([](const char* text, void*) { debug_texts.emplace_back(text); }, nullptr);
    }
    void TearDown() override {
        PlatformSetDebugHook(nullptr, nullptr);
        VirtualCard::TearDown();
    }
    static void MakeDevices() {
        const PlatformVirtualDevice devices[] = {
            {"  Desk \t speakers \r\n", 1, 192000, 2, 3},
            {" \t  ", 1, 192000, 2, 3},
            {"A name far longer than a device may have", 1, 192000, 2, 3}};
        ASSERT_TRUE(PlatformVirtualSetOutputs(devices, 3));
        ASSERT_TRUE(PlatformVirtualSetInputs(devices, 2));
    }
};

TEST_F(ChosenDevices, HaveTheirNamesTrimmedOnTheOutputSideOnly) {
    MakeDevices();
    EXPECT_EQ(GetNumberOfOutputDevices(), 3u);
    EXPECT_EQ(GetNumberOfInputDevices(), 2u);
    EXPECT_EQ(Describe(kOutput, 0), "Desk \t speakers");
    EXPECT_EQ(Describe(kOutput, 1), "Unknown Device");
    EXPECT_EQ(Describe(kOutput, 2), "A name far longer than a device");
    EXPECT_EQ(Describe(kInput, 0), "  Desk \t speakers \r\n");
    EXPECT_EQ(Describe(kInput, 1), " \t  ");
    CheckAgainstCount(kOutput);
    CheckAgainstCount(kInput);
    EXPECT_THAT(debug_texts, IsEmpty());
}

TEST_F(ChosenDevices, ArePreferredAsTheMapperSays) {
    MakeDevices();
    ASSERT_TRUE(PlatformVirtualSetPreferred(2, 1));
    EXPECT_EQ(Preferred(kOutput, TOLVANE_OK), 2u);
    EXPECT_EQ(Preferred(kInput, TOLVANE_OK), 1u);
    ASSERT_TRUE(PlatformVirtualSetPreferred(UINT32_MAX, UINT32_MAX));
    EXPECT_EQ(Preferred(kOutput, TOLVANE_NO_PREFERRED_OUTPUT), TOLVANE_WAVE_MAPPER);
    EXPECT_EQ(Preferred(kInput, TOLVANE_NO_PREFERRED_INPUT), TOLVANE_WAVE_MAPPER);
    EXPECT_THAT(debug_texts, IsEmpty()) << "there are devices, though none is preferred";
}

TEST_F(ChosenDevices, MayBeMissing) {
    for (const auto card : {PLATFORM_CARD_VIRTUAL, PLATFORM_CARD_NONE}) {
        ASSERT_TRUE(PlatformVirtualSetOutputs(nullptr, 0));
        ASSERT_TRUE(PlatformVirtualSetInputs(nullptr, 0));
        ASSERT_TRUE(PlatformUseCard(card));
        for (const Direction* direction : {&kOutput, &kInput}) {
            uint32_t device = 7;
            debug_texts.clear();
            EXPECT_EQ(direction->preferred(&device), direction->no_preferred);
            EXPECT_EQ(device, TOLVANE_WAVE_MAPPER);
            EXPECT_THAT(debug_texts, ElementsAre(direction->none_text));
            EXPECT_EQ(direction->count(), 0u);
            CheckAgainstCount(*direction);
        }
    }
}

using SelectedOutput = Playing;

TEST_F(SelectedOutput, IsOpenedByTheNextStart) {
    const PlatformVirtualDevice devices[] = {{"one", 1, 192000, 2, 3}, {"two", 1, 192000, 2, 3}};
    const auto expect_opens = [](uint32_t device, uint32_t opens) {
        PlatformVirtualState state{};
        PlatformVirtualGetState(device, &state);
        EXPECT_EQ(state.opens, opens);
    };
    ASSERT_TRUE(PlatformVirtualSetOutputs(devices, 2));
    ASSERT_TRUE(PlatformVirtualSetPreferred(1, 0));
    PlatformVirtualSetClock(PLATFORM_CLOCK_MOVED);
    Make({8000, 1, 8}, 100);
    ASSERT_EQ(Play(), TOLVANE_OK);
    expect_opens(1, 1);  // without a choice the mapper goes to the preferred device
    EXPECT_EQ(SelectOutputDevice(0), TOLVANE_OK) << "does not touch what runs";
    PlatformVirtualAdvance(1, 100);
    EXPECT_EQ(window_.Ended(), 1);
    EXPECT_EQ(PlatformVirtualPlayed(1, 0, nullptr, 0), 100u);
    EXPECT_EQ(SelectOutputDevice(2), TOLVANE_OUTPUT_NOT_SELECTED) << "leaves the earlier choice";
    ASSERT_EQ(Play(), TOLVANE_OK);
    expect_opens(0, 1);
    AudioStop();
    EXPECT_EQ(SelectOutputDevice(1), TOLVANE_OK);
    ASSERT_TRUE(PlatformVirtualSetOutputs(devices, 1));
    EXPECT_EQ(Play(), TOLVANE_FORMAT_NOT_PLAYABLE) << "the chosen one has vanished";
    EXPECT_EQ(AudioLoadFile(path_.c_str()), TOLVANE_FORMAT_NOT_PLAYABLE);
    EXPECT_EQ(SelectOutputDevice(0), TOLVANE_OK);
    EXPECT_EQ(Play(), TOLVANE_OK);
}

}  // namespace
}  // namespace tolvane::test
