#!/usr/bin/env python3
"""The packages from outside: package_test.py BUILD [TOOLCHAIN LAUNCHER]. Makes them from the build folder, unpacks them
into an empty prefix, and builds and runs clients in C and C++ against that, found by CMake and by pkg-config."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
BUILD = pathlib.Path()
TOOLCHAIN = None
LAUNCHER = []
EXPECTED = {"c_client": f"{2**200:x}", "cpp_client": f"{2**200 - 1:x}"}


def run(*command, **options):
    done = subprocess.run([str(part) for part in command], capture_output=True, text=True, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command}: status {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout.strip()


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        top = pathlib.Path(cls.folder.name)
        packages, cls.root = top / "packages", top / "root"
        run("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", packages)
        cls.root.mkdir()
        if TOOLCHAIN:
            (archive,) = packages.glob("kvnum-*-win64.zip")
            run("cmake", "-E", "tar", "xf", archive, cwd=cls.root)
            (cls.prefix,) = cls.root.iterdir()
        else:
            cls.debs = {path.name.split("_")[0]: path for path in packages.glob("*.deb")}
            for path in cls.debs.values():
                run("dpkg-deb", "-x", path, cls.root)
            cls.prefix = cls.root / "usr"

    def test_files(self):
        found = {str(p.relative_to(self.prefix)) for p in self.prefix.rglob("*") if not p.is_dir()}
        names = {name.rsplit("/", 1)[-1] for name in found}
        wanted = {"kvnum.h", "kvnum.hpp", "frame.h", "kvnum.pc", "kvnumConfig.cmake"}
        if TOOLCHAIN:
            wanted |= {"kvnum.dll", "kvnum.exe", "libkvnum.dll.a", "kvnum.def", "README.md"}
        else:
            wanted |= {"libkvnum.so", "libkvnum.so.0", "kvnum"}
            self.assertEqual(set(self.debs), {"libkvnum0", "libkvnum-dev", "kvnum"})
            listing = run("dpkg-deb", "-c", self.debs["libkvnum0"])
            self.assertIn("libkvnum.so.0", listing)
            self.assertNotIn("kvnum.h", listing)
        self.assertLessEqual(wanted, names)

    def test_clients_by_cmake(self):
        with tempfile.TemporaryDirectory() as build:
            toolchain = [f"-DCMAKE_TOOLCHAIN_FILE={TOOLCHAIN}", f"-DCMAKE_FIND_ROOT_PATH={self.prefix}"] if TOOLCHAIN else []
            run("cmake", "-S", HERE, "-B", build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={self.prefix}", *toolchain)
            run("cmake", "--build", build)
            for client in ("c_client", "cpp_client"):
                self.check_client(pathlib.Path(build) / (client + (".exe" if TOOLCHAIN else "")))

    def check_client(self, client):
        if TOOLCHAIN:  # beside the library
            beside = self.prefix / "bin" / client.name
            beside.write_bytes(client.read_bytes())
            client = beside
        self.assertEqual(run(*LAUNCHER, client, env=self.environment()), EXPECTED[client.stem])

    def environment(self):
        library = next(self.prefix.rglob("libkvnum.so.0"), None)
        return dict(os.environ, LD_LIBRARY_PATH=str(library.parent)) if library else None

    def test_clients_by_pkg_config(self):
        if TOOLCHAIN:
            self.skipTest("natively only")
        (folder,) = {p.parent for p in self.prefix.rglob("kvnum.pc")}
        flags = run("pkg-config", "--cflags", "--libs", "kvnum", env=dict(os.environ, PKG_CONFIG_PATH=str(folder)))
        with tempfile.TemporaryDirectory() as build:
            for client, compiler, source in (("c_client", ["gcc", "-std=c99"], "client.c"),
                                             ("cpp_client", ["g++", "-std=c++20"], "client.cpp")):
                run(*compiler, HERE / source, "-o", pathlib.Path(build) / client, *flags.split())
                self.check_client(pathlib.Path(build) / client)

    def test_program(self):
        program = self.prefix / "bin" / ("kvnum.exe" if TOOLCHAIN else "kvnum")
        self.assertEqual(run(*LAUNCHER, program, "pi", "20", "--quiet"), "3.14159265358979323846")


if __name__ == "__main__":
    BUILD = pathlib.Path(sys.argv[1]).resolve()
    if len(sys.argv) > 2:
        TOOLCHAIN, LAUNCHER = str(pathlib.Path(sys.argv[2]).resolve()), [str(pathlib.Path(p).resolve()) for p in sys.argv[3:]]
    result = unittest.TextTestRunner(verbosity=1).run(unittest.defaultTestLoader.loadTestsFromTestCase(Package))
    # The closing lines that ./test counts.
    bad = len(result.failures) + len(result.errors)
    print(f"[  PASSED  ] {result.testsRun - bad - len(result.skipped)} tests.")
    if bad:
        print(f"[  FAILED  ] {bad} tests, listed below:")
    sys.exit(bad != 0)
