/* The smallest host: plays a wave file, compressed or not, and waits until the library tells that it has ended.
 *
 *     play-example FILE
 */
#include <windows.h>
#include <tolvane.h>

#include <stdio.h>

int main(int argc, char** argv) {
    if (argc != 2) return fprintf(stderr, "usage: play-example FILE\n"), 1;

    /* A window that is never seen; the end of the playback is posted to it. */
    HWND window = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL, NULL, NULL);
    SetCallbackWindow(window);

    unsigned result = AudioPlayWave(argv[1], 0, TOLVANE_MILLISECONDS, 0, 1, 0);
    if (result != TOLVANE_OK) return fprintf(stderr, "%s: result code %u\n", argv[1], result), 2;

    MSG message;
    while (GetMessageA(&message, NULL, 0, 0) > 0 && message.message != TOLVANE_PLAYBACK_ENDED)
        DispatchMessageA(&message);
    return 0;
}
