"""Each statement of the columns QSettings and KConfig of docs/store-guide.md must be one that the sources here compile.

usage: check_table.py GUIDE QSETTINGS_SOURCE KCONFIG_SOURCE
"""

import re
import sys


def main():
    guide, *sources = sys.argv[1:]
    with open(guide, encoding="utf-8") as file:
        table = re.search(r"^\| task \|.*?\n\n", file.read(), re.MULTILINE | re.DOTALL).group()
    rows = [line.split(" | ") for line in table.strip().splitlines()[2:]]
    missing = []
    compared = 0
    for column, source in enumerate(sources, 2):
        with open(source, encoding="utf-8") as file:
            compiled = " ".join(file.read().split())
        for row in rows:
            for code in re.findall(r"`([^`]+)`", row[column]):
                if not re.search(r"[;…]$", code) or code.startswith("qvariant_cast"):  # a name in a sentence
                    continue
                compared += 1
                if code.rstrip("…").strip() not in compiled:
                    missing.append(f"{source}: {code}")
    if missing or compared < 10:
        sys.exit("\n".join(missing) or f"only {compared} pieces of code were found")


main()
