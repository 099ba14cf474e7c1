#!/usr/bin/env python3
"""Rewrites the outputs in docs/guide.md, or with --check fails where they are not what the program prints.

guide.py [--check] [BUILD_DIR]. In a block of the guide that is marked as console, a line "$ COMMAND" is run by a shell in
a scratch folder; what it prints, and its exit status unless that is 0, stands below it. A block marked as sh in a comment
is run and shows nothing. All blocks share the folder.
"""

import difflib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
GUIDE = ROOT / "docs" / "guide.md"
BLOCK = re.compile(r"(?ms)^(<!-- sh\n|```console\n)(.*?)^(-->\n|```\n)")


def run(command, folder, build):
    environment = {"PATH": f"{build}:/usr/bin:/bin", "LC_ALL": "C.UTF-8", "HOME": folder}
    done = subprocess.run(["bash", "-c", command], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    status = f"(exit status {done.returncode})\n" if done.returncode else ""
    return done.stdout + status


def answered(guide, folder, build):
    def answer(block):
        start, text, end = block.groups()
        if start.startswith("<!--"):
            output = run("set -e\n" + text, folder, build)
            if output:
                sys.exit(f"{text}{output}")
            return block.group()
        commands = [line for line in text.splitlines(keepends=True) if line.startswith("$ ")]
        return start + "\n".join(line + run(line[2:], folder, build) for line in commands) + end
    return BLOCK.sub(answer, guide)


def main():
    arguments = [word for word in sys.argv[1:] if word != "--check"]
    build = pathlib.Path(arguments[0] if arguments else ROOT / "build").resolve()
    guide = GUIDE.read_text(encoding="utf-8")
    with tempfile.TemporaryDirectory() as folder:
        # The examples have a folder of their own, which no command of the guide names.
        subprocess.run([build / "kpxexamples", os.path.join(folder, ".examples")], stdout=subprocess.DEVNULL, check=True)
        new = answered(guide, folder, build)
    if "--check" not in sys.argv:
        GUIDE.write_text(new, encoding="utf-8")
    elif new != guide:
        sys.stdout.writelines(difflib.unified_diff(guide.splitlines(True), new.splitlines(True), "docs/guide.md", "printed now"))
        sys.exit("docs/guide.md is stale: scripts/guide.py rewrites it")


if __name__ == "__main__":
    main()
