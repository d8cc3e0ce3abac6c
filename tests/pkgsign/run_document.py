#!/usr/bin/env python3
"""Runs the commands of a document from top to bottom: every block that begins with ```sh, in one shell and one empty
directory. Usage: run_document.py DOCUMENT DIRECTORY-OF-PROGRAMS...
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile


def main() -> int:
    document, programs = pathlib.Path(sys.argv[1]), sys.argv[2:]
    blocks = re.findall(r"^```sh\n(.*?)^```", document.read_text(), re.S | re.M)
    if not blocks:
        print(f"{document}: no block of commands")
        return 1
    script = "set -eux\n" + "\n".join(blocks)
    environment = dict(os.environ, PATH=":".join([*programs, os.environ["PATH"]]))
    with tempfile.TemporaryDirectory() as directory:
        done = subprocess.run(["bash", "-c", script], cwd=directory, env=environment, stdin=subprocess.DEVNULL)
    print(f"{len(blocks)} blocks, exit status {done.returncode}")
    return done.returncode


if __name__ == "__main__":
    sys.exit(main())
