// The two files of a conversion: what is checked before it begins, and what is said when it fails.
#ifndef TOLVANE_HOST_CONVERSION_FILES_H
#define TOLVANE_HOST_CONVERSION_FILES_H

#include <string>
#include <string_view>

#include "commands.h"
#include "sound_format.h"
#include "work_file.h"

namespace tolvane::host {

// Each returns kExitDone, or a failure that has been reported.
int CheckSource(const ConversionFiles& files, SoundFormat& sound);
int CheckTarget(const ConversionFiles& files);
int CheckNewFile(const std::string& path, bool replace);

// Says why a conversion ended with `code` and on which of its files, with another `advice` than usual where one is
// given; of one that the user cancelled, that there is nothing of it.
int ReportConversionEnd(const ConversionFiles& files, uint16_t code, std::string_view advice = "");

// Puts the finished file in its place and says what it is.
int FinishConversion(const ConversionFiles& files, WorkFile& finished, std::string_view format_name);

}  // namespace tolvane::host

#endif
