// Exports: sound devices.

#include <windows.h>
#include <mmsystem.h>

#include "devices/devices.h"
#include "tolvane.h"

uint32_t TOLVANE_CALL GetNumberOfOutputDevices(void) {
    return waveOutGetNumDevs();
}
uint32_t TOLVANE_CALL GetNumberOfInputDevices(void) {
    return waveInGetNumDevs();
}

uint32_t TOLVANE_CALL GetPreferredOutputDeviceIndex(uint32_t* device) {
    return tolvane::GetPreferredOutputDeviceIndex(device);
}

uint32_t TOLVANE_CALL GetPreferredInputDeviceIndex(uint32_t* device) {
    return tolvane::GetPreferredInputDeviceIndex(device);
}

uint32_t TOLVANE_CALL GetOutputDeviceDescription(uint32_t device, char* description) {
    return tolvane::GetOutputDeviceDescription(device, description);
}

uint32_t TOLVANE_CALL GetInputDeviceDescription(uint32_t device, char* description) {
    return tolvane::GetInputDeviceDescription(device, description);
}

uint32_t TOLVANE_CALL SelectOutputDevice(uint32_t device) {
    return tolvane::SelectOutputDevice(device);
}
uint32_t TOLVANE_CALL SelectInputDevice(uint32_t device) {
    return tolvane::SelectInputDevice(device);
}
