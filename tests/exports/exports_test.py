#!/usr/bin/env python3
"""Compares the one list of exported names with what the built library really exports, and with the public header.

    exports_test.py LIST HEADER LIBRARY TOOL       TOOL: nm for a shared object, objdump for a DLL
"""
import re
import subprocess
import sys
from pathlib import Path

# A DLL may lean on these alone: everything else is linked into it.
SYSTEM_LIBRARIES = {"kernel32.dll", "msvcrt.dll", "user32.dll", "winmm.dll", "msacm32.dll"}


def listed(path):
    return set(re.findall(r"^\s*(\w+)=\1@\d+\s*$", path.read_text(), re.M))


def declared(path):
    return set(re.findall(r"\bTOLVANE_CALL\s+(\w+)\s*\(", path.read_text()))


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def exported_by_object(nm, library):
    return {line.split()[-1] for line in output(nm, "-D", "--defined-only", library).splitlines()}


def exported_by_dll(dump):
    table = dump.partition("[Ordinal/Name Pointer] Table")[2].partition("\n\n")[0]
    return set(re.findall(r"^\s*\[ *\d+\] (?:\+base\[ *\d+\] +[0-9a-f]+ )?(\S+)$", table, re.M))


def imported_by_dll(dump):
    return {name.lower() for name in re.findall(r"DLL Name: (\S+)", dump)}


def differences(what, expected, found):
    return ([f"{what}: {name} is missing" for name in sorted(expected - found)] +
            [f"{what}: {name} is one too many" for name in sorted(found - expected)])


def main(list_path, header_path, library, tool):
    names = listed(Path(list_path))
    complaints = differences("the header", names, declared(Path(header_path)))
    if library.endswith(".dll"):
        dump = output(tool, "-p", library)
        complaints += differences(library, names, exported_by_dll(dump))
        complaints += [f"{library}: leans on {name}" for name in sorted(imported_by_dll(dump) - SYSTEM_LIBRARIES)]
    else:
        complaints += differences(library, names, exported_by_object(tool, library))
    if not names:
        complaints.append(f"{list_path}: no names found")
    print(*complaints or [f"{len(names)} names, as listed"], sep="\n")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
