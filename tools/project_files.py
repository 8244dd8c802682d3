"""The files of the project, for the check scripts. Works without git, which a bare machine may lack."""

import os
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SKIPPED = {".git", ".cache", "build", "__pycache__"}
CXX_ENDINGS = (".h", ".c", ".cpp")


def paths():
    """Every file, relative to the root, in order."""
    found = []
    for folder, folders, names in os.walk(ROOT):
        folders[:] = [name for name in folders if name not in SKIPPED]
        found += [os.path.relpath(os.path.join(folder, name), ROOT) for name in names if name != ".git"]
    return sorted(found)


def cxx_paths():
    return [path for path in paths() if path.endswith(CXX_ENDINGS)]


def read(path):
    """The text, or None for a binary file."""
    with open(os.path.join(ROOT, path), "rb") as file:
        content = file.read()
    return None if b"\0" in content else content.decode("utf-8", "replace")


def finish(findings):
    """Shows the findings and ends the script with 1 if there are any."""
    for finding in findings:
        print(finding)
    print(f"{os.path.basename(sys.argv[0])}: {len(findings)} findings")
    sys.exit(1 if findings else 0)


if __name__ == "__main__":
    print("\n".join(cxx_paths()))
