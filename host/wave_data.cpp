// Where the sound of a wave file lies in it.
#include "wave_data.h"

namespace tolvane::host {

MmioFile OpenSound(std::string path, MMCKINFO& data) {
    MmioFile file(mmioOpenA(path.data(), nullptr, MMIO_READ));
    MMCKINFO riff = {};
    riff.fccType = mmioFOURCC('W', 'A', 'V', 'E');
    data.ckid = mmioFOURCC('d', 'a', 't', 'a');
    const bool found = file && mmioDescend(file.get(), &riff, nullptr, MMIO_FINDRIFF) == 0 &&
                       mmioDescend(file.get(), &data, &riff, MMIO_FINDCHUNK) == 0;
    return found ? std::move(file) : nullptr;
}

uint32_t DataStart(const std::string& path) {
    MMCKINFO data = {};
    return OpenSound(path, data) ? data.dwDataOffset : 0;
}

}  // namespace tolvane::host
