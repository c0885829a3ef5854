// A small picture in a few fixed colours, written as PNG.
#ifndef TOLVANE_HOST_PICTURE_H
#define TOLVANE_HOST_PICTURE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane::host {

enum class Ink : uint8_t { kPaper, kWave, kClipped, kLine, kText };

class Picture {
  public:
    Picture(uint32_t width, uint32_t height);

    uint32_t width() const { return width_; }
    uint32_t height() const { return height_; }

    // What lies outside is left out.
    void Dot(uint32_t x, uint32_t y, Ink ink);
    void Column(uint32_t x, uint32_t top, uint32_t bottom, Ink ink);  // both ends belong to it
    void Row(uint32_t y, Ink ink);
    void Text(uint32_t x, uint32_t y, std::string_view digits, Ink ink);  // digits, colons and points

    std::string Png() const;

    static constexpr uint32_t kTextHeight = 10, kTextAdvance = 8;

  private:
    const uint32_t width_, height_;
    std::vector<Ink> dots_;
};

}  // namespace tolvane::host

#endif
