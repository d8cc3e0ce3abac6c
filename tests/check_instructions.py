#!/usr/bin/env python3
"""Guards what a small package costs, in instructions, which other than time are the same on a busy machine.

Usage: check_instructions.py BUILD, where BUILD is an optimised build with a development root. Exits with 1 when the tool
takes more than it should; when it takes much less, OWN below wants to be lowered.
"""
import pathlib
import sys
import tempfile

sys.dont_write_bytecode = True  # the tree stays as it is
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "bench"))
import measure  # noqa: E402

OWN = 164000  # instructions of the tool and the library in it, for the small package of scripts/bench.sh
RATIO = 1.03  # of all instructions to those of a program of the package's digests and signature checks alone
MARGIN = 1.10


def main() -> int:
    build = pathlib.Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory() as name:
        scratch = pathlib.Path(name)
        small = measure.Package(build, scratch / "small", measure.SMALL)
        _, alone = measure.least_work(build, scratch, small)
        whole, own = measure.instructions(scratch, small.ours)
        least, _ = measure.instructions(scratch, alone)
    print(f"{whole} instructions, {own} of them the tool's own ({OWN} recorded); "
          f"{whole / least:.3f} of the least ({RATIO} recorded)")
    return 0 if 0 < own <= OWN * MARGIN and whole <= least * RATIO * MARGIN else 1


if __name__ == "__main__":
    sys.exit(main())
