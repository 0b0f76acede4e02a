"""Makes programs of the examples in the documentation, and runs them.

usage: examples.py extract SOURCES OUT              writes OUT/*.cpp, for the build
       examples.py run SOURCES OUT BIN [EMULATOR]   runs BIN/*.exe and compares what they print

In the pages, a block of ```cpp with a main function is a program. Other ones are bodies of functions, which run one after
the other as one program of the page. A block of ```text behind them is what they print. A block below a comment
"from: FILE" is a piece of that file, which is built and run elsewhere; one of ```xml below a comment
"program.exe.config" is the configuration of the next program; "ends with N" tells the exit status of a program. In the public headers, lines indented by four columns
in comments are examples; HeaderExamplesTest.cpp includes them.
"""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import textwrap

BLOCK = re.compile(r"(?:^<!-- ([^\n]*) -->\n)?^```(\w+)\n(.*?)^```$", re.M | re.S)
PROGRAM = re.compile(r"^int main\(", re.M)
PAGE = """// Made from {page} by tests/docs/examples.py.
#include "Prelude.h"
{includes}
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
    """[name, source text, expected output or None, configuration or None, exit status] of every program of a page."""
    name = page.stem.lower().replace("-", "_")
    found, bodies, printed, config = [], [], "", None
    last = None
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
        elif language == "cpp":
            bodies.append(text)
            last = None
        elif language == "text" and last:
            last[2] = text
        elif language == "text":
            printed += text
    if bodies:
        functions = "".join(f"static void Example{i}() {{\n{textwrap.indent(body, '    ')}}}\n\n"
                            for i, body in enumerate(bodies, 1))
        calls = "\n".join(f"        Example{i}();" for i in range(1, len(bodies) + 1))
        found.append([name, PAGE.format(page=page.name, includes="", functions=functions, calls=calls), printed, None, 0])
    return found


def extract(sources, out):
    out.mkdir(parents=True, exist_ok=True)
    wanted = {}
    for page in pages(sources):
        for name, text, *_ in examples(page, sources):
            wanted[out / f"{name}.cpp"] = text
    for folder in ("ZelCore", "ZelNet", "ZelWin32", "ZelXml"):
        for header in sorted((sources / folder).rglob("*.h")):
            blocks = re.findall(r"^ *///\n((?:^ *///     [^\n]*\n(?:^ *///\n(?=^ */// {5}))*)+)", header.read_text(encoding="utf-8"), re.M)
            for i, block in enumerate(blocks, 1):
                body = re.sub(r"^ *///(?:     )?", "", block, flags=re.M)
                wanted[out / "headers" / f"{header.stem}{i if i > 1 else ''}.inc"] = body
    for path, text in wanted.items():  # what has not changed is not built again
        if not path.exists() or path.read_text(encoding="utf-8") != text:
            path.parent.mkdir(exist_ok=True)
            path.write_text(text, encoding="utf-8")
    for path in [*out.glob("*.cpp"), *out.glob("headers/*.inc")]:
        if path not in wanted:
            path.unlink()


def run(sources, out, programs, emulator):
    failures = count = 0
    for page in pages(sources):
        for name, _, printed, config, status in examples(page, sources):
            with tempfile.TemporaryDirectory(dir=out) as folder:
                for file in [programs / f"doc_{name}.exe", *programs.glob("*.dll")]:
                    shutil.copy(file, folder)
                if config:
                    pathlib.Path(folder, f"doc_{name}.exe.config").write_text(config)
                done = subprocess.run([*emulator, f"doc_{name}.exe"], cwd=folder, stdin=subprocess.DEVNULL,
                                      capture_output=True, text=True, errors="replace")
            count += 1
            problem = None
            if done.returncode != status:
                problem = f"it ended with {done.returncode}"
            elif printed is not None and normal(done.stdout) != normal(printed):
                problem = f"the page says it prints:\n{printed}"
            if problem:
                failures += 1
                print(f"{page.name}, {name}: {problem}\nIt printed:\n{done.stdout}{done.stderr}")
    print(f"{count} programs, {failures} failures")
    assert count > 0
    sys.exit(failures != 0)


def normal(text):
    """Lines of throw sites move with the code, and systems word their errors differently."""
    text = re.sub(r"(\w\.(?:cpp|h)):\d+", r"\1:LINE", text)
    return re.sub(r"(Error \d+): .*", r"\1", text).strip()


def main():
    if sys.argv[1] == "extract":
        extract(*map(pathlib.Path, sys.argv[2:4]))
    else:
        run(*map(pathlib.Path, sys.argv[2:5]), sys.argv[5:])


if __name__ == "__main__":
    main()
