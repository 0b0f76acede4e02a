"""Installs the library, builds programs against only the installation, and runs them from a folder that contains only
the files that the installation declares as required.

usage: package_test.py SOURCES BUILD TOOLCHAIN COMPILER [EMULATOR]
"""
import gzip
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import textwrap
import unittest
import zipfile

SOURCES, BUILD = map(pathlib.Path, sys.argv[1:3])
TOOLCHAIN, COMPILER, EMULATOR = sys.argv[3], sys.argv[4], sys.argv[5:]
DLLS = ["ZelCore.dll", "libgcc_s_seh-1.dll", "libstdc++-6.dll", "libwinpthread-1.dll"]


def run(*command, status=0, **options):
    done = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          stdin=subprocess.DEVNULL, text=True, errors="replace", **options)
    assert done.returncode == status, f"{command}: exit status {done.returncode}\n{done.stdout}"
    return done.stdout


def is_private(header):
    return any(line.startswith("// Private to") for line in header.read_text(encoding="utf-8").splitlines())


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # A space in the path detects missing quotes.
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="package ", dir=BUILD))
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls.prefix = cls.folder / "installed here"
        run("cmake", "--install", BUILD, "--prefix", cls.prefix)

    def build(self, source, *arguments):
        build = self.folder / ("build of " + source.name)
        toolchain = self.prefix / "lib/cmake/ZelCore" / pathlib.Path(TOOLCHAIN).name
        run("cmake", "-G", "Ninja", "-S", source, "-B", build, f"-DCMAKE_TOOLCHAIN_FILE={toolchain}",
            f"-DCMAKE_PREFIX_PATH={self.prefix}", "-DCMAKE_BUILD_TYPE=Release", *arguments)
        run("cmake", "--build", build)
        return build

    def test_lays_out_what_it_should_and_no_more(self):
        files = {path.relative_to(self.prefix).as_posix() for path in self.prefix.rglob("*") if path.is_file()}
        self.assertEqual({f"bin/{name}" for name in DLLS}, {name for name in files if name.startswith("bin/")})
        headers = {path.relative_to(SOURCES).as_posix() for part in ("ZelCore", "ZelNet", "ZelWin32", "ZelXml")
                   for path in (SOURCES / part).rglob("*.h") if not is_private(path)}
        self.assertEqual({f"include/{name}" for name in headers}, {n for n in files if n.startswith("include/")})
        for name in ("lib/libZelCore.dll.a", "lib/pkgconfig/zelcore.pc", "lib/cmake/ZelCore/ZelCoreConfig.cmake",
                     "lib/cmake/ZelCore/MinGW-Cross.cmake", "lib/cmake/ZelCore/wine",
                     "share/doc/ZelCore/README.md", "share/doc/ZelCore/docs/getting-started.md",
                     "share/licenses/ZelCore/zlib.txt", "share/licenses/ZelCore/gcc-runtime.txt"):
            self.assertIn(name, files)
        tell_tale = str(SOURCES)  # a package that knows the builder's folders does not travel
        for name in files:
            self.assertNotIn(tell_tale.encode(), (self.prefix / name).read_bytes(), name)
        for name in DLLS:
            sections = run("x86_64-w64-mingw32-objdump" if EMULATOR else "objdump", "-h", self.prefix / "bin" / name)
            self.assertNotIn(".debug_info", sections, name)

    def first_program(self, page):
        """Returns source, project and output from a page."""
        text = (self.prefix / "share/doc/ZelCore" / page).read_text(encoding="utf-8")
        blocks = re.findall(r"^```(cpp|cmake|text)\n(.*?)^```$", text, re.M | re.S)
        program = next(block for kind, block in blocks if kind == "cpp" and "int main(" in block)
        project = next(block for kind, block in blocks if kind == "cmake" and "project(" in block)
        return program, project, next(block for kind, block in blocks if kind == "text")

    def run_alone(self, program, printed, folder):
        """Runs a program in a folder that contains only the program and its DLLs."""
        self.assertEqual(sorted(DLLS), sorted(path.name for path in folder.glob("*.dll")))
        emulator = ["sh", self.prefix / "lib/cmake/ZelCore/wine"] if EMULATOR else []
        said = run(*emulator, program, cwd=folder)
        said, printed = ([re.split(r" at \S+:\d+: ", line)[0] for line in text.splitlines()]  # without throw sites
                         for text in (said, printed))
        self.assertEqual(printed, said)

    def test_the_first_programs_of_the_pages_are_built_by_cmake_as_the_pages_say(self):
        for page in ("README.md", "docs/getting-started.md"):
            program, project, printed = self.first_program(page)
            name, file = re.search(r"add_executable\((\w+) (\S+)\)", project).groups()
            source = self.folder / f"page of {name}"
            source.mkdir()
            (source / file).write_text(program, encoding="utf-8")
            (source / "CMakeLists.txt").write_text(project, encoding="utf-8")
            alone = self.folder / f"alone with {name}"
            shutil.copytree(self.build(source), alone, ignore=lambda _, names: [
                name for name in names if not name.endswith((".dll", ".exe"))])
            self.run_alone(f"{name}.exe", printed, alone)

    def test_a_project_takes_the_sources_as_a_subproject(self):
        source = self.folder / "subproject"
        source.mkdir()
        (source / "Main.cpp").write_text("int main() { return 0; }\n")
        (source / "CMakeLists.txt").write_text(textwrap.dedent(f"""\
            cmake_minimum_required(VERSION 3.25)
            project(Host C CXX RC)
            add_subdirectory("{SOURCES.as_posix()}" zelcore)
            add_executable(host Main.cpp)
            target_link_libraries(host PRIVATE ZelCore::ZelCore)
            zel_copy_runtime(host)
            """))
        build = source / "build"
        run("cmake", "-G", "Ninja", "-S", source, "-B", build, f"-DCMAKE_TOOLCHAIN_FILE={TOOLCHAIN}")
        commands = run("ninja", "-C", build, "-t", "commands", "host")
        for name in DLLS:  # building the library anew would take minutes
            self.assertRegex(commands, rf"copy_if_different.*{re.escape(name)}", name)
        self.assertNotIn("googletest", commands)
        self.assertFalse((build / "CPackConfig.cmake").exists(), "the host packs itself")
        self.assertNotIn("ZelCore", (build / "zelcore/cmake_install.cmake").read_text().replace(str(build), ""))

    def test_a_program_finds_it_by_pkg_config(self):
        if not shutil.which("pkg-config"):
            self.skipTest("there is no pkg-config")
        environment = dict(os.environ, PKG_CONFIG_PATH=str(self.prefix / "lib/pkgconfig"))
        flags = subprocess.run(["pkg-config", "--cflags", "--libs", "zelcore"], env=environment, check=True,
                               capture_output=True, text=True).stdout
        clang = ["--target=x86_64-w64-mingw32"] if "clang" in COMPILER and EMULATOR else []
        program, _, printed = self.first_program("README.md")
        out = self.folder / "by pkg-config"
        out.mkdir()
        (out / "First.cpp").write_text(program, encoding="utf-8")
        run(COMPILER, *clang, "-std=c++20", out / "First.cpp", *shlex.split(flags), "-o", out / "first.exe")
        for name in DLLS:
            shutil.copy(self.prefix / "bin" / name, out)
        self.run_alone("first.exe", printed, out)

    def test_a_foreign_compiler_is_told(self):
        if not EMULATOR:
            self.skipTest("there is no other target at hand")
        source = self.folder / "foreign"
        source.mkdir()
        (source / "CMakeLists.txt").write_text("cmake_minimum_required(VERSION 3.25)\nproject(Foreign CXX)\n"
                                               "find_package(ZelCore CONFIG REQUIRED)\n")
        said = run("cmake", "-G", "Ninja", "-S", source, "-B", source / "build", f"-DCMAKE_PREFIX_PATH={self.prefix}", status=1)
        self.assertRegex(said, r"MinGW-w64\s+GCC")

    def test_the_samples_do_what_they_say(self):
        programs = self.build(self.prefix / "share/doc/ZelCore/samples") / "bin"
        work = self.folder / "work"
        work.mkdir()

        def sample(name, *arguments, **options):
            return run(*EMULATOR, programs / (name + ".exe"), *arguments, cwd=work, **options)

        text = b"the quick brown fox jumps over the lazy dog\n" * 20_000
        (work / "text.txt").write_bytes(text)
        (work / "empty").write_bytes(b"")
        self.assertEqual(["empty 0 bytes", f"text.txt {len(text)} bytes"],
                         sample("write-archive", "out.zip", "text.txt", "empty").splitlines())
        with zipfile.ZipFile(work / "out.zip") as archive:
            self.assertEqual(text, archive.read("text.txt"))
        sample("write-archive", "none.zip", "missing", status=1)

        sample("stream-gzip", "compress", "text.txt", "text.gz")
        self.assertEqual(text, gzip.decompress((work / "text.gz").read_bytes()))
        sample("stream-gzip", "decompress", "text.gz", "text.again")
        self.assertEqual(text, (work / "text.again").read_bytes())

        sample("encrypt-file", "encrypt", "text.txt", "text.enc", "key")
        self.assertNotIn(b"quick brown", (work / "text.enc").read_bytes())
        sample("encrypt-file", "decrypt", "text.enc", "text.plain", "key")
        self.assertEqual(text, (work / "text.plain").read_bytes())

        self.assertEqual(["folder D:\\Backup, verify 1", "server main at port 8080", "server spare at port 8081"],
                         sample("read-settings").splitlines())

        temp = self.folder / "temp"
        temp.mkdir()
        config = programs / "rolling-log.exe.config"  # Wine has a TEMP of its own
        config.write_text(config.read_text(encoding="utf-8").replace("%TEMP%", f"Z:{temp}" if EMULATOR else str(temp)))
        sample("rolling-log", "200")
        logs = sorted(path for path in (temp / "rolling-log").iterdir())
        lines = "".join(path.read_text(encoding="utf-8") for path in logs)
        self.assertEqual(3, len(logs), logs)
        self.assertIn("step 200 of 200", lines)
        self.assertNotIn("dropped", lines)

        server = subprocess.Popen([*EMULATOR, str(programs / "serve-rpc.exe"), "serve", "3000"], cwd=work,
                                  stdout=subprocess.PIPE, text=True)
        self.assertEqual("serving", server.stdout.readline().strip())
        self.assertEqual("greeted 1 times", sample("serve-rpc", "call", "Ada").strip())
        self.assertEqual("Hello Ada", server.communicate()[0].strip())
        self.assertEqual(0, server.returncode)
        self.assertIn("CRpcException", sample("serve-rpc", "call", "Ada", status=1))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
