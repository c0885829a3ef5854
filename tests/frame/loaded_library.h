// The library as a host that loads it by name has it: the few exports that the loading tests call.
#pragma once

#include <windows.h>

#include <cstdint>
#include <stdexcept>
#include <string>

#include "tolvane.h"

namespace tolvane::test {

class LoadedLibrary {
  public:
    explicit LoadedLibrary(const std::string& path) : module_(LoadLibraryA(path.c_str())) {
        if (!module_) throw std::runtime_error("cannot load " + path);
    }
    ~LoadedLibrary() {
        if (module_) FreeLibrary(module_);
    }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    void KeepForEver() { module_ = nullptr; }

  private:
    // Becomes whatever type it is to be.
    struct Export {
        uintptr_t address;
        template <class Function>
        operator Function*() const {
            return reinterpret_cast<Function*>(address);
        }
    };
    Export Find(const char* name) const {
        const auto address = module_ ? GetProcAddress(module_, name) : nullptr;
        if (module_ && !address) throw std::runtime_error(std::string("not exported: ") + name);
        return {reinterpret_cast<uintptr_t>(address)};
    }

    HMODULE module_;

  public:
    decltype(&SetCallbackWindow) set_callback_window = Find("SetCallbackWindow");
    decltype(&GetNumberOfCodec) number_of_codecs = Find("GetNumberOfCodec");
    decltype(&GetCodecFormatTagDescription) format_tag = Find("GetCodecFormatTagDescription");
    decltype(&GetNumberOfOutputDevices) number_of_outputs = Find("GetNumberOfOutputDevices");
    decltype(&AudioPlayWave) play = Find("AudioPlayWave");
    decltype(&AudioGetPosition) position = Find("AudioGetPosition");
    decltype(&AudioStop) stop = Find("AudioStop");
    decltype(&AudioStartRecord) record = Find("AudioStartRecord");
    decltype(&LoadEffectFile) load_effect = Find("LoadEffectFile");
    decltype(&SetEffectsParameters) set_effect_parameters = Find("SetEffectsParameters");
    decltype(&SetEffectState) set_effect_state = Find("SetEffectState");
    decltype(&AudioMixEffectWithRecord) mix_effect = Find("AudioMixEffectWithRecord");
    decltype(&AudioConvert) convert = Find("AudioConvert");
    decltype(&AudioConvertCloseHandle) close_conversion = Find("AudioConvertCloseHandle");
    decltype(&ACMBeginConvertPCMEx) begin_pcm = Find("ACMBeginConvertPCMEx");
    decltype(&AbortACMConversion) abort_pcm = Find("AbortACMConversion");
    decltype(&AudioChangeFormat) change_format = Find("AudioChangeFormat");
    decltype(&AudioEditCloseHandle) close_edit = Find("AudioEditCloseHandle");
};

}  // namespace tolvane::test
