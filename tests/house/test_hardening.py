"""The programs of a release build are hardened, as the linker and the compiler left them."""

import re
import subprocess

import pytest

MARKS = [  # an option of readelf, and what its output must have
    ("-hW", r"Type:\s+DYN \(Position-Independent"),  # no fixed addresses
    ("-lW", r"GNU_RELRO"),
    ("-lW", r"GNU_STACK .* RW "),  # not executable
    ("-dW", r"FLAGS.*\bNOW\b"),  # with GNU_RELRO, no table of functions is writable
    ("-sW", r"__stack_chk_fail"),
    ("-sW", r"__\w+_chk@GLIBC"),  # checked copies
]


@pytest.mark.parametrize("program", ["orvik", "unit", "hx7"])
def test_a_program_of_a_release_build_is_hardened(build, program):
    for option, mark in MARKS:
        shown = subprocess.run(["readelf", option, build / "bin" / program], capture_output=True, text=True, check=True)
        assert re.search(mark, shown.stdout), (program, mark)
