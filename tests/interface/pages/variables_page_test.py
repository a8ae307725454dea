"""Every exported variable stands in the architecture page's table, and no other name does.

Arguments: the export list, storage.h, the page. Storage of a data element, named with its tag in
storage.h, stands there as a family.
"""

import re
import sys
from pathlib import Path


def main(export_list: str, storage_header: str, page: str) -> int:
    exported = re.findall(r"^variable (\w+)", Path(export_list).read_text(), re.MULTILINE)
    functions = re.findall(r"^(?:function|c\+\+)\s+(\w+)", Path(export_list).read_text(), re.MULTILINE)
    header = Path(storage_header).read_text()
    elements = header[: header.index("gl_Iss_ScriptLen;")]
    of_elements = set(re.findall(r"\b(gl_\w+)\[\d+\];", elements))
    table = Path(page).read_text().split("### Who writes and reads each variable")[1].split("\n## ")[0]
    rows = re.findall(r"^\| (.+?) \|", table, re.MULTILINE)
    named = set(re.findall(r"`(\w+)`", " ".join(rows)))
    text = " ".join(re.findall(r"^\|.*\|$", table, re.MULTILINE))
    words = {w for w in re.findall(r"`(\w+)`", text) if not w.startswith("gl_")}

    problems = [f"not in the table: {name}" for name in exported if name not in named | of_elements]
    problems += [f"not exported: {name}" for name in sorted((named | words) - set(exported) - set(functions))]
    if not of_elements or not named:
        problems.append("nothing was found to compare")
    print("\n".join(problems) or f"{len(exported)} variables, {len(of_elements)} of them of elements")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
