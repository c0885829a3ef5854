// What a result code of the library means, in a sentence for a person, and how the program reports a failure.
#ifndef TOLVANE_HOST_RESULT_TEXT_H
#define TOLVANE_HOST_RESULT_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace tolvane::host {

// Every code of TolvaneResult; an unknown one yields a sentence that says so.
std::string_view ResultSentence(uint32_t code);

// Prints on stderr what failed, on which file or device, why, and what to do next. Returns kExitFailed.
int ReportFailure(std::string_view what, std::string_view on, std::string_view why, std::string_view advice);

// Prints why a file could not be read or played. Where the code covers several causes, the file itself is
// asked.
// An `advice` takes the place of the usual one.
int ReportFileFailure(std::string_view what, const std::string& path, uint32_t code,
                      std::string_view advice = "");

}  // namespace tolvane::host

#endif
