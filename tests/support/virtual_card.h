// Fixtures that put the virtual card behind the library and hold its clock in the test's hand.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform.h"
#include "support/host_window.h"
#include "support/temp_folder.h"
#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {

// The virtual card with one output; skips where cards cannot be chosen.
class VirtualCard : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;
};

// One file, played on the virtual card with a moved clock.
class Playing : public VirtualCard {
  protected:
    void SetUp() override;

    // Writes the file and remembers its sound: what is to be heard is told in frames of it.
    const std::string& Make(const Format& format, size_t frames);
    uint16_t Play(uint32_t start = 0, uint32_t end = 0, uint16_t unit = TOLVANE_SAMPLES, bool repeat = false,
                  uint32_t rate = 0);
    uint32_t Advance(uint32_t frames) { return PlatformVirtualAdvance(0, frames); }
    // Lets the playback run to its end; fails when it does not get there.
    void PlayOut();

    struct Span {
        size_t from, to;  // frames
    };
    // What was heard since the test began is exactly these spans of the file, one after the other.
    ::testing::AssertionResult Heard(const std::vector<Span>& spans) const;
    ::testing::AssertionResult HeardBytes(const Bytes& expected) const;
    Bytes PlayedBytes() const;
    PlatformVirtualState State() const;
    bool Closed() const { return State().open == 0; }

    TempFolder folder_;
    HostWindow window_;
    Format format_;
    Bytes sound_;
    std::string path_;
};

}  // namespace tolvane::test
