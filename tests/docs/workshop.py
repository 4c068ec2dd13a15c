"""A folder that looks like the project after a build, in which the pages' commands run."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

import doses  # tests/cli
from pages import PROJECT
from structure_files import box, write_structure_set  # tests/cli

BUILD = Path(os.environ["ZARNGI_BUILD_DIR"])
DATA = PROJECT.parent / "shared" / "data"
# What the pages call the files that a reader has.
REFERENCES = ("planned", "plan")
EVALUATIONS = ("measured", "delivered")
WRITERS = {".dcm": doses.write_dicom, ".nrrd": doses.write_nrrd, ".mha": doses.write_mha, ".mhd": doses.write_mhd}

C_FRAME = """
#include <libZarnGI.h>
int main(void)
{
    int nn[3] = {2, 2, 2};
    float hs[3] = {2, 2, 2};
    float x0[3] = {0, 0, 0};
    float reference[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    float evaluation[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    float gamma[8] = {2};
    float passRate = 0;
%s
    return passRate == 100 && gamma[0] == 0 ? 0 : 1;
}
"""
CMAKE_FRAME = """
cmake_minimum_required(VERSION 3.16)
project(excerpt LANGUAGES CXX)
add_executable(compare_doses ${PROJECT_SOURCE_DIR}/../../examples/cpp/compare_doses.cpp)
%s
"""

#: Commands that take nothing of the folder that they run in, and the folder that they make there: what
#: they give on one page they give on each.
ALIKE = {"zarngi selftest": None, "zarngi demo": "zarngi-demo"}
given = {}


def link_project(folder):
    """Everything of the project but its builds, under the names that the pages use."""
    for entry in PROJECT.iterdir():
        if entry.name not in ("build", ".git"):
            (folder / entry.name).symlink_to(entry)
    (folder / "build").mkdir()
    (folder / "build" / "release").symlink_to(BUILD)
    if DATA.is_dir():
        (folder.parent / "shared").symlink_to(DATA.parent)


def write_samples(folder):
    for names, dose in zip((REFERENCES, EVALUATIONS), doses.pair()):
        for name in names:
            for suffix, write in WRITERS.items():
                write(folder / (name + suffix), dose)
    plan, _ = doses.pair()
    slice_ = int(plan.values.max(axis=(1, 2)).argmax())
    corner = (*plan.origin[:2], plan.origin[2] + slice_ * plan.spacing[2])
    doses.write_dicom(
        folder / "planar.dcm", doses.Dose(plan.values[slice_ : slice_ + 1], plan.spacing, corner)
    )
    (folder / "measured.csv").write_text("x (mm),y (mm),dose (Gy)\n0,0,1.9\n5.5,2,1.7\n-3,4,1.8\n")
    targets = {"PTV67": box((-6, 6), (-5, 5), (18, 21, 24)), "PTV57": box((-12, 12), (-9, 9), (18, 21, 24))}
    write_structure_set(folder / "structures.dcm", targets, frame="1.2.3.4")
    pairs = (f"{i},{names[0]}.nrrd,{names[1]}.nrrd\n" for i, names in enumerate(zip(REFERENCES, EVALUATIONS)))
    (folder / "manifest.csv").write_text("id,reference,evaluation\n" + "".join(pairs))


class Workshop:
    def __init__(self, place):
        self.folder = place / "project"
        self.folder.mkdir()
        link_project(self.folder)
        write_samples(self.folder)
        root = place / "root"
        library = root / os.environ["ZARNGI_LIBDIR"].lstrip("/")
        self.environment = os.environ | {
            "DESTDIR": str(root),
            "PATH": f"{BUILD / 'cli'}:{BUILD / 'python/bin'}:{os.environ['PATH']}",
            "PKG_CONFIG_PATH": str(library / "pkgconfig"),
            "LD_LIBRARY_PATH": str(library),
            "CMAKE_PREFIX_PATH": str(library.parent),
        }

    def run(self, command, cwd=None):
        """Standard output of a command that must succeed and has nothing to complain of."""
        done = subprocess.run(
            command, cwd=cwd or self.folder, env=self.environment, capture_output=True, text=True,
            timeout=60, check=False,
        )  # fmt: skip
        assert done.returncode == 0, f"{command}\n{done.stdout}{done.stderr}"
        return done.stdout

    def run_shell(self, command):
        if command in ALIKE:
            return self.run_once(command, ALIKE[command])
        return self.run(["bash", "-e", "-o", "pipefail", "-c", command])

    def run_once(self, command, made):
        """The output of the first page's run, and a copy of what it made."""
        if command not in given:
            place = self.folder.parent / "alone"
            place.mkdir(exist_ok=True)
            given[command] = self.run(command.split(), cwd=place), place
        output, place = given[command]
        if made:
            shutil.copytree(place / made, self.folder / made, dirs_exist_ok=True)
        return output

    def run_program(self, text):
        """A Python program, given two dose files."""
        return self.run([sys.executable, "-c", text, "planned.mha", "delivered.mha"])

    def run_c(self, text):
        (self.folder / "excerpt.c").write_text(C_FRAME % text)
        self.run_shell(
            "cc -std=c11 -Wall -Wextra -Werror -Ilib excerpt.c -Lbuild/release/lib -lZarnGI"
            " -Wl,-rpath,build/release/lib -o excerpt && ./excerpt"
        )

    def run_cmake(self, text):
        excerpt = self.folder / "build" / "excerpt"
        excerpt.mkdir()
        (excerpt / "CMakeLists.txt").write_text(CMAKE_FRAME % text)
        self.run_shell("cmake -S build/excerpt -B build/excerpt/out && "
                       "cmake --build build/excerpt/out && build/excerpt/out/compare_doses")
