#include "devices/devices.h"

#include <mmsystem.h>

#include <atomic>

#include "frame/text.h"
#include "tolvane.h"

namespace tolvane {

namespace {

constexpr UINT kPreferredDeviceQuery = 0x2015;
constexpr char kUnknownDevice[] = "Unknown Device";

std::atomic<UINT> selected_output = WAVE_MAPPER;
std::atomic<UINT> selected_input = WAVE_MAPPER;

// What outputs and inputs have alike, with the system's calls for each.
struct Direction {
    UINT(WINAPI* count)();
    MMRESULT (*ask_mapper)(UINT message, DWORD* first, DWORD* second);
    std::atomic<UINT>& selected;
    const char* none_text;
    uint32_t not_preferred, not_selected;
};

const Direction kOutput = {
    waveOutGetNumDevs,
    [](UINT message, DWORD* first, DWORD* second) {
        return waveOutMessage(reinterpret_cast<HWAVEOUT>(UINT_PTR{WAVE_MAPPER}), message,
                              reinterpret_cast<DWORD_PTR>(first), reinterpret_cast<DWORD_PTR>(second));
    },
    selected_output,
    "GetPreferredOutputDeviceIndex : No Output devices",
    TOLVANE_NO_PREFERRED_OUTPUT,
    TOLVANE_OUTPUT_NOT_SELECTED,
};

const Direction kInput = {
    waveInGetNumDevs,
    [](UINT message, DWORD* first, DWORD* second) {
        return waveInMessage(reinterpret_cast<HWAVEIN>(UINT_PTR{WAVE_MAPPER}), message,
                             reinterpret_cast<DWORD_PTR>(first), reinterpret_cast<DWORD_PTR>(second));
    },
    selected_input,
    "GetPreferredInputDeviceIndex : No Input devices",
    TOLVANE_NO_PREFERRED_INPUT,
    TOLVANE_INPUT_NOT_SELECTED,
};

uint32_t Preferred(const Direction& direction, uint32_t* device) {
    uint32_t unwanted;
    if (!device) device = &unwanted;
    *device = TOLVANE_WAVE_MAPPER;
    if (direction.count() == 0) {
        OutputDebugStringA(direction.none_text);
        return direction.not_preferred;
    }
    DWORD preferred = 0, status = 0;
    if (direction.ask_mapper(kPreferredDeviceQuery, &preferred, &status) != MMSYSERR_NOERROR) {
        return direction.not_preferred;
    }
    *device = preferred;
    return TOLVANE_OK;
}

uint32_t Select(const Direction& direction, uint32_t device) {
    if (device != TOLVANE_WAVE_MAPPER && device >= direction.count()) return direction.not_selected;
    direction.selected = device;
    return TOLVANE_OK;
}

}  // namespace

UINT SelectedOutputDevice() {
    return selected_output;
}
UINT SelectedInputDevice() {
    return selected_input;
}

uint32_t GetPreferredOutputDeviceIndex(uint32_t* device) {
    return Preferred(kOutput, device);
}
uint32_t GetPreferredInputDeviceIndex(uint32_t* device) {
    return Preferred(kInput, device);
}

uint32_t GetOutputDeviceDescription(uint32_t device, char* description) {
    char unwanted[TOLVANE_DEVICE_NAME_SIZE];
    if (!description) description = unwanted;
    *description = 0;
    WAVEOUTCAPSA caps = {};
    if (waveOutGetDevCapsA(device, &caps, sizeof caps) != MMSYSERR_NOERROR) return TOLVANE_NO_SUCH_OUTPUT;
    caps.szPname[MAXPNAMELEN - 1] = 0;
    TrimSpaces(caps.szPname);
    CopyText(description, TOLVANE_DEVICE_NAME_SIZE, *caps.szPname ? caps.szPname : kUnknownDevice);
    return TOLVANE_OK;
}

uint32_t GetInputDeviceDescription(uint32_t device, char* description) {
    char unwanted[TOLVANE_DEVICE_NAME_SIZE];
    if (!description) description = unwanted;
    *description = 0;
    WAVEINCAPSA caps = {};
    if (waveInGetDevCapsA(device, &caps, sizeof caps) != MMSYSERR_NOERROR) return TOLVANE_NO_SUCH_INPUT;
    caps.szPname[MAXPNAMELEN - 1] = 0;
    CopyText(description, TOLVANE_DEVICE_NAME_SIZE, caps.szPname);
    return TOLVANE_OK;
}

uint32_t SelectOutputDevice(uint32_t device) {
    return Select(kOutput, device);
}
uint32_t SelectInputDevice(uint32_t device) {
    return Select(kInput, device);
}

}  // namespace tolvane
