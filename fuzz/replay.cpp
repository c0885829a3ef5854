// Runs a target over the files of the folders named, once each: what the fuzzer found or kept stays a test.
#include <algorithm>
#include <cstdio>
#include <filesystem>

#include <gtest/gtest.h>

#include "support/temp_folder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

using tolvane::test::Bytes;

int Replay(const std::string& folder) {
    int count = 0;
    for (const std::string& name : tolvane::test::NamesIn(folder)) {
        SCOPED_TRACE(name);
        std::printf("%s\n", name.c_str());  // the last one told is the one of a crash
        std::fflush(stdout);
        const Bytes content = tolvane::test::ReadAll((std::filesystem::path(folder) / name).string());
        LLVMFuzzerTestOneInput(content.data(), content.size());
        ++count;
    }
    return count;
}

}  // namespace

int main(int argc, char** argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i)
        count += Replay(argv[i]);
    const bool failed = testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed();
    std::printf("%d inputs%s\n", count, failed ? ", not all of them in order" : "");
    return failed || count == 0;
}
