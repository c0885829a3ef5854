/* A host in plain C: links the library, calls it, and is answered as the header says. */
#include <stdio.h>
#include <string.h>

#include "tolvane.h"

static int failures;

static void Expect(int holds, const char* what) {
    if (holds) return;
    printf("not so: %s\n", what);
    ++failures;
}

static void WriteWave(const char* path) { /* 8 kHz, 8 bits, mono, 4 samples */
    static const char kWave[] =
        "RIFF\x28\0\0\0WAVEfmt "
        "\x10\0\0\0\1\0\1\0\x40\x1F\0\0\x40\x1F\0\0\1\0\x08\0data\4\0\0\0\x80\xFF\x80\0";
    FILE* file = fopen(path, "wb");
    Expect(file && fwrite(kWave, 1, sizeof kWave - 1, file) == sizeof kWave - 1, "the wave file is written");
    if (file) fclose(file);
}

static void InspectFile(const char* path) {
    InputFileInfo format;
    AudioFileInfo info;
    uint32_t size = 0;
    memset(&info, 0, sizeof info);
    Expect(GetInputFileInfo(path, &format) == TOLVANE_OK && format.nSamplesPerSec == 8000 &&
               format.nBlockAlign == 1,
           "the format is read");
    Expect(GetDataChunkSize(path, &size) == TOLVANE_OK && size == 4, "the data has 4 bytes");
    Expect(AudioGetFileInfo(&info, path, TOLVANE_SAMPLES, 1) == TOLVANE_OK && info.length == 4,
           "4 samples long");
}

static void MeasureBlock(void) {
    const uint8_t samples[] = {128, 255, 128, 64};
    const InputFileInfo format = {1, 1, 8000, 8000, 1, 8};
    uint32_t left = 0, right = 0;
    Expect(AudioGetLevelInBuffer(&format, samples, sizeof samples, &left, &right) == TOLVANE_OK,
           "levels are measured");
    Expect(left >= 99 && left <= 100 && right == left, "a mono block at full scale");
}

int main(void) {
    const char* path = "c_host.wav";
    CodecDescription codec;
    WriteWave(path);
    InspectFile(path);
    remove(path);
    MeasureBlock();
    Expect(GetInputFileInfo(path, NULL) == TOLVANE_CANNOT_OPEN, "a missing file is refused");
    Expect(GetNumberOfCodec() > 0 && GetCodecDescription(&codec, 0) == TOLVANE_OK && codec.longName[0],
           "a codec");
    Expect(SelectOutputDevice(GetNumberOfOutputDevices()) == TOLVANE_OUTPUT_NOT_SELECTED,
           "one device too many");
    Expect(SelectOutputDevice(TOLVANE_WAVE_MAPPER) == TOLVANE_OK, "the mapper can be selected");
    Expect(AudioGetVolume() <= 100 && SetTheSource(65535) != TOLVANE_OK, "no mixer has 65,536 sources");
    SetCallbackWindow(NULL);
    Expect(AudioStop() == TOLVANE_OK && AudioGetPosition(TOLVANE_BYTES) == 0, "nothing plays");
    return failures != 0;
}
