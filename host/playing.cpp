// What all playbacks of the program have in common.
#include "playing.h"

#include <tolvane.h>

namespace tolvane::host {

constexpr DueEnd::Milliseconds kFar{1000};

void DueEnd::Expect(Milliseconds left, bool paused) {
    left_ = left;
    if (!paused) Resume();
}

DueEnd::Milliseconds DueEnd::Left() const {
    return std::chrono::duration_cast<Milliseconds>(due_ - Clock::now());
}

bool DueEnd::IsFar(bool paused) const {
    return (paused ? left_ : Left()) > kFar;
}

void Playing::TogglePause() {
    paused_ ? AudioResume() : AudioPause();
    paused_ = !paused_;
    paused_ ? due_.Pause() : due_.Resume();
}

}  // namespace tolvane::host
