// A small picture in a few fixed colours. Its PNG stores the dots as they are, four bits each: that needs no library,
// and so few colours make it small enough.
#include "picture.h"

#include <algorithm>
#include <array>

namespace tolvane::host {
namespace {

// Red, green and blue, in the order of Ink.
constexpr std::string_view kPalette{"\xFF\xFF\xFF\x2B\x6C\xB0\xD0\x30\x30\xC8\xD0\xDA\x4A\x55\x68", 15};
constexpr size_t kLargestStored = 65535;

std::string BigEndian(uint32_t number) {
    return {static_cast<char>(number >> 24), static_cast<char>(number >> 16), static_cast<char>(number >> 8),
            static_cast<char>(number)};
}

uint32_t Crc(std::string_view bytes) {
    uint32_t crc = 0xFFFFFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<uint8_t>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
    }
    return ~crc;
}

uint32_t Adler(std::string_view bytes) {
    uint32_t sum = 1, sums = 0;
    for (const char byte : bytes) {
        sum = (sum + static_cast<uint8_t>(byte)) % 65521;
        sums = (sums + sum) % 65521;
    }
    return sums << 16 | sum;
}

std::string Chunk(const std::string& type, const std::string& body) {
    return BigEndian(static_cast<uint32_t>(body.size())) + type + body + BigEndian(Crc(type + body));
}

// A zlib stream of stored blocks.
std::string Store(std::string_view bytes) {
    std::string stream = "\x78\x01";
    for (size_t at = 0; at < bytes.size(); at += kLargestStored) {
        const std::string_view block = bytes.substr(at, kLargestStored);
        const auto size = static_cast<uint32_t>(block.size());
        stream += at + size == bytes.size() ? '\1' : '\0';
        for (const uint32_t number : {size, ~size})
            stream += {static_cast<char>(number), static_cast<char>(number >> 8)};
        stream += block;
    }
    return stream + BigEndian(Adler(bytes));
}

// Three dots wide, five high; the highest bit of each row is on the left.
constexpr std::string_view kGlyphs = "0123456789:.";
constexpr std::array<std::array<uint8_t, 5>, 12> kShapes{{{7, 5, 5, 5, 7},
                                                          {2, 6, 2, 2, 7},
                                                          {7, 1, 7, 4, 7},
                                                          {7, 1, 7, 1, 7},
                                                          {5, 5, 7, 1, 1},
                                                          {7, 4, 7, 1, 7},
                                                          {7, 4, 7, 5, 7},
                                                          {7, 1, 1, 2, 2},
                                                          {7, 5, 7, 5, 7},
                                                          {7, 5, 7, 1, 7},
                                                          {0, 2, 0, 2, 0},
                                                          {0, 0, 0, 0, 2}}};

}  // namespace

Picture::Picture(uint32_t width, uint32_t height)
    : width_(width), height_(height), dots_(size_t{width} * height, Ink::kPaper) {}

void Picture::Dot(uint32_t x, uint32_t y, Ink ink) {
    if (x < width_ && y < height_) dots_[size_t{y} * width_ + x] = ink;
}

void Picture::Column(uint32_t x, uint32_t top, uint32_t bottom, Ink ink) {
    for (uint32_t y = top; y <= bottom; ++y)
        Dot(x, y, ink);
}

void Picture::Row(uint32_t y, Ink ink) {
    for (uint32_t x = 0; x < width_; ++x)
        Dot(x, y, ink);
}

// Every dot of a shape is two by two.
void Picture::Text(uint32_t x, uint32_t y, std::string_view digits, Ink ink) {
    for (const char digit : digits) {
        const size_t glyph = kGlyphs.find(digit);
        for (uint32_t dot = 0; glyph != kGlyphs.npos && dot < 6 * kTextHeight; ++dot)
            if (kShapes[glyph][dot / 6 / 2] >> (2 - dot % 6 / 2) & 1) Dot(x + dot % 6, y + dot / 6, ink);
        x += kTextAdvance;
    }
}

std::string Picture::Png() const {
    std::string rows;
    for (uint32_t y = 0; y < height_; ++y) {
        rows += '\0';  // no filter
        for (uint32_t x = 0; x < width_; x += 2) {
            const Ink* pair = &dots_[size_t{y} * width_ + x];
            rows += static_cast<char>(static_cast<int>(pair[0]) << 4 |
                                      (x + 1 < width_ ? static_cast<int>(pair[1]) : 0));
        }
    }
    constexpr std::string_view kSignature = "\x89PNG\r\n\x1a\n", kFourBitsOfPalette{"\4\3\0\0\0", 5};
    return std::string(kSignature) +
           Chunk("IHDR", BigEndian(width_) + BigEndian(height_) + std::string(kFourBitsOfPalette)) +
           Chunk("PLTE", std::string(kPalette)) + Chunk("IDAT", Store(rows)) + Chunk("IEND", "");
}

}  // namespace tolvane::host
