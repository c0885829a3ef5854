// The parameters of an effect plug-in, as they are written on the command line.
#include "effect_parameters.h"

#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>

namespace tolvane::host {
namespace {

using Bytes = std::vector<uint8_t>;

template <class Number>
bool Append(std::string_view text, Bytes& bytes) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) return false;
    const size_t before = bytes.size();
    bytes.resize(before + sizeof number);
    memcpy(bytes.data() + before, &number, sizeof number);
    return true;
}

bool AppendNumber(std::string_view text, Bytes& bytes) {
    if (text.find('.') != text.npos) return Append<float>(text, bytes);
    return text.starts_with('-') ? Append<int32_t>(text, bytes) : Append<uint32_t>(text, bytes);
}

bool ReadNumbers(std::string_view text, Bytes& bytes) {
    for (;;) {
        const size_t comma = text.find(',');
        if (!AppendNumber(text.substr(0, comma), bytes)) return false;
        if (comma == text.npos) return true;
        text.remove_prefix(comma + 1);
    }
}

bool ReadFile(const std::string& path, Bytes& bytes) {
    std::ifstream file(path, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(file), {});
    return file && !bytes.empty();
}

}  // namespace

std::optional<Effect> ParseEffect(std::string_view text) {
    const size_t equals = text.find('=');
    Effect effect{std::string(text.substr(0, equals)), {}};
    if (effect.library.empty()) return std::nullopt;
    if (equals == text.npos) {
        effect.parameters.resize(sizeof(uint32_t));
        return effect;
    }
    const std::string_view rest = text.substr(equals + 1);
    const bool read = rest.starts_with('@') ? ReadFile(std::string(rest.substr(1)), effect.parameters)
                                            : ReadNumbers(rest, effect.parameters);
    return read ? std::optional(effect) : std::nullopt;
}

}  // namespace tolvane::host
