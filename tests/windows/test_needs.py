"""What the program for Windows needs of system and processor: Windows 10, and SSE2 unless it asks first."""

import os
import re
import subprocess
import unittest
from pathlib import Path

FOLDER = Path(os.environ["ZARNGI_WINDOWS_FOLDER"])
BUILD = Path(os.environ["ZARNGI_WINDOWS_BUILD"])
#: With their symbols.
LINKED = ("lib/libZarnGI.dll", "host/libZarnGIHost.dll", "cli/zarngi.exe")
#: The search that vectorPath.cpp takes where the processor has what it needs.
ASKED_FOR = {"avx2.cpp", "avx512.cpp"}
#: Functions of what is linked in that are called after the processor was asked, or that ask it.
ASKING = re.compile(
    r"\w+_(bmi2|avx2?|avx512\w*|v?pclmul\w*)"  # libdeflate's
    r"|\.text\$\w*__x86_rd(rand|seed|seed_rdrand)E\w*"  # of std::random_device
    r"|libdeflate_init_x86_cpu_features|__cpu_indicator_init|\.text\.startup"
)
#: All beyond SSE2 but prefetchw, which Windows itself demands since 8.1, and tzcnt, by which compilers spell a bsf
#: of what is not 0, as older processors read it.
BEYOND = re.compile(
    r"(v(?!err|erw|mcall)|k(?=mov|and|or|not|xn?or|test|shift|unpck|add))[a-z0-9]+"  # AVX and what came after
    r"|p(shufb|hadd|hsub|maddubs|mulhrs|sign|abs|alignr|blend|ackusdw|cmp[eg][qt]q|cmp[ei]str|ext(?!rw)|insr[bdq]|hmin"
    r"|m(ax|in)(s[bd]|u[dw])|mov[sz]x|muldq|mulld|test|clmul|opcnt|dep)\w*"
    r"|(addsub|h(add|sub)p|lddqu|movddup|movs[hl]dup|blend|dpp|extractp|insertp|mpsad|round[ps]|movntdqa|crc32|aes"
    r"|lzcnt|andn$|andn[ql]$|bextr|bls|bzhi|mulx|rorx|sarx|shlx|shrx|adcx|adox|movbe|rdrand|rdseed|xgetbv|xsave|xrstor"
    r"|sha1|sha256|gf2|extrq|insertq|movnts[sd])\w*"
)
PREFIXES = {"rep", "repz", "repnz", "lock", "bnd", "data16", "notrack", "rex.W", "cs"}


def objdump(path, *options):
    command = ["x86_64-w64-mingw32-objdump", *options, path]
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def sources_of_functions(path):
    """The source of each function by its place in the code: symbols follow the name of their file."""
    source, place = "", {}
    for line in objdump(path, "--syms").splitlines():
        if found := re.match(r"\[ *\d+\]\(sec +(-?\d+)\).*\(scl +(\d+)\) \(nx \d+\) 0x(\w+) (.*)", line):
            section, kind, address, name = found.groups()
            if kind == "103":
                source = name
            elif section == "1":
                place[int(address, 16)] = source
    return place


def beyond_sse2(path):
    """Functions with instructions that not every processor has: source, name and one of the instructions."""
    sources = sources_of_functions(path)
    text = re.search(r"^ +0 \.text +\w+ +(\w+)", objdump(path, "--section-headers"), re.MULTILINE)
    start, function, found = int(text[1], 16), ("", ""), {}
    for line in objdump(path, "--disassemble", "--no-show-raw-insn").splitlines():
        if head := re.fullmatch(r"([0-9a-f]+) <(.*)>:", line):
            function = (sources.get(int(head[1], 16) - start, ""), head[2])
            continue
        _, _, code = line.partition("\t")
        words = [word for word in code.split()[:3] if word not in PREFIXES]
        if words and BEYOND.fullmatch(words[0]):
            found.setdefault(function, words[0])
    return [(source, name, instruction) for (source, name), instruction in found.items()]


class ProcessorTest(unittest.TestCase):
    def test_nothing_beyond_sse2_without_asking(self):
        seen = set()
        for name in LINKED:
            for source, function, instruction in beyond_sse2(BUILD / name):
                seen.add(source)
                with self.subTest(name, function=function, source=source, instruction=instruction):
                    self.assertTrue(source in ASKED_FOR or ASKING.fullmatch(function))
        self.assertLessEqual(ASKED_FOR, seen)

    def test_what_the_vector_paths_compile_is_theirs_alone(self):
        """Nothing that the linker could take for a function that other sources call, too."""
        for name in ("avx2", "avx512"):
            (built,) = (BUILD / "lib").rglob(f"{name}.cpp.obj")
            table = subprocess.run(["x86_64-w64-mingw32-nm", "--defined-only", built],
                                   capture_output=True, text=True, check=True).stdout
            shared = [line.split()[2] for line in table.splitlines() if line.split()[1] in "TDBRVW"]
            self.assertEqual(len(shared), 2, shared)
            self.assertTrue(all(re.search(f"Search{name}E", symbol, re.IGNORECASE) for symbol in shared), shared)


class SystemTest(unittest.TestCase):
    def test_an_older_system_reads_it_in_the_header(self):
        for path in sorted([*FOLDER.glob("*.exe"), *FOLDER.glob("*.dll")]):
            head = objdump(path, "--private-headers")
            told = [re.search(rf"^{name}\s+(\d+)", head, re.MULTILINE)[1]
                    for name in ("MajorSubsystemVersion", "MinorSubsystemVersion", "MajorOSystemVersion")]
            self.assertEqual(told, ["10", "0", "10"], path.name)
            self.assertIn("pei-x86-64", head)


if __name__ == "__main__":
    unittest.main()
