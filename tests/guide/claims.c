/* Reads wave files on its own: what is claimed of the library is not measured with it. */
#include "claims.h"

#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct Sound {
    uint32_t bytes_per_second, bytes;
    int16_t* samples;
} Sound;

static void Fail(const char* path, const char* what, double value) {
    fprintf(stderr, "the guide is wrong about %s: %s %g\n", path, what, value);
    exit(1);
}

/* The system's own order of bytes is that of wave files wherever the library runs. */
static uint32_t Number(const uint8_t* bytes) {
    uint32_t number;
    memcpy(&number, bytes, sizeof number);
    return number;
}

static Sound Read(const char* path) {
    Sound sound = {0, 0, NULL};
    uint8_t head[12], format[16];
    FILE* file = fopen(path, "rb");
    if (!file || fread(head, 12, 1, file) != 1) Fail(path, "no file of", 12);
    while (!sound.samples && fread(head, 8, 1, file) == 1) {
        const uint32_t size = Number(head + 4);
        long skip = (long)(size + size % 2);
        if (memcmp(head, "fmt ", 4) == 0 && size >= 16) {
            if (fread(format, 16, 1, file) != 1) Fail(path, "a format that ends before", 16);
            sound.bytes_per_second = Number(format + 8);
            skip -= 16;
        } else if (memcmp(head, "data", 4) == 0) {
            sound.samples = malloc(size + 1);
            if (!sound.samples) Fail(path, "no memory for", size);
            sound.bytes = (uint32_t)fread(sound.samples, 1, size, file);
            if (sound.bytes != size) Fail(path, "bytes of sound, not as it says,", sound.bytes);
        }
        if (!sound.samples) fseek(file, skip, SEEK_CUR);
    }
    fclose(file);
    if (!sound.samples || !sound.bytes_per_second) Fail(path, "no sound at", sound.bytes_per_second);
    return sound;
}

void ClaimLength(const char* path, double least_ms, double most_ms) {
    const Sound sound = Read(path);
    const double length = sound.bytes * 1000.0 / sound.bytes_per_second;
    free(sound.samples);
    if (length < least_ms || length > most_ms) Fail(path, "milliseconds", length);
}

void ClaimPeak(const char* path, double percent) {
    const Sound sound = Read(path);
    int highest = 0;
    for (uint32_t i = 0; i < sound.bytes / 2; ++i)
        if (abs(sound.samples[i]) > highest) highest = abs(sound.samples[i]);
    free(sound.samples);
    if (fabs(highest / 327.68 - percent) > 0.5) Fail(path, "percent", highest / 327.68);
}
