"""No other folder than platform/ asks which system it is, or calls what only some systems have."""

import re
import unittest
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[2]
FOLDERS = ("lib", "files", "comparison", "host", "cli", "web/engine")
#: What they bring is told to the linker in the way of each system.
PUBLIC_HEADERS = {"lib/libZarnGI.h", "host/libZarnGIHost.h"}
#: The library uses no other folder; it asks Linux for large pages, and does without elsewhere.
LARGE_PAGES = "lib/largePages.h"
#: The engine's worker threads; every compiler that builds it has them.
THREADS = {"pthread.h"}
STANDARD_C = {
    "assert.h", "ctype.h", "errno.h", "float.h", "limits.h", "math.h", "stdbool.h", "stddef.h",
    "stdint.h", "stdio.h", "stdlib.h", "string.h", "time.h",
}
LIBRARIES = {"emmintrin.h", "emscripten.h", "immintrin.h", "libdeflate.h", "zlib.h", "wasm_simd128.h"}

CONDITION = re.compile(
    r"^\s*#\s*(?:if|ifdef|ifndef|elif)\b.*\b(?:_WIN\w*|__MINGW\w*|__linux\w*|__unix\w*|__APPLE__|_MSC_VER)\b",
    re.MULTILINE,
)
INCLUDE = re.compile(r"^\s*#\s*include\s*<([\w./+-]+\.h)>", re.MULTILINE)


def sources(folder):
    for path in sorted((SOURCES / folder).rglob("*")):
        if path.suffix in (".h", ".cpp", ".c", ".in") and "node_modules" not in path.parts:
            yield path.relative_to(SOURCES).as_posix(), path.read_text()


def is_of_one_system(header, path):
    if header in STANDARD_C | LIBRARIES or header.startswith(("CLI/", "nlohmann/")):
        return False
    if path == LARGE_PAGES:
        return header != "sys/mman.h"
    if header.startswith("gdcm"):
        return not path.startswith("cli/jpeg/")
    return not (header in THREADS and path.startswith("lib/"))


class SystemsTest(unittest.TestCase):
    def test_no_condition_on_the_system(self):
        found = [
            f"{name}: {match.group().strip()}"
            for folder in FOLDERS
            for name, text in sources(folder)
            if name not in PUBLIC_HEADERS | {LARGE_PAGES}
            for match in CONDITION.finditer(text)
        ]
        self.assertEqual(found, [])

    def test_no_header_of_one_system(self):
        found = [
            f"{name}: <{header}>"
            for folder in FOLDERS
            for name, text in sources(folder)
            for header in INCLUDE.findall(text)
            if is_of_one_system(header, name)
        ]
        self.assertEqual(found, [])


if __name__ == "__main__":
    unittest.main()
