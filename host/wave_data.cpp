// Where the sound of a wave file lies in it, and what stands before it.
#include "wave_data.h"

#include <string_view>

namespace tolvane::host {
namespace {

void Put(std::vector<uint8_t>& bytes, std::string_view name, uint32_t size) {
    bytes.insert(bytes.end(), name.begin(), name.end());
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<uint8_t>(size >> shift));
}

}  // namespace

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

// What is missing up to `start` belongs to the format record, or is a chunk that nobody reads.
std::vector<uint8_t> WaveHead(const InputFileInfo& format, uint32_t data, uint32_t start) {
    constexpr uint32_t kChunkHead = 8;
    const uint32_t more = start - kWaveHeadBytes;
    const bool has_junk = more >= kChunkHead;
    std::vector<uint8_t> head;
    Put(head, "RIFF", start - kChunkHead + data);
    head.insert(head.end(), {'W', 'A', 'V', 'E'});
    Put(head, "fmt ", static_cast<uint32_t>(sizeof format) + (has_junk ? 0 : more));
    const auto* record = reinterpret_cast<const uint8_t*>(&format);
    head.insert(head.end(), record, record + sizeof format);
    if (has_junk) Put(head, "JUNK", more - kChunkHead);
    head.resize(start - kChunkHead);
    Put(head, "data", data);
    return head;
}

}  // namespace tolvane::host
