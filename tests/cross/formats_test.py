"""Python and OpenSSL read the files that zel writes, and zel reads theirs.

usage: formats_test.py FOLDER [EMULATOR] ZEL
"""
import gzip
import hashlib
import os
import random
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile
import zlib

FOLDER = sys.argv[1]
ZEL = sys.argv[2:]
WIDE = "Ünïcödé 数据.txt"


def zel(*arguments, status=0):
    run = subprocess.run([*ZEL, *arguments], capture_output=True, stdin=subprocess.DEVNULL)
    output = run.stdout.decode("utf-8") + run.stderr.decode("utf-8", "replace")
    assert status is None or run.returncode == status, f"{arguments}: exit status {run.returncode}: {output}"
    return output


def contents():
    noise = random.Random(1)
    return {
        "tree/empty": b"",
        "tree/text.txt": b"the quick brown fox\r\n" * 5000,
        "tree/noise.bin": noise.randbytes(70_000),
        "tree/deep/er/" + WIDE: "数据".encode() * 3,
        "tree/one": b"x",
    }


class ZelTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(dir=FOLDER)
        self.old = os.getcwd()
        os.chdir(self.folder)
        for name, data in contents().items():
            os.makedirs(os.path.dirname(name), exist_ok=True)
            with open(name, "wb") as file:
                file.write(data)

    def tearDown(self):
        os.chdir(self.old)
        shutil.rmtree(self.folder)


class Formats(ZelTest):
    def check(self, expected):
        with zipfile.ZipFile("a.zip") as archive:
            self.assertIsNone(archive.testzip())
            # The archive does not declare its names as UTF-8, so Python reads them as code page 437.
            read = {
                i.filename.encode("cp437").decode(): archive.read(i) for i in archive.infolist() if not i.is_dir()
            }
        self.assertEqual(read, expected)

    def read_tree(self, folder):
        found = {}
        for path, _, names in os.walk(folder):
            for name in names:
                full = os.path.join(path, name)
                with open(full, "rb") as file:
                    found[os.path.relpath(full, folder).replace(os.sep, "/")] = file.read()
        return found

    def test_python_reads_what_we_write(self):
        for extra in ([], ["--store"]):
            zel("zip", "create", "a.zip", "tree", "--overwrite", *extra)
            self.check(contents())
        expected = contents()
        with open("tree/one", "wb") as file:
            file.write(b"changed")
        zel("zip", "update", "a.zip", "tree")
        expected["tree/one"] = b"changed"
        self.check(expected)
        zel("zip", "delete", "a.zip", "TREE/NOISE.bin", "tree/deep/er/" + WIDE)
        del expected["tree/noise.bin"], expected["tree/deep/er/" + WIDE]
        self.check(expected)
        os.mkdir("other")
        zel("zip", "add", "a.zip", "other", os.path.join("tree", "deep", "er", WIDE))
        expected[WIDE] = contents()["tree/deep/er/" + WIDE]
        self.check(expected)
        self.assertIn("in 5 entries", zel("zip", "list", "a.zip"))

    def test_the_deflate_data_of_an_entry_is_plain_deflate(self):
        zel("zip", "create", "a.zip", "tree")
        with zipfile.ZipFile("a.zip") as archive, open("a.zip", "rb") as file:
            info = archive.getinfo("tree/text.txt")
            file.seek(info.header_offset + 30 + len(info.filename.encode()))
            data = zlib.decompressobj(wbits=-15).decompress(file.read(info.compress_size))
        self.assertEqual(data, contents()["tree/text.txt"])

    def test_we_read_what_python_writes(self):
        for method in (zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED):
            for level in (0, 1, 9):
                with zipfile.ZipFile("a.zip", "w", method, compresslevel=level) as archive:
                    archive.comment = b"PK\5" * 40
                    for name, data in contents().items():
                        archive.writestr(name, data)
                    archive.mkdir("folder") if hasattr(archive, "mkdir") else archive.writestr("folder/", b"")
                zel("zip", "test", "a.zip")
                zel("zip", "extract", "a.zip", "--to", "out", "--overwrite")
                self.assertEqual(self.read_tree("out"), contents())
                self.assertTrue(os.path.isdir("out/folder"))
        shutil.rmtree("out")
        zel("zip", "extract", "a.zip", "tree/" + "one", "--to", "out")
        self.assertEqual(self.read_tree("out"), {"tree/one": b"x"})

    def test_extract_writes_nothing_that_it_should_not(self):
        bad = ["../evil", "a/../../evil", "/evil", "\\evil", "C:/evil", "C:evil", "a:stream", "NUL", "a/con.txt",
               "com1 .x", "lpt9", "evil.", "evil ", "a/.. /evil", "..\\evil", "\x01", "a*", "CONIN$", "COM²", "./x"]
        for name in bad:
            with zipfile.ZipFile("a.zip", "w") as archive:
                archive.writestr("good", b"")
                info = zipfile.ZipInfo()
                info.filename = name
                archive.writestr(info, b"evil")
            output = zel("zip", "extract", "a.zip", "--to", "out", status=1)
            self.assertIn("is not extracted", output, name)
            self.assertFalse(os.path.exists("out"), name)
        with zipfile.ZipFile("a.zip", "w") as archive:
            archive.writestr("tree/one", b"from the archive")
        self.assertIn("Zel", zel("zip", "extract", "a.zip", status=1))
        self.assertEqual(self.read_tree("tree")["one"], b"x")
        zel("zip", "extract", "a.zip", "--overwrite")
        self.assertEqual(self.read_tree("tree")["one"], b"from the archive")

    def test_failures_leave_no_half_files(self):
        zel("zip", "create", "a.zip", "tree")
        with open("a.zip", "rb") as file:
            data = bytearray(file.read())
        with zipfile.ZipFile("a.zip") as archive:
            info = archive.getinfo("tree/text.txt")
        data[info.header_offset + 30 + len(info.filename) + 5] ^= 0xFF
        with open("a.zip", "wb") as file:
            file.write(data)
        for command in (["test", "a.zip"], ["extract", "a.zip", "tree/text.txt", "--overwrite"]):
            self.assertIn("CException"[1:], zel("zip", *command, status=1))
        self.assertEqual(self.read_tree("tree"), {k[5:]: v for k, v in contents().items()})
        self.assertIn("Error 2", zel("zip", "create", "b.zip", "tree", "missing", status=1))
        self.assertFalse(os.path.exists("b.zip"))
        zel("zip", "create", "a.zip", "tree", status=1)
        zel("zip", "create", "a.zip", ".", "--overwrite", status=0)
        with zipfile.ZipFile("a.zip") as archive:
            before = archive.namelist()
        zel("zip", "delete", "a.zip", "tree/one", "missing", status=1)
        zel("zip", "add", "a.zip", "tree/one", "missing", status=1)
        with zipfile.ZipFile("a.zip") as archive:
            self.assertEqual(archive.namelist(), before)
        zel("zip", "frobnicate", status=2)

    def test_updates_lose_nothing(self):
        with zipfile.ZipFile("many.zip", "w") as archive:
            for i in range(65_540):
                archive.writestr(f"{i}", b"")
        with open("many.zip", "rb") as file:
            before = file.read()
        zel("zip", "delete", "many.zip", "5", status=1)
        with open("many.zip", "rb") as file:
            self.assertEqual(file.read(), before)
        os.mkdir("[1,2]")
        zel("zip", "create", "a.zip", "[1,2]")
        with zipfile.ZipFile("a.zip") as archive:
            self.assertEqual(archive.namelist(), ["[1,2]/"])

    def test_gzip_both_ways(self):
        for name, data in contents().items():
            zel("gzip", name)
            with gzip.open(name + ".gz") as file:
                self.assertEqual(file.read(), data)
            with gzip.open("python.gz", "wb") as file:
                file.write(data)
            zel("gunzip", "python.gz", "back", "--overwrite")
            with open("back", "rb") as file:
                self.assertEqual(file.read(), data)
            os.remove("python.gz")
        with open("cut.gz", "wb") as file:
            file.write(gzip.compress(b"text" * 1000)[:-5])
        self.assertIn("'-5'", zel("gunzip", "cut.gz", status=1))
        self.assertFalse(os.path.exists("cut"))
        zel("gunzip", "back", status=1)
        noise = random.Random(2).randbytes(200_000)
        for first in (b"a", noise):
            with open("two.gz", "wb") as file:
                file.write(gzip.compress(first) + gzip.compress(first))
            self.assertIn("goes on behind", zel("gunzip", "two.gz", status=1))
            with open("one.gz", "wb") as file:
                file.write(gzip.compress(noise))
            zel("gunzip", "one.gz", "back", "--overwrite")


def openssl(*arguments, status=0):
    run = subprocess.run(["openssl", *arguments], capture_output=True, stdin=subprocess.DEVNULL)
    assert run.returncode == status, run.stderr.decode()
    return run.stdout


def write(name, data):
    with open(name, "wb") as file:
        file.write(data)


def read(name):
    with open(name, "rb") as file:
        return file.read()


class Secrets(ZelTest):
    def test_encryption_both_ways(self):
        zel("keygen", "key")
        key = read("key")
        self.assertEqual(len(key), 32)
        zel("keygen", "key", status=1)
        zel("protect", "key", "sealed", "--entropy", "tree/one")
        cipher = ["enc", "-aes-256-cbc", "-K", key.hex(), "-iv"]
        for name, data in contents().items():
            zel("encrypt", name, "--key", "key")
            written = read(name + ".enc")
            write("body", written[16:])
            self.assertEqual(openssl(*cipher, written[:16].hex(), "-d", "-in", "body"), data)
            vector = bytes(range(16))
            write("theirs.enc", vector + openssl(*cipher, vector.hex(), "-in", name))
            zel("decrypt", "theirs.enc", "back", "--key", "sealed", "--sealed", "--entropy", "tree/one", "--overwrite")
            self.assertEqual(read("back"), data)
            os.remove(name + ".enc")
            zel("encrypt", name, "--key", "key")
            self.assertNotEqual(read(name + ".enc"), written)
        write("other", bytes(32))
        for damaged, used in ((written, "other"), (written[:-1], "key"), (written[:10], "key"), (written[:16], "key")):
            write("damaged.enc", damaged)
            zel("decrypt", "damaged.enc", "--key", used, status=1)
            self.assertFalse(os.path.exists("damaged"))
        zel("decrypt", "damaged.enc", "--key", "damaged.enc", status=1)
        zel("decrypt", "damaged.enc", "--key", "sealed", "--sealed", status=1)

    def test_digests(self):
        for name in ("md5", "sha1", "sha256", "sha384", "sha512"):
            lines = zel("hash", "--algorithm", name, *contents()).splitlines()
            expected = [f"{hashlib.new(name, data).hexdigest()}  {path}" for path, data in contents().items()]
            self.assertEqual(lines, expected)

    def test_sealing(self):
        for data in (b"", b"secret" * 1000):
            write("data", data)
            for extra in ([], ["--machine"]):
                zel("protect", "data", "data.sealed", "--overwrite", *extra)
                zel("unprotect", "data.sealed", "back", "--overwrite")
                self.assertEqual(read("back"), data)
        zel("unprotect", "data.sealed", "other", "--entropy", "data", status=1)
        self.assertFalse(os.path.exists("other"))

    def test_signatures_both_ways(self):
        name = f"zel test {os.getpid()}"
        for bits in ("0", "1024", "2047"):
            zel("container", "create", name, "--bits", bits, status=1)
        zel("container", "create", name)
        try:
            zel("container", "create", name, status=1)
            zel("container", "export", name, "public.der")
            openssl("rsa", "-pubin", "-inform", "DER", "-in", "public.der", "-out", "public.pem")
            openssl("genrsa", "-out", "private.pem", "2048")
            openssl("rsa", "-in", "private.pem", "-pubout", "-outform", "DER", "-out", "theirs.der")
            for file in contents():
                for digest in ("sha1", "sha256"):
                    zel("sign", file, "signature", "--container", name, "--algorithm", digest, "--overwrite")
                    openssl("dgst", "-" + digest, "-verify", "public.pem", "-signature", "signature", file)
                    zel("verify", file, "signature", "--container", name, "--algorithm", digest)
                    zel("verify", file, "signature", "--public-key", "theirs.der", status=1)
                    openssl("dgst", "-" + digest, "-sign", "private.pem", "-out", "theirs", file)
                    zel("verify", file, "theirs", "--public-key", "theirs.der", "--algorithm", digest)
            zel("verify", "public.der", "signature", "--container", name, status=1)
            # An empty name is not the user's default container, which contains keys of other programs.
            zel("container", "delete", "", status=1)
            zel("container", "create", "", status=1)
            zel("container", "export", "", "public.der", "--overwrite", status=1)
            zel("sign", "public.der", "signature", "--container", "", "--overwrite", status=1)
            zel("verify", "public.der", "signature", status=1)
        finally:
            zel("container", "delete", name)


GOOD = """<?xml version="1.0" encoding="utf-8"?>
<!-- <add name="not this"/> -->
<configuration>
  <configSections>
    <sectionGroup name="zel">
      <section name="zel.diagnostics" type="Zel.Core.Diagnostics.Configuration.ZelDiagnosticsSection,Zel.Core"/>
    </sectionGroup>
  </configSections>
  <zel><zel.diagnostics logDirectory="%TEMP%"/></zel>
  <appSettings><anything goes="here"/></appSettings>
  <system.diagnostics>
    <sources>
      <source name="App" switchName="S" propagate="TRUE" inherit="False">
        <listeners><add name="log"/><add name="out"/></listeners>
      </source>
      <source name="B"><switchValue>Warning,ActivityTracing 64</switchValue></source>
    </sources>
    <switches><add name="S" value="Verbose"/></switches>
    <sharedListeners>
      <add name="log" type="FileLog" initializeData="%LOGDIRECTORY%\\a &gt; %USERNAME% %%.log" maximumFileSize="1048576"
           maximumNumberOfFiles="5" countFailures="true"/>
      <add name="out" type="Console"/><add name="plain"/>
      <add name="etw" type="EventProvider" initializeData="{8E3A52E4-6E20-4A8C-9B0B-0B8A6B6E4D01}"/>
    </sharedListeners>
  </system.diagnostics>
</configuration>
"""

# The text that is replaced in the good file, its replacement, and the line and a part of the finding.
SUSPICIOUS = [
    ('maximumFileSize="1048576"', 'maximumFileSize="100 KB"', 20, "is read as 100"),
    ('maximumFileSize="1048576"', 'maximumFileSize="0"', 20, "the first event fails"),
    ('maximumFileSize="1048576"', 'maximumfilesize="1048576"', 20, "did you mean 'maximumFileSize'?"),
    ('maximumFileSize="1048576"', 'maximumFileSize="99999999999999999999"', 20, "is read as"),
    ('maximumNumberOfFiles="5"', 'maximumNumberOfFiles="2k"', 21, "is read as 2"),
    ('maximumNumberOfFiles="5"', 'maximumNumberOfFiles="x"', 21, "is read as 0: the first event fails"),
    ('maximumNumberOfFiles="5"', 'maximumNumberOfFiles="-1"', 21, "is read as 4294967295"),
    ('countFailures="true"', 'countFailures="yes"', 21, "is read as false"),
    ('countFailures="true"', 'countFailure="true"', 21, "did you mean 'countFailures'?"),
    ('type="FileLog"', 'type="filelog"', 20, "writes to standard output; did you mean 'FileLog'?"),
    ('type="FileLog"', 'type="File&#76;og" color="red"', 20, "attribute 'color' of 'add' is not read"),
    ('value="Verbose"', 'value="Verbos"', 18, "did you mean 'Verbose'?"),
    ('value="Verbose"', 'value="verbose"', 18, "level 'verbose' is not known"),
    ('value="Verbose"', 'level="Verbose"', 18, "has no value"),
    ('value="Verbose"', 'value=""', 18, "read as Off"),
    ("Warning,ActivityTracing 64", "Warning;Error", 16, "level 'Warning;Error' is not known"),
    ('propagate="TRUE"', 'propagate="1"', 13, "propagate '1' is read as false"),
    ('switchName="S"', 'switchName="s"', 13, "there is no switch 's': the first event fails; did you mean 'S'?"),
    ('switchName="S"', 'switchName="S"\n switchValue="All"', 13, "both switchName and switchValue"),
    ('<add name="log"/>', '<add name="lok"/>', 14, "there is no shared listener 'lok'"),
    ('<add name="log"/>', '<add name="log" type="FileLog"/>', 14, "only the name of a listener counts"),
    ('<add name="out"/></listeners>', '<remove name="out"/></listeners>', 14, "like every other entry"),
    ("<add name=\"plain\"/>", '<add name="out"/>', 22, "'out' is not read: line 22"),
    ("<add name=\"plain\"/>", "<add/>", 22, "has no attribute 'name'"),
    ("%USERNAME%", "%COMPUTERNAME%", 20, "the first event fails"),
    ('logDirectory="%TEMP%"', 'logDirectroy="%TEMP%"', 9, "did you mean 'logDirectory'?"),
    ('logDirectory="%TEMP%"', "", 20, "%LOGDIRECTORY% stands for nothing"),
    ("ZelDiagnosticsSection,", "zelDiagnosticsSection,", 9, "is not read: configSections does not declare it"),
    ("{8E3A52E4-", "{8E3A52E4", 23, "is no GUID"),
    ("<switches>", "<switchs/>\n<switches>", 18, "did you mean 'switches'?"),
    ("<switches>", "<sources/><switches>", 18, "another value is taken"),
    ("<appSettings>", "<System.Diagnostics/><appSettings>", 10, "did you mean 'system.diagnostics'?"),
]


class Configurations(ZelTest):
    def check(self, text, status, encoding="utf-8"):
        with open("c.config", "w", encoding=encoding, newline="") as file:
            file.write(text)
        return zel("config", "check", "c.config", status=status)

    def test_a_good_file_is_good_in_every_encoding(self):
        for encoding in ("utf-8", "utf-8-sig", "utf-16"):
            for end in ("\n", "\r\n"):
                text = GOOD.replace("\n", end).replace("utf-8", "utf-16" if encoding == "utf-16" else "utf-8")
                output = self.check(text, None, encoding)
                if encoding == "utf-16" and "Invalid XML" in output:
                    continue  # Wine 10's parser reads bytes as UTF-8 only; Windows' has both
                self.assertIn("nothing suspicious", output)
        self.check(GOOD, 0)
        shown = zel("config", "show", "c.config")
        for part in ("source App: switch S, listener log, listener out", "switch S: level Verbose\n",
                     "source B: level Warning, ActivityTracing, 64"):
            self.assertIn(part, shown.replace("\r", ""))
        zel("config", "check")  # its own
        self.assertIn("There is no file", zel("config", "check", "missing.config", status=1))
        self.check("<configuration>", 1)

    def test_every_trap_is_named_with_its_line(self):
        for old, new, line, part in SUSPICIOUS:
            self.assertIn(old, GOOD)
            text = GOOD.replace(old, new, 1)
            output = self.check(text, 1)
            found = [row for row in output.splitlines() if row.startswith(f"line {line}: ") and part in row]
            self.assertEqual(len(found), 1, f"{new}: {output}")
            named = zel("config", "show", "c.config", status=None)  # what it cannot read it refuses
            self.assertIn(found[0], named)

    def test_sections_in_files_of_their_own(self):
        begin, end = GOOD.index("<system.diagnostics>"), GOOD.index("</configuration>")
        section = GOOD[begin:end].replace('value="Verbose"', 'value="Loud"')
        with open("own.config", "w") as file:
            file.write(section)
        output = self.check(GOOD[:begin] + '<system.diagnostics configSource="own.config"/>' + GOOD[end:], 1)
        self.assertIn("own.config, line 8: level 'Loud' is not known", output)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
