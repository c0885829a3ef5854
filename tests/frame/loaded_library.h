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
        Find(set_callback_window, "SetCallbackWindow");
        Find(number_of_codecs, "GetNumberOfCodec");
        Find(format_tag, "GetCodecFormatTagDescription");
        Find(number_of_outputs, "GetNumberOfOutputDevices");
        Find(play, "AudioPlayWave");
        Find(position, "AudioGetPosition");
        Find(stop, "AudioStop");
        Find(record, "AudioStartRecord");
        Find(load_effect, "LoadEffectFile");
        Find(set_effect_parameters, "SetEffectsParameters");
        Find(set_effect_state, "SetEffectState");
        Find(mix_effect, "AudioMixEffectWithRecord");
        Find(convert, "AudioConvert");
        Find(close_conversion, "AudioConvertCloseHandle");
        Find(begin_pcm, "ACMBeginConvertPCMEx");
        Find(abort_pcm, "AbortACMConversion");
        Find(change_format, "AudioChangeFormat");
        Find(close_edit, "AudioEditCloseHandle");
    }
    ~LoadedLibrary() {
        if (module_) FreeLibrary(module_);
    }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    void KeepForEver() { module_ = nullptr; }

    decltype(&SetCallbackWindow) set_callback_window;
    decltype(&GetNumberOfCodec) number_of_codecs;
    decltype(&GetCodecFormatTagDescription) format_tag;
    decltype(&GetNumberOfOutputDevices) number_of_outputs;
    decltype(&AudioPlayWave) play;
    decltype(&AudioGetPosition) position;
    decltype(&AudioStop) stop;
    decltype(&AudioStartRecord) record;
    decltype(&LoadEffectFile) load_effect;
    decltype(&SetEffectsParameters) set_effect_parameters;
    decltype(&SetEffectState) set_effect_state;
    decltype(&AudioMixEffectWithRecord) mix_effect;
    decltype(&AudioConvert) convert;
    decltype(&AudioConvertCloseHandle) close_conversion;
    decltype(&ACMBeginConvertPCMEx) begin_pcm;
    decltype(&AbortACMConversion) abort_pcm;
    decltype(&AudioChangeFormat) change_format;
    decltype(&AudioEditCloseHandle) close_edit;

  private:
    template <typename Function>
    void Find(Function& function, const char* name) {
        const auto address = GetProcAddress(module_, name);
        if (!address) throw std::runtime_error(std::string("not exported: ") + name);
        function = reinterpret_cast<Function>(reinterpret_cast<uintptr_t>(address));
    }

    HMODULE module_;
};

}  // namespace tolvane::test
