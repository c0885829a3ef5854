#!/usr/bin/env python3
"""The smallest host in Python: plays a wave file, compressed or not, and waits until the library tells that it has ended.

    play.py FILE [FOLDER]      FOLDER holds the built libraries; without it they are in build/native/lib (on
                               Windows: where the system finds Tolvane.dll)
"""
import ctypes
import os
import sys
from ctypes import wintypes
from pathlib import Path

PLAYBACK_ENDED = 1125
ONLY_MESSAGES = ctypes.c_void_p(-3)  # the parent of a window that is never seen
BUILT = Path(__file__).resolve().parent.parent / "build" / "native" / "lib"


def load(folder):
    if os.name == "nt":
        return ctypes.WinDLL(str(Path(folder or ".") / "Tolvane.dll")), ctypes.windll.user32
    libraries = Path(folder or BUILT)
    return ctypes.CDLL(str(libraries / "libtolvane.so")), ctypes.CDLL(str(libraries / "libtolvane_platform.so"))


def main(path, folder=None):
    tolvane, system = load(folder)
    system.CreateWindowExA.restype = ctypes.c_void_p
    window = system.CreateWindowExA(0, b"STATIC", b"", 0, 0, 0, 0, 0, ONLY_MESSAGES, None, None, None)
    tolvane.SetCallbackWindow(ctypes.c_void_p(window))
    result = tolvane.AudioPlayWave(os.fsencode(path), 0, 0, 0, 1, 0) & 0xFFFF
    if result:
        sys.exit(f"{path}: result code {result}")
    message = wintypes.MSG()
    while system.GetMessageA(ctypes.byref(message), None, 0, 0) > 0 and message.message != PLAYBACK_ENDED:
        system.DispatchMessageA(ctypes.byref(message))


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    main(*sys.argv[1:])
