#!/usr/bin/env python3
"""Joins the sources of a folder, so that a tool reads the system's headers once a folder and not once a file.

Usage: lint-units.py COMPILE_COMMANDS FOLDER < sources

For the sources on standard input, writes units into the folder, each of which includes some sources, and a
compile_commands.json with one entry for each unit. Prints the units. A finding names the source and its line.
"""

import json
import os
import re
import shlex
import sys

# More would take longer than what else runs beside it.
LARGEST = 20

# These define something that another source of their folder defines, such as main(), or rename what others call.
ALONE = re.compile(
    r"""tests/client/no_glfw\.cpp
    |tests/driver/records_program\.cpp
    |texprobectl/inspect/child/inspected_test\.cpp
    |tests/platform/(first_use|preference_lists|preferences)_test\.cpp
    |tests/unit/(dispatch_portable_test|dispatch_test|scripted_random)\.cpp
    """,
    re.VERBOSE,
)

# GCC's own options, its precompiled headers, and what each unit has of its own.
UNWANTED = re.compile(r"-fno-gnu-unique|-Winvalid-pch|-include|.*cmake_pch\.hxx|-o|-c|.*\.o")


def options(command):
    """The options of a command, in their order, without the source."""
    words = shlex.split(command)[1:]
    return [word for word in words if not UNWANTED.fullmatch(word) and not word.endswith((".cpp", ".cxx"))]


def sources_of(compiled):
    """The sources that CMake has joined into a compiled one, or that one."""
    if not compiled.endswith("_cxx.cxx"):
        return [compiled]
    with open(compiled, encoding="utf-8") as file:
        return re.findall(r'#include "(.*)"', file.read())


def command_of(source, known):
    """How the source is compiled. What only another system compiles is read like its neighbours."""
    folder = source
    while source not in known and folder:
        folder = os.path.dirname(folder)
        source = next((other for other in known if other.startswith(folder + "/")), source)
    return known[source]


def main():
    commands, folder = sys.argv[1:]
    wanted = sys.stdin.read().split()
    known = {}
    for entry in json.load(open(commands, encoding="utf-8")):
        for source in sources_of(os.path.join(entry["directory"], entry["file"])):
            known.setdefault(os.path.relpath(source), entry["command"])

    groups = {}
    for source in wanted:
        name = source if ALONE.fullmatch(source) else os.path.dirname(source)
        groups.setdefault(name, []).append(source)

    os.makedirs(folder, exist_ok=True)
    entries = []
    for name, sources in groups.items():
        parts = -(-len(sources) // LARGEST)
        for part in range(parts):
            joined = sources[part::parts]
            unit = os.path.join(folder, name.replace("/", "_").replace(".cpp", "") + f"_{part}.cpp")
            with open(unit, "w", encoding="utf-8") as file:
                for source in joined:
                    file.write(f'#include "{os.path.abspath(source)}"  // NOLINT(bugprone-suspicious-include)\n')
            merged = {}
            for source in joined:
                for option in options(command_of(source, known)):
                    # The first value of a definition is as good as another's.
                    merged.setdefault(option.split("=")[0] if option.startswith("-D") else option, option)
            entries.append({
                "directory": os.path.abspath(folder),
                "file": os.path.abspath(unit),
                "command": shlex.join(["c++", *merged.values(), "-c", os.path.abspath(unit)]),
            })
            print(unit)
    with open(os.path.join(folder, "compile_commands.json"), "w", encoding="utf-8") as file:
        json.dump(entries, file, indent=1)


main()
