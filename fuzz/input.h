// What a target makes of the bytes that it is given: numbers are taken off their end, so that what stands in front can
// be a file, and a corpus of files a good beginning. Where nothing is left, everything is 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tolvane::test {

class Input {
  public:
    Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    uint8_t Byte() { return size_ ? data_[--size_] : uint8_t{0}; }
    uint16_t Short() { return static_cast<uint16_t>(Byte() << 8 | Byte()); }
    uint32_t Long() { return uint32_t{Short()} << 16 | Short(); }
    // Below `limit` most of the time: a number of all 32 bits hardly ever means a place in a small file.
    uint32_t Near(uint32_t limit) {
        const uint8_t kind = Byte();
        return kind % 4 ? Short() % (limit + 16) : Long();
    }
    size_t Left() const { return size_; }
    std::vector<uint8_t> Rest() const { return {data_, data_ + size_}; }

  private:
    const uint8_t* data_;
    size_t size_;
};

}  // namespace tolvane::test
