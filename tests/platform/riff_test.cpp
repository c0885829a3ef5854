// RIFF files, written and read, compared with bytes computed here; and files that lie about their sizes.
#include <mmiscapi.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <unistd.h>

#include "tests/platform/workspace.h"

using namespace tolvane::testing;

namespace {

constexpr FOURCC kWave = mmioFOURCC('W', 'A', 'V', 'E');
constexpr FOURCC kData = mmioFOURCC('d', 'a', 't', 'a');

HMMIO Open(const std::string& name, DWORD flags, MMIOINFO* info = nullptr) {
    return mmioOpenA(const_cast<char*>(name.c_str()), info, flags);
}

std::string Number(uint32_t value) {
    return {static_cast<char>(value), static_cast<char>(value >> 8), static_cast<char>(value >> 16),
            static_cast<char>(value >> 24)};
}

std::string Chunk(const std::string& id, const std::string& content) {
    return id + Number(static_cast<uint32_t>(content.size())) + content +
           std::string(content.size() % 2, '\0');
}

std::string Wave(const std::string& chunks) {
    return Chunk("RIFF", "WAVE" + chunks);
}

// Finds a chunk in the file's first WAVE form; the code of the step that failed.
MMRESULT Find(const std::string& name, FOURCC id, MMCKINFO& chunk, LONG& position) {
    const HMMIO file = Open(name, MMIO_READ | MMIO_ALLOCBUF);
    MMCKINFO riff{};
    riff.fccType = kWave;
    MMRESULT result = mmioDescend(file, &riff, nullptr, MMIO_FINDRIFF);
    chunk = {};
    chunk.ckid = id;
    if (result == 0) result = mmioDescend(file, &chunk, &riff, MMIO_FINDCHUNK);
    position = mmioSeek(file, 0, SEEK_CUR);
    EXPECT_EQ(mmioClose(file, 0), 0u);
    return result;
}

std::string SomeBytes(size_t size) {
    std::string bytes(size, 0);
    std::mt19937 random(static_cast<unsigned>(size));
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

}  // namespace

TEST(Riff, LyingSizesEndTheSearchAtOnce) {
    Workspace space;
    const std::string name = space.Name("h.wav");
    const auto riff = [](uint32_t size, const std::string& rest) {
        return "RIFF" + Number(size) + "WAVE" + rest;
    };
    const std::string junk = "junk";
    MMCKINFO chunk;
    LONG position;
    for (const uint32_t lie :
         {0xFFFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFF8u, 0xFFFFFFF7u, 0x80000000u, 0x7FFFFFFFu, 0x7FFFFFF0u, 100u}) {
        Put(name, riff(0xFFFFFFFF, junk + Number(lie) + Chunk("data", "hidden")));
        EXPECT_EQ(Find(name, kData, chunk, position), MMRESULT{MMIOERR_CHUNKNOTFOUND}) << lie;
        Put(name, riff(lie, Chunk("junk", "1") + "data" + Number(lie) + "ab"));
        ASSERT_EQ(Find(name, kData, chunk, position), 0u) << lie;
        EXPECT_EQ(chunk.cksize, lie) << "the caller is told what the file claims";
        EXPECT_EQ(position, 30);
        const HMMIO file = Open(name, MMIO_READ);
        mmioSeek(file, position, SEEK_SET);
        char bytes[8];
        EXPECT_EQ(mmioRead(file, bytes, 8), 2);
        const MMRESULT left = mmioAscend(file, &chunk, 0);
        EXPECT_EQ(left, lie > 0x7FFFFF00 ? MMRESULT{MMIOERR_CANNOTSEEK} : 0u) << lie;
        EXPECT_GE(mmioSeek(file, 0, SEEK_CUR), 32) << "never backwards";
        EXPECT_EQ(mmioClose(file, 0), 0u);
    }
    Put(name, riff(4, Chunk("data", "after the form")));
    EXPECT_EQ(Find(name, kData, chunk, position), MMRESULT{MMIOERR_CHUNKNOTFOUND});
    const std::string whole =
        Chunk("JUNK", "before") +
        Wave(Chunk("odd ", "1") + Chunk("LIST", "INFO" + Chunk("data", "not this one")) + Chunk("data", "x"));
    for (size_t size = 0; size <= whole.size() - 2; ++size) {
        Put(name, whole.substr(0, size));
        EXPECT_EQ(Find(name, kData, chunk, position) == 0, size == whole.size() - 2) << size;
    }
    EXPECT_EQ(chunk.cksize, 1u) << "the chunk of the form itself";
    std::string empty_chunks;
    for (int i = 0; i < 50'000; ++i)
        empty_chunks += "junk" + Number(0);
    Put(name, Wave(empty_chunks + Chunk("data", "end")));
    EXPECT_EQ(Find(name, kData, chunk, position), 0u);
}

TEST(Mmio, AgreesWithAPlainModelOfAFile) {
    Workspace space;
    std::mt19937 random(7);
    for (const LONG buffer : {0, 1, 16, 100, 4096}) {
        const std::string name = space.Name("m");
        const HMMIO file = Open(name, MMIO_CREATE | MMIO_READWRITE);
        ASSERT_EQ(mmioSetBuffer(file, nullptr, buffer, 0), 0u);
        std::string model;
        size_t at = 0;
        for (int step = 0; step < 4000; ++step) {
            const size_t size = random() % (step % 10 ? 40 : 300);
            switch (random() % 5) {
                case 0: {
                    at = random() % (model.size() + 20);
                    ASSERT_EQ(mmioSeek(file, static_cast<LONG>(at), SEEK_SET), static_cast<LONG>(at));
                    break;
                }
                case 1:
                case 2: {
                    const std::string bytes = SomeBytes(size);
                    ASSERT_EQ(mmioWrite(file, bytes.data(), static_cast<LONG>(size)),
                              static_cast<LONG>(size));
                    if (size && model.size() < at + size) model.resize(at + size);
                    model.replace(at, size, bytes);
                    at += size;
                    break;
                }
                case 3: {
                    std::string bytes(size, 0);
                    const LONG got = mmioRead(file, bytes.data(), static_cast<LONG>(size));
                    const std::string expected = at < model.size() ? model.substr(at, size) : "";
                    ASSERT_EQ(got, static_cast<LONG>(expected.size()));
                    ASSERT_EQ(bytes.substr(0, expected.size()), expected);
                    at += expected.size();
                    break;
                }
                default:
                    if (step % 7 == 0) {
                        ASSERT_EQ(mmioFlush(file, 0), 0u);
                    }
                    if (step % 5 == 0) {
                        at = model.size();
                        ASSERT_EQ(mmioSeek(file, 0, SEEK_END), static_cast<LONG>(at));
                    }
            }
            if (at > 20'000) at = static_cast<size_t>(mmioSeek(file, 0, SEEK_SET));
        }
        ASSERT_EQ(mmioClose(file, 0), 0u);
        ASSERT_EQ(Contents(name), model) << "buffer of " << buffer;
    }
}

TEST(Mmio, OffsetsEndAtTwoGigabytes) {
    Workspace space;
    const std::string name = space.Name("big");
    const int fd = open(name.c_str(), O_CREAT | O_WRONLY, 0600);
    ASSERT_EQ(ftruncate(fd, 0x80000010), 0);  // holes take no room
    close(fd);
    const HMMIO file = Open(name, MMIO_READWRITE | MMIO_ALLOCBUF);
    EXPECT_EQ(mmioSeek(file, 0, SEEK_END), -1) << "the end lies beyond what a position can say";
    EXPECT_EQ(mmioSeek(file, 0x7FFFFFFB, SEEK_SET), 0x7FFFFFFB);
    EXPECT_EQ(mmioSeek(file, 5, SEEK_CUR), -1);
    EXPECT_EQ(mmioSeek(file, -1, SEEK_SET), -1);
    EXPECT_EQ(mmioSeek(file, 0, 3), -1);
    char bytes[16];
    EXPECT_EQ(mmioRead(file, bytes, 16), 4);
    EXPECT_EQ(mmioRead(file, bytes, 16), 0);
    EXPECT_EQ(mmioWrite(file, bytes, 1), -1);
    EXPECT_EQ(mmioSeek(file, -2, SEEK_CUR), 0x7FFFFFFD);
    EXPECT_EQ(mmioWrite(file, bytes, 3), -1);
    EXPECT_EQ(mmioWrite(file, bytes, -1), -1);
    EXPECT_EQ(mmioRead(file, bytes, -1), -1);
    EXPECT_EQ(mmioWrite(file, bytes, 2), 2);
    EXPECT_EQ(mmioClose(file, 0), 0u);
}

TEST(Mmio, OpeningSaysWhyNot) {
    Workspace space;
    const struct {
        std::string name;
        MMRESULT code;
    } cases[] = {{space.Name("none"), MMIOERR_FILENOTFOUND},
                 {space.Name("no/ne"), MMIOERR_PATHNOTFOUND},
                 {space.folder(), MMIOERR_ACCESSDENIED},
                 {std::string(300, 'x'), MMIOERR_CANNOTOPEN}};
    for (const auto& c : cases) {
        MMIOINFO info{};
        EXPECT_EQ(Open(c.name, MMIO_READ, &info), nullptr);
        EXPECT_EQ(info.wErrorRet, c.code) << c.name;
    }
}
