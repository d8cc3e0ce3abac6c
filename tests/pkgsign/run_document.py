#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""Runs the commands of a document from top to bottom: every block that begins with ```sh, in one shell and one empty
directory, with the folder of the source tree in SOURCES. What still runs in the background at the end is ended.
Usage: run_document.py DOCUMENT DIRECTORY-OF-PROGRAMS...
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile


def main() -> int:
    document, programs = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:]
    blocks = re.findall(r"^```sh\n(.*?)^```", document.read_text(), re.S | re.M)
    if not blocks:
        print(f"{document}: no block of commands")
        return 1
    script = "set -eux\ntrap 'kill $(jobs -p) 2>&- || :' EXIT\n" + "\n".join(blocks)
    environment = dict(os.environ, PATH=":".join([*programs, os.environ["PATH"]]),
                       SOURCES=str(document.parent.parent))
    with tempfile.TemporaryDirectory() as directory:
        done = subprocess.run(["bash", "-c", script], cwd=directory, env=environment, stdin=subprocess.DEVNULL)
    print(f"{len(blocks)} blocks, exit status {done.returncode}")
    return done.returncode


if __name__ == "__main__":
    sys.exit(main())
