#!/usr/bin/env python3
"""Checks what the linker made of the library: exports, dependencies, hardening, data, code.

Usage: shared_object_test.py path/to/libzt_trans_audio_converter.so OBJECT...

The objects are those that the library was linked from.
"""

import re
import subprocess
import sys
from pathlib import Path

EXPORTS = Path(__file__).resolve().parent.parent / "cmake" / "abi" / "exports.txt"
NODE = "libzt_trans_audio_converter.so"
NEWEST_GLIBC = (2, 14)
# What the compiler's start files put into .data and .bss.
TOOLCHAIN_DATA = re.compile(r"^(__dso_handle|_?DYNAMIC|_GLOBAL_OFFSET_TABLE_|__TMC_END__|"
                            r"completed\.\d+|__data_start|_edata|_end|__bss_start)$")

faults = []


def check(holds, text):
    if not holds:
        faults.append(text)


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def check_exports(path):
    lines = run("nm", "-D", "--defined-only", "--with-symbol-versions", path).splitlines()
    found = {line.split(maxsplit=1)[1] for line in lines}
    kept = set(EXPORTS.read_text().splitlines())
    check(len(kept) == 13, "not twelve functions and their version node")
    check(found == kept, f"exports differ: {sorted(found ^ kept)}")


def check_dynamic_section(path):
    dynamic = run("readelf", "-dW", path)
    needed = set(re.findall(r"\(NEEDED\).*\[(.*?)\]", dynamic))
    check(needed and needed <= {"libc.so.6", "libm.so.6"}, f"needs {sorted(needed)}")
    check(re.findall(r"\(SONAME\).*\[(.*?)\]", dynamic) == [NODE],
          f"SONAME is not {NODE}")
    check(re.search(r"\bNOW\b", dynamic), "symbols are not bound at load time")
    check("TEXTREL" not in dynamic, "text relocations")
    check(not re.search(r"RPATH|RUNPATH", dynamic), "a run path")
    segments = run("readelf", "-lW", path)
    check("GNU_RELRO" in segments, "no read-only relocations")
    stack = re.search(r"GNU_STACK.*", segments)
    check(stack and not re.search(r"\bRWE\b", stack.group()), "executable stack")


def check_imports(path):
    imports = run("nm", "-D", "--undefined-only", "--with-symbol-versions", path)
    check("__stack_chk_fail" in imports, "no stack protector")
    versions = re.findall(r"@GLIBC_(\d+)\.(\d+)", imports)
    check(versions, "no version of the C library at all")
    for major, minor in versions:
        check((int(major), int(minor)) <= NEWEST_GLIBC, f"needs GLIBC_{major}.{minor}")
    check(not re.search(r"_Z|__cxa_(?!finalize)|__gxx", imports), f"C++ runtime:\n{imports}")


def check_data(path):
    symbols = [[field.strip() for field in line.split("|")]
               for line in run("nm", "-f", "sysv", path).splitlines() if line.count("|") == 6]
    check(len(symbols) > 20, "no symbols to look at: is the library stripped?")
    for name, *_, section in symbols:
        if section in (".data", ".bss", ".tdata", ".tbss"):
            check(TOOLCHAIN_DATA.match(name), f"{name} in {section}")


def check_code(path):
    code = run("objdump", "-d", "--no-show-raw-insn", path)
    check(code.count("\n") > 1000, "no code to look at")
    fused = set(re.findall(r"\bvf(?:n?m(?:add|sub)|maddsub|msubadd)\w*", code))
    check(not fused, f"fused multiply-adds: {sorted(fused)}")


def check_simd_objects(paths):
    """A weak symbol of theirs could replace one that every processor must be able to run."""
    simd = [path for path in paths if re.search(r"_(sse2|ssse3|avx2|avx512)\.cpp", path)]
    check(len(simd) > 5, "no objects of instruction sets")
    for path in simd:
        weak = re.findall(r" ([WVu] .*)", run("nm", "-C", "--defined-only", path))
        check(not weak, f"weak symbols in {Path(path).name}: {weak}")


def main():
    path = sys.argv[1]
    check_simd_objects(sys.argv[2:])
    for check_part in (check_exports, check_dynamic_section, check_imports, check_data,
                       check_code):
        check_part(path)
    for fault in faults:
        print(fault)
    return 1 if faults else 0


sys.exit(main())
