"""The node description's two documents name the same keys, and all that its reader
knows, section by section.

    documents_test.py SOURCE_FOLDER
"""

import re
import sys
from pathlib import Path


def read_keys(source):
    text = (source / "node/description/sections.cpp").read_text(encoding="utf-8")
    return {name: sorted(re.findall(r'^    \{"(\w+)",', body, re.M))
            for name, body in re.findall(r"> (\w+)_keys\[\] = \{\n(.*?)\n\};", text, re.S)}


def sections(text, heading):
    parts = re.split(heading, text, flags=re.M)
    return dict(zip((name.lower() for name in parts[1::2]), parts[2::2]))


def page_keys(source):
    text = (source / "docs/node-description.md").read_text(encoding="utf-8")
    return {name: sorted(key for row in re.findall(r"^\| (`\w+`(?:, `\w+`)*) \|", body, re.M)
                         for key in re.findall(r"\w+", row))
            for name, body in sections(text, r"^## \[+(\w+)\]+.*$").items()}


def manual_keys(source):
    text = (source / "docs/man/pppoeia-node.5").read_text(encoding="utf-8").replace("\\_", "_")
    return {name: sorted(key for row in re.findall(r"^\.TP\n(\\fB.*)$", body, re.M)
                         for key in re.findall(r"\\fB(\w+)\\fR", row))
            for name, body in sections(text, r"^\.SH \[+(\w+)\]+.*$").items()}


def main(source):
    known = read_keys(Path(source))
    page = page_keys(Path(source))
    manual = manual_keys(Path(source))
    wrong = [f"[{name}]: the page has {page.get(name)}, the manual {manual.get(name)}"
             for name in sorted(page.keys() | manual.keys()) if page.get(name) != manual.get(name)]
    wrong += [f"[{name}] {key}: in no document"
              for name, keys in known.items() for key in keys if key not in page.get(name, [])]
    print("\n".join(wrong) or f"{sum(map(len, known.values()))} keys in step")
    return 1 if wrong or len(known) < 7 else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
