// Which card is behind the wave devices, and what all cards share.
#include "platform/sound/card.h"

#include <algorithm>
#include <cstring>
#include <mutex>

#include <platform.h>

#include "platform/kernel/late_module.h"
#include "platform/sound/server_card.h"
#include "platform/sound/virtual_card.h"

namespace tolvane::platform {
namespace {

struct Choice {
    std::mutex mutex;
    PlatformCard card = PLATFORM_CARD_DEFAULT;
    uint32_t open_devices = 0;
};

// Never destroyed: a device may be closed while the process ends.
Choice& TheChoice() {
    static Choice& choice = *new Choice;
    return choice;
}

// Null where the module cannot be loaded: the machine has no devices then.
Card* ServerCard() {
    static constinit LateModule<OfferedServerCard> module("sound-server");
    OfferedServerCard* const card = module.Offered();
    return card ? &card() : nullptr;
}

Card* Behind(PlatformCard choice) {
    switch (choice) {
        case PLATFORM_CARD_VIRTUAL:
            return &VirtualCard::Get();
        case PLATFORM_CARD_NONE:
            return nullptr;
        default:
            return ServerCard();
    }
}

struct StandardFormat {
    uint32_t rate;
    uint16_t channels, bits;
    DWORD flag;
};

constexpr StandardFormat kStandardFormats[] = {
    {11025, 1, 8, WAVE_FORMAT_1M08},  {11025, 2, 8, WAVE_FORMAT_1S08},  {11025, 1, 16, WAVE_FORMAT_1M16},
    {11025, 2, 16, WAVE_FORMAT_1S16}, {22050, 1, 8, WAVE_FORMAT_2M08},  {22050, 2, 8, WAVE_FORMAT_2S08},
    {22050, 1, 16, WAVE_FORMAT_2M16}, {22050, 2, 16, WAVE_FORMAT_2S16}, {44100, 1, 8, WAVE_FORMAT_4M08},
    {44100, 2, 8, WAVE_FORMAT_4S08},  {44100, 1, 16, WAVE_FORMAT_4M16}, {44100, 2, 16, WAVE_FORMAT_4S16},
};

}  // namespace

DWORD StandardFormats(uint32_t min_rate, uint32_t max_rate, uint16_t max_channels, bool bits8, bool bits16) {
    DWORD flags = 0;
    for (const StandardFormat& format : kStandardFormats) {
        const bool size_taken = format.bits == 8 ? bits8 : bits16;
        const bool rate_taken = format.rate >= min_rate && format.rate <= max_rate;
        if (size_taken && rate_taken && format.channels <= max_channels) flags |= format.flag;
    }
    return flags;
}

void CopyName(char* to, size_t size, const char* name) {
    size_t length = std::min(strlen(name), size - 1);
    const auto continues = [&](size_t at) { return (name[at] & 0xC0) == 0x80; };
    while (length > 0 && continues(length))
        length--;
    std::fill(std::copy_n(name, length, to), to + size, 0);
}

void SetDeviceName(CardDevice& device, const char* name) {
    CopyName(device.name, sizeof(device.name), name);
}

CardLease::CardLease() {
    Choice& choice = TheChoice();
    PlatformCard chosen;
    {
        const std::lock_guard lock(choice.mutex);
        choice.open_devices++;  // from here on the choice stays
        chosen = choice.card;
    }
    card = Behind(chosen);
}

CardLease::~CardLease() {
    Choice& choice = TheChoice();
    const std::lock_guard lock(choice.mutex);
    choice.open_devices--;
}

}  // namespace tolvane::platform

using namespace tolvane::platform;

int PlatformUseCard(PlatformCard card) {
    if (card < PLATFORM_CARD_DEFAULT || card > PLATFORM_CARD_NONE) return 0;
    Choice& choice = TheChoice();
    const std::lock_guard lock(choice.mutex);
    if (choice.open_devices > 0) return 0;
    choice.card = card;
    return 1;
}

int PlatformCardInUse(void) {
    const CardLease lease;
    if (!lease.card) return PLATFORM_CARD_NONE;
    if (lease.card == &VirtualCard::Get()) return PLATFORM_CARD_VIRTUAL;
    return lease.card->Answers() ? PLATFORM_CARD_SERVER : PLATFORM_CARD_NONE;
}
