"""What the two libraries offer: no name may go, none may come unnoticed.

    symbols.py LIBRARY LIST            compares; 1 when they differ
    symbols.py LIBRARY LIST --update   writes the list anew

Functions and data for everybody. Names in ia:: are for the programs of the same
release, and what a compiler makes of templates and types depends on it and on
the sanitizers: no promise.
"""

import subprocess
import sys

NO_PROMISE = ("_", "std::", "boost::", "ia::", "vtable for ", "typeinfo for ", "typeinfo name for ")


def offered(library):
    lines = subprocess.run(["nm", "--dynamic", "--demangle", "--defined-only", "--without-symbol-versions",
                            library], capture_output=True, text=True, check=True).stdout.splitlines()
    names = (line.split(" ", 2) for line in lines)
    return sorted({name for _, kind, name in names
                   if kind in "TDB" and not name.startswith(NO_PROMISE)})


def main(library, kept, *options):
    names = offered(library)
    if options == ("--update",):
        with open(kept, "w", encoding="utf-8") as file:
            file.writelines(name + "\n" for name in names)
        return 0
    with open(kept, encoding="utf-8") as file:
        known = file.read().splitlines()
    for name in sorted(set(known) - set(names)):
        print(f"gone: {name}")
    for name in sorted(set(names) - set(known)):
        print(f"new, not in {kept}: {name}")
    return 0 if known == names else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
