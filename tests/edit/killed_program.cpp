// Edits a file until it is killed: killed_program FOLDER TEMP SEED. Before each step one byte more is in FOLDER/steps.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "edit/killed_steps.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

class Program {
  public:
    Program(const std::string& folder, uint32_t seed) : folder_(folder), steps_(seed) {
        steps_.FileFormat();
        steps_.FirstFrames();
    }
    // Only what does not do as it should ends it, with a code of its own.
    int Run() {
        std::FILE* announced = std::fopen(At("steps").c_str(), "ab");
        if (!announced) return 90;
        std::setvbuf(announced, nullptr, _IONBF, 0);
        for (;;) {
            uint32_t bytes = 0;
            InputFileInfo format = {};
            if (GetInputFileInfo(file_.c_str(), &format) || GetDataChunkSize(file_.c_str(), &bytes))
                return 91;
            const EditStep step = steps_.Next(bytes / format.nBlockAlign);
            if (std::fwrite(".", 1, 1, announced) != 1) return 92;
            AudioEditSetUndoRedo(step.undo_on);
            const uint16_t result = Do(step);
            const bool nothing_there = step.kind >= EditStep::Kind::kUndo &&
                                       (result == TOLVANE_NOTHING_TO_UNDO || result == TOLVANE_UNDO_OFF);
            if (result != TOLVANE_OK && !nothing_there) return std::fprintf(stderr, "%d\n", result), 93;
        }
    }

  private:
    std::string At(const char* name) const { return folder_ + "/" + name; }

    uint16_t Do(const EditStep& step) const {
        return CallEdit(step, {file_.c_str(), EditSteps::TakesIntoFile(step) ? taken_.c_str() : nullptr,
                               step.elsewhere ? out_.c_str() : nullptr});
    }

    const std::string folder_;
    const std::string file_ = At("x.wav"), taken_ = At("taken.wav"), out_ = At("out.wav");
    EditSteps steps_;
};

}  // namespace
}  // namespace tolvane::test

int main(int count, char** arguments) {
    if (count != 4 || SetTempPath(arguments[2])) return 99;
    return tolvane::test::Program(arguments[1], static_cast<uint32_t>(std::atol(arguments[3]))).Run();
}
