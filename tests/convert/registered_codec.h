// Codec drivers that a test brings along, there as long as their owner lives.
#pragma once

#include <platform_codecs.h>

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

class RegisteredCodec {
  public:
    explicit RegisteredCodec(const PlatformCodec& codec) : id_(PlatformAddCodec(&codec, 0)) {}
    RegisteredCodec(RegisteredCodec&& other) noexcept : id_(other.id_) { other.id_ = 0; }
    RegisteredCodec& operator=(RegisteredCodec&&) = delete;
    ~RegisteredCodec() {
        if (id_) PlatformRemoveCodec(id_);
    }
    uint32_t Id() const { return id_; }

  private:
    uint32_t id_;
};

// No drivers but those of the test, all of which are closed again.
class OwnCodecs : public testing::Test {
  protected:
    void SetUp() override {
        if (!PlatformShowBuiltInCodecs(0))
            GTEST_SKIP() << "the system's codec manager takes no drivers from a test";
    }
    void TearDown() override {
        EXPECT_EQ(PlatformOpenCodecs() + PlatformOpenStreams(), 0u);
        PlatformShowBuiltInCodecs(1);
    }
};

inline PlatformCodec CodecNamed(const char* long_name, uint32_t support,
                                const std::vector<PlatformCodecTag>& tags) {
    PlatformCodec codec{};
    codec.short_name = "Test";
    codec.long_name = long_name;
    codec.support = support;
    codec.tags = tags.data();
    codec.tag_count = static_cast<uint32_t>(tags.size());
    return codec;
}
