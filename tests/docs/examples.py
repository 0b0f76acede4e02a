"""Builds programs from the examples in the documentation, and runs them.

usage: examples.py extract SOURCES OUT              writes OUT/*.cpp, for the build
       examples.py run SOURCES OUT BIN [EMULATOR]   runs BIN/*.exe and compares what they print

In the pages, a block of ```cpp with a main function is a program. Other blocks are function bodies, which run one after
the other as one program per page, after the block that begins with "#include". A block of ```text after them is the
expected output. A block below a comment "from: FILE" is a part of that file, which is built and run elsewhere. A block
of ```xml below a comment "program.exe.config" is the configuration of the next program. "ends with N" is the exit
status of a program.

In the public headers, comment lines indented by four columns are examples: function bodies, or whole classes and
functions. Those of all headers are one program.
"""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import textwrap

BLOCK = re.compile(r"(?:^<!-- ([^\n]*) -->\n)?^```(\w+)\n(.*?)^```$", re.M | re.S)
HEADER_BLOCK = re.compile(r"^ *///\n((?:^ *///     [^\n]*\n(?:^ *///\n(?=^ */// {5}))*)+)", re.M)
PROGRAM = re.compile(r"^int main\(", re.M)
NAMESPACES = ("ZelCore", "ZelCore::Configuration", "ZelCore::Diagnostics", "ZelCore::IO", "ZelCore::IO::Compression",
              "ZelCore::Remoting", "ZelCore::Security::Cryptography", "ZelWin32")
HEADERS_NEED = """#include "PublicHeaders.h"
#include "Counter.h"

#include <windows.h>

#include <cstdio>
#include <memory>
"""
PAGE = """// Made from {page} by tests/docs/examples.py.
{begin}
{functions}
int main() {{
    try {{
{calls}
    }} catch (const std::exception& e) {{
        std::printf("%s\\n", e.what());
        return 1;
    }} catch (const ZelCore::CException& e) {{
        std::printf("%ls\\n", e.GetExceptionMessage());
        return 1;
    }}
    return 0;
}}
"""


def pages(sources):
    return sorted([sources / "README.md", *(sources / "docs").glob("*.md")])


def examples(page, sources):
    """Returns [name, source, expected output or None, configuration or None, exit status] of each program of a page."""
    name = page.stem.lower().replace("-", "_")
    found, bodies, printed, config = [], [], "", None
    begin = last = None
    for note, language, text in BLOCK.findall(page.read_text(encoding="utf-8")):
        if note.startswith("from: "):
            quoted = (sources / note[6:]).read_text(encoding="utf-8")
            assert text in quoted, f"{page.name}: not in {note[6:]}:\n{text}"
        elif note == "program.exe.config":
            config = text
        elif language == "cpp" and PROGRAM.search(text):
            ends = re.match(r"ends with (\d+)", note)
            last = [f"{name}_{len(found) + 1}", text, None, config, int(ends[1]) if ends else 0]
            found.append(last)
            config = None
        elif language == "cpp" and text.startswith("#include"):
            assert begin is None and not bodies, f"{page.name}: a second beginning"
            begin = text
        elif language == "cpp":
            bodies.append(text)
            last = None
        elif language == "text" and last:
            last[2] = text
        elif language == "text":
            printed += text
    assert bool(begin) == bool(bodies), f"{page.name}: a block of #include and examples belong together"
    if bodies:
        found.append([name, program_of_bodies(page.name, begin, bodies), printed, None, 0])
    return found


def program_of_bodies(origin, begin, bodies, declarations=()):
    functions = "".join(f"static void Example{i}() {{\n{textwrap.indent(body, '    ')}}}\n\n"
                        for i, body in enumerate(bodies, 1))
    calls = "\n".join(f"        Example{i}();" for i in range(1, len(bodies) + 1))
    return PAGE.format(page=origin, begin=begin, functions="\n".join([*declarations, functions]), calls=calls)


def public_headers(sources):
    """Returns [name, text] of each public header; private ones contain a line that says so."""
    for folder in ("ZelCore", "ZelNet", "ZelWin32", "ZelXml"):
        for header in sorted((sources / folder).rglob("*.h")):
            text = header.read_text(encoding="utf-8")
            if not re.search(r"^// Private to", text, re.M):
                yield header.relative_to(sources).as_posix(), text


def header_examples(sources):
    declarations, bodies = [], []
    for _, text in public_headers(sources):
        for block in HEADER_BLOCK.findall(text):
            example = re.sub(r"^ *///(?:     )?", "", block, flags=re.M)
            (declarations if re.match(r"(class|void) ", example) else bodies).append(example)
    return ["headers", program_of_bodies("the public headers", HEADERS_NEED, bodies, declarations), None, None, 0]


def programs(sources):
    """Returns [origin, program] of all examples."""
    found = [(page.name, program) for page in pages(sources) for program in examples(page, sources)]
    return [*found, ("the public headers", header_examples(sources))]


def extract(sources, out):
    out.mkdir(parents=True, exist_ok=True)
    wanted = {out / f"{program[0]}.cpp": program[1] for _, program in programs(sources)}
    # Also used by the tests: everything that a program may use, by its last name.
    wanted[out / "PublicHeaders.h"] = "\n".join(
        ["#pragma once", *(f'#include "{name}"' for name, _ in public_headers(sources)),
         *(f"using namespace {name};" for name in NAMESPACES), ""])
    for path, text in wanted.items():  # what has not changed is not built again
        if not path.exists() or path.read_text(encoding="utf-8") != text:
            path.write_text(text, encoding="utf-8")
    for path in out.glob("*.cpp"):
        if path not in wanted:
            path.unlink()


def run(sources, out, binaries, emulator):
    failures = 0
    found = programs(sources)
    for origin, (name, _, printed, config, status) in found:
        with tempfile.TemporaryDirectory(dir=out) as folder:
            for file in [binaries / f"doc_{name}.exe", *binaries.glob("*.dll")]:
                shutil.copy(file, folder)
            if config:
                pathlib.Path(folder, f"doc_{name}.exe.config").write_text(config)
            done = subprocess.run([*emulator, f"doc_{name}.exe"], cwd=folder, stdin=subprocess.DEVNULL,
                                  capture_output=True, text=True, errors="replace")
        problem = None
        if done.returncode != status:
            problem = f"it ended with {done.returncode}"
        elif printed is not None and normal(done.stdout) != normal(printed):
            problem = f"the page says it prints:\n{printed}"
        if problem:
            failures += 1
            print(f"{origin}, {name}: {problem}\nIt printed:\n{done.stdout}{done.stderr}")
    print(f"{len(found)} programs, {failures} failures")
    assert found
    sys.exit(failures != 0)


def normal(text):
    """Replaces the lines of throw sites, which move with the code, and error texts, which depend on the system."""
    text = re.sub(r"(\w\.(?:cpp|h)):\d+", r"\1:LINE", text)
    return re.sub(r"(Error \d+): .*", r"\1", text).strip()


def main():
    if sys.argv[1] == "extract":
        extract(*map(pathlib.Path, sys.argv[2:4]))
    else:
        run(*map(pathlib.Path, sys.argv[2:5]), sys.argv[5:])


if __name__ == "__main__":
    main()
