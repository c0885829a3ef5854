// The codecs of the system, as the library lists them.
#ifndef TOLVANE_HOST_CATALOGUE_H
#define TOLVANE_HOST_CATALOGUE_H

#include <tolvane.h>

#include <string>
#include <vector>

namespace tolvane::host {

struct Codec {
    CodecDescription description;
    std::vector<FormatTagDescription> tags;
};

std::vector<Codec> ReadCatalogue();

// "IMA ADPCM, by IMA ADPCM CODEC": the first codec that knows the tag, or that none does.
std::string CodecText(uint16_t format_tag);

}  // namespace tolvane::host

#endif
