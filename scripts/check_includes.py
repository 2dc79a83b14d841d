#!/usr/bin/env python3
"""Fails when an include in src/ points the wrong way; see the arrows in docs/architecture.md."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SOURCE = ROOT / "src"

# What each module may include besides itself.
BELOW = {
    "host": set(),
    "support": {"host"},
    "picture": {"host", "support", "kernels"},
    "runtime": {"host", "support"},
    "scaling": {"host", "support", "picture", "runtime", "kernels"},
    "effects": {"host", "support", "picture", "runtime", "kernels"},
    "registration": {"host", "support", "picture", "runtime", "scaling", "effects"},
    "kernels": set(),
}
# Kernels are compiled for instruction sets of their own and must not bring shared code along.
KERNEL_EXCEPTIONS = {"support/numeric.h"}
# Of the C++ library only headers that leave nothing to link.
SYSTEM = {
    "cassert", "cmath", "cpuid.h", "cstddef", "cstdint", "cstdio", "cstdlib", "cstring", "dlfcn.h", "limits",
    "math.h", "new", "string.h", "time.h", "type_traits", "utility",
}
ISA_HEADER = re.compile(r"\w*intrin\.h$")
ISA_FILE = re.compile(r"_(sse2|sse41|avx2|avx512)\.cpp$")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def bound_headers(includes):
    """Kernel headers that need an instruction set: by an intrinsics header, directly or through another one."""
    bound = set()
    while True:
        more = {
            path
            for path, targets in includes.items()
            if path.startswith("kernels/") and path.endswith(".h")
            and any(ISA_HEADER.match(target) or target in bound for _, target in targets)
        }
        if more == bound:
            return bound
        bound = more


def may_hold_isa_code(path):
    return path.startswith("kernels/") and (path.endswith(".h") or ISA_FILE.search(path))


def fault_of(path, quote, target, bound):
    """Why `path` (relative to src/) may not include `target`, or None."""
    module = path.split("/")[0]
    if ISA_HEADER.match(target) or target in bound:
        return None if may_hold_isa_code(path) else "instruction-set code outside its kernel files"
    if quote == "<":
        return None if target in SYSTEM else "system header that the plugin does without"
    if not (SOURCE / target).is_file():
        return "not a file of src/"
    other = target.split("/")[0]
    if other == module or other in BELOW[module]:
        return None
    if module == "kernels" and target in KERNEL_EXCEPTIONS:
        return None
    return f"{module} may not include {other}"


def main():
    files = sorted(p for p in SOURCE.rglob("*") if p.suffix in {".h", ".cpp", ".def"})
    includes = {f.relative_to(SOURCE).as_posix(): INCLUDE.findall(f.read_text()) for f in files}
    bound = bound_headers(includes)
    faults = []
    for path, targets in includes.items():
        if path.split("/")[0] not in BELOW:
            faults.append(f"src/{path}: unknown module")
            continue
        for quote, target in targets:
            fault = fault_of(path, quote, target, bound)
            if fault:
                faults.append(f"src/{path}: {target}: {fault}")
    print("\n".join(faults) if faults else f"{len(files)} files, all includes point the right way")
    return 1 if faults or not files else 0


if __name__ == "__main__":
    sys.exit(main())
