// The sound devices of the machine and which of them the library opens.
#pragma once

#include <windows.h>

#include <cstdint>

namespace tolvane {

// An index or the wave mapper; the choice is not checked again when the device is opened.
UINT SelectedOutputDevice();
UINT SelectedInputDevice();

uint32_t GetPreferredOutputDeviceIndex(uint32_t* device);
uint32_t GetPreferredInputDeviceIndex(uint32_t* device);
uint32_t GetOutputDeviceDescription(uint32_t device, char* description);
uint32_t GetInputDeviceDescription(uint32_t device, char* description);
uint32_t SelectOutputDevice(uint32_t device);
uint32_t SelectInputDevice(uint32_t device);

}  // namespace tolvane
