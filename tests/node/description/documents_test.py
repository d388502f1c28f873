"""The documents of the node description and of the settings name the same keys, and
all that their readers know, section by section.

    documents_test.py SOURCE_FOLDER
"""

import json
import re
import sys
from pathlib import Path

# A table of settings, by the section that has them.
RECORDS = {"bridge": "Agent", "interface": "Port", "vlan": "Vlan", "port_vlan": "Line"}


def setting_keys(source):
    text = (source / "node/description/settings_records.h").read_text(encoding="utf-8")
    return {record: re.findall(r'\{\s*"(\w+)",\s*"', body)
            for record, body in re.findall(
                r"auto settings_of<(\w+)Settings> =(.*?)\n(?:\}\(\);|\n)", text, re.S)}


def read_keys(source):
    text = (source / "node/description/sections.cpp").read_text(encoding="utf-8")
    keys = {name: re.findall(r'^    \{"(\w+)",', body, re.M)
            for name, body in re.findall(r"> (\w+)_keys\[\] = \{\n(.*?)\n\};", text, re.S)}
    settings = setting_keys(source)
    for section, record in RECORDS.items():
        keys[section] += settings[record]
    keys["bridge"].remove("shelf")  # [node] has it
    return {name: sorted(of_section) for name, of_section in keys.items()}


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


def settings_page_keys(source):
    """The keys of settings, but those that say what a section is about."""
    text = (source / "docs/settings.md").read_text(encoding="utf-8")
    return [re.findall(r"`(\w+)`", row.split(";")[-1])
            for row in re.findall(r"^\| `\[+\w+\]+` \|(.*)\|$", text, re.M)]


def schema_keys(source):
    """What `show` and `show port` answer with, by the record of its settings."""
    shapes = json.loads((source / "packaging/pppoeiactl.schema.json").read_text())["$defs"]
    return {"Agent": shapes["settings"]["properties"]["settings"]["properties"],
            "Port": shapes["port"]["properties"]["port"]["properties"]}


def answer_keys(source, record):
    text = (source / "node/description/settings_records.h").read_text(encoding="utf-8")
    body = text.split(f"auto settings_of<{record}Settings> =")[1].split("}();")[0]
    return re.findall(r'\{\s*"\w+",\s*"[\w-]+",\s*"(\w+)"', body)


def main(source):
    known = read_keys(Path(source))
    page = page_keys(Path(source))
    manual = manual_keys(Path(source))
    wrong = [f"[{name}]: the page has {page.get(name)}, the manual {manual.get(name)}"
             for name in sorted(page.keys() | manual.keys()) if page.get(name) != manual.get(name)]
    wrong += [f"[{name}] {key}: in no document"
              for name, keys in known.items() for key in keys if key not in page.get(name, [])]
    wrong += [f"docs/settings.md has {said}, the table {there}" for said, there in
              zip(settings_page_keys(Path(source)), setting_keys(Path(source)).values(),
                  strict=True) if said != there]
    wrong += [f"the schema does not have {key}" for record, there in
              schema_keys(Path(source)).items()
              for key in answer_keys(Path(source), record) if key not in there]
    print("\n".join(wrong) or f"{sum(map(len, known.values()))} keys in step")
    return 1 if wrong or len(known) < 8 else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
