/* Takes the silence off both ends of a wave file, as a job whose progress is shown, and says how long the file is then.
 *
 *     trim-example FILE TRIMMED
 */
#include <windows.h>
#include <tolvane.h>

#include <stdio.h>

enum { QUIET = 100 /* hundredths of a percent of full scale */ };

static unsigned Trim(const char* file, const char* trimmed, uint32_t length) {
    EditJob* job = NULL;
    unsigned result = AudioEditTrimSilence(file, 0, length, TOLVANE_SAMPLES, &job, 0, QUIET, trimmed);
    if (result != TOLVANE_OK || !job) return result != TOLVANE_OK ? result : TOLVANE_NO_MEMORY;
    while (!AudioEditProcessIsOver(job)) {
        fprintf(stderr, "\r%u %%", (unsigned)AudioEditGetProcessProgress(job));
        Sleep(20);
    }
    fprintf(stderr, "\r100 %%\n");
    result = AudioEditGetReasonForProcessExit(job);
    AudioEditCloseHandle(&job);
    return result;
}

int main(int argc, char** argv) {
    if (argc != 3) return fprintf(stderr, "usage: trim-example FILE TRIMMED\n"), 1;

    AudioFileInfo before, after;
    unsigned result = AudioGetFileInfo(&before, argv[1], TOLVANE_SAMPLES, 1);
    AudioEditSetUndoRedo(0); /* nobody will ask for it */
    if (result == TOLVANE_OK) result = Trim(argv[1], argv[2], before.length);
    if (result == TOLVANE_OK) result = AudioGetFileInfo(&after, argv[2], TOLVANE_SAMPLES, 1);
    if (result != TOLVANE_OK) return fprintf(stderr, "%s: result code %u\n", argv[1], result), 2;
    printf("%u of %u samples kept\n", (unsigned)after.length, (unsigned)before.length);
    return 0;
}
