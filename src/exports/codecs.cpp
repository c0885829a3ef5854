// The exports around codecs.
#include "convert/catalogue.h"

uint16_t TOLVANE_CALL GetNumberOfCodec(void) {
    return tolvane::GetNumberOfCodec();
}

uint16_t TOLVANE_CALL GetCodecDescription(CodecDescription* out, uint16_t codecIndex) {
    return tolvane::GetCodecDescription(out, codecIndex);
}

uint16_t TOLVANE_CALL GetCodecFormatTagDescription(FormatTagDescription* out, uint16_t codecIndex,
                                                   uint16_t formatTagIndex) {
    return tolvane::GetCodecFormatTagDescription(out, codecIndex, formatTagIndex);
}
