// Under the fuzzer a failed expectation aborts the process, which is how it learns of a finding.
#include <cstdlib>

#include <gtest/gtest.h>

namespace {

class Abort : public testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult& result) override {
        if (result.failed()) std::abort();
    }
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    testing::UnitTest::GetInstance()->listeners().Append(new Abort);
    return 0;
}
