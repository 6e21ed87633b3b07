#!/usr/bin/env python3
"""Holds the sources to the project's layers and to the length of a file.

include <- kernel <- core <- families. A family may include the headers of core, kernel and include, its own, and the
internal header (<family>/<family>.h) of a family named before it. Headers of the system are free to all, as are tests,
benchmarks and examples. No file of src/ or tests/ has more than 500 lines.

check-layering.py [ROOT] checks a tree; check-layering.py --self-test checks that every rule fires.
"""

import pathlib
import re
import sys
import tempfile

FAMILIES = ["arith", "move", "hist", "alpha", "twist", "blur", "conv", "morph", "mirror", "reduce", "dib", "resample"]
SUFFIXES = {".h", ".c", ".cpp"}
MAX_LINES = 500
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def why_not(folder, target):
    """Returns why a file of src/<folder> may not include target (a path in src/), or None where it may."""
    other = target.split("/")[0]
    if folder == "kernel":
        return None if other == "kernel" else "the toolbox includes nothing but its own headers"
    if folder == "core":
        return None if other in ("core", "kernel") else "core includes no family"
    if other in ("core", "kernel", folder):
        return None
    if other not in FAMILIES:
        return f"{other} is no folder of the library"
    if FAMILIES.index(other) > FAMILIES.index(folder):
        return f"{other} comes after {folder}"
    if target != f"{other}/{other}.h":
        return f"of {other}, other families see {other}/{other}.h alone"
    return None


def check_includes(root, path, lines):
    src = root / "src"
    folder = path.relative_to(src).parts[0]
    if folder not in ["kernel", "core"] + FAMILIES:
        yield 1, f"{folder} is no folder of the library"
        return
    for number, line in enumerate(lines, 1):
        match = INCLUDE.match(line)
        if not match:
            continue
        target = match.group(2)
        if target == "tov.h":
            if folder == "kernel":
                yield number, "the toolbox knows no image headers"
            continue
        resolved = next((base / target for base in (path.parent, src) if (base / target).is_file()), None)
        if resolved is None:
            if match.group(1) == '"':
                yield number, f"{target} is not found in src/"
            continue
        resolved = resolved.resolve()
        if src.resolve() not in resolved.parents:
            yield number, f"{target} lies outside src/"
            continue
        reason = why_not(folder, resolved.relative_to(src.resolve()).as_posix())
        if reason:
            yield number, f"may not include {target}: {reason}"


def check(root):
    """Returns the faults of the tree at root as "file:line: text" lines."""
    faults = []
    for top in ("src", "tests"):
        for path in sorted((root / top).rglob("*")):
            if path.suffix not in SUFFIXES or not path.is_file():
                continue
            lines = path.read_text(encoding="utf-8").splitlines()
            found = list(check_includes(root, path, lines)) if top == "src" else []
            if len(lines) > MAX_LINES:
                found.append((MAX_LINES + 1, f"{len(lines)} lines, more than {MAX_LINES}"))
            faults += [f"{path.relative_to(root)}:{number}: {text}" for number, text in found]
    return faults


def self_test():
    tree = {
        "src/kernel/rows.h": "#include <cstdint>\n",
        "src/kernel/bad.h": '#include "core/frame.h"\n#include <tov.h>\n',
        "src/core/frame.h": '#include "kernel/rows.h"\n#include <tov.h>\n',
        "src/core/bad.h": '\n#include "move/move.h"\n',
        "src/arith/arith.h": '#include "core/frame.h"\n',
        "src/arith/kernels.h": "#include <kernel/rows.h>\n",
        "src/arith/bad.cpp": '#include "move/move.h"\n#include "kernels.h"\n',
        "src/move/move.h": '#include "arith/arith.h"\n',
        "src/move/bad.cpp": '#  include "arith/kernels.h"\n#include <arith/../arith/kernels.h>\n#include "gone.h"\n',
        "src/other/bad.cpp": "\n",
        "tests/free.cpp": '#include "arith/kernels.h"\n' + "\n" * (MAX_LINES - 1),
        "tests/long.cpp": "\n" * (MAX_LINES + 1),
    }
    wanted = [
        "src/arith/bad.cpp:1", "src/core/bad.h:2", "src/kernel/bad.h:1", "src/kernel/bad.h:2", "src/move/bad.cpp:1",
        "src/move/bad.cpp:2", "src/move/bad.cpp:3", "src/other/bad.cpp:1", f"tests/long.cpp:{MAX_LINES + 1}",
    ]
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        for name, text in tree.items():
            (root / name).parent.mkdir(parents=True, exist_ok=True)
            (root / name).write_text(text, encoding="utf-8")
        found = [":".join(fault.split(":")[:2]) for fault in check(root)]
    if found != wanted:
        print(f"check-layering: self test: found {found}, wanted {wanted}")
        return 1
    return 0


def main():
    if sys.argv[1:] == ["--self-test"]:
        return self_test()
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parent.parent
    faults = check(root)
    print("\n".join(faults), end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
