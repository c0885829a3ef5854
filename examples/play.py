#!/usr/bin/env python3
"""The smallest host in Python: plays a wave file, compressed or not, and waits until the library tells that it has ended.

    play.py FILE [FOLDER]      FOLDER holds the libraries; without it the system finds them where they are installed
                               (on Windows: in the folder bin beside that of this file)
"""
import ctypes
import ctypes.util
import os
import sys
from ctypes import wintypes
from pathlib import Path

PLAYBACK_ENDED = 1125
ONLY_MESSAGES = ctypes.c_void_p(-3)  # the parent of a window that is never seen
UNPACKED = Path(__file__).resolve().parent.parent / "bin"


def load(folder):
    """The library, and the services of the system that it and its hosts use."""
    if os.name == "nt":
        return ctypes.WinDLL(str(Path(folder or UNPACKED) / "Tolvane.dll")), ctypes.windll.user32
    files = [f"lib{name}.so" if folder else ctypes.util.find_library(name) or f"lib{name}.so"
             for name in ("tolvane", "tolvane_platform")]
    return [ctypes.CDLL(str(Path(folder or "") / file)) for file in files]


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
