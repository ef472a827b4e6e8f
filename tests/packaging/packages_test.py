"""Tests of what is shipped: packages_test.py BUILD_FOLDER [UNITTEST_ARGUMENT...]

Makes the packages of a build, uses the zip as a host programmer and an engine author would, and
installs, upgrades and removes the MSI in a Wine prefix of its own.
"""

import os
import shutil
import subprocess
import sys
import unittest
import zipfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
PROJECT = HERE.parent.parent
BUILD = Path(sys.argv[1]).resolve()
WORK = BUILD / "tests/packaging"
PREFIX = WORK / "wine"
DRIVE = PREFIX / "win10/drive_c"
INSTALLED = DRIVE / "Program Files/Brivane/ModeChange"
DATA = DRIVE / "ProgramData/Brivane/Kestrola"

# One file of each feature.
LIBRARY = "bin/ModeChange.dll"
NOTEBOOK = "bin/modectl.exe"
TOOLS = "bin/showmodes.exe"
DEVELOPMENT = "include/velto/mode_change.h"


def run(*command, **options):
    result = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, **options)
    output = result.stdout.decode(errors="replace").replace("\r\n", "\n")
    if result.returncode != 0:
        raise AssertionError(f"{command} ended with {result.returncode}:\n{output}")
    return output


def run_windows(program, *arguments):
    environment = os.environ | {"VELTO_WINE_FOLDER": str(PREFIX), "VELTO_WINDOWS": "win10",
                                "VELTO_LOCALE": "en_US.UTF-8"}
    return run(PROJECT / "scripts/run-under-wine.sh", program, *arguments, env=environment)


def make_packages(version=None):
    """Returns the folder with the zip and the MSI."""
    folder = WORK / f"packages-{version or 'own'}"
    shutil.rmtree(folder, ignore_errors=True)
    options = ["-D", f"CPACK_PACKAGE_VERSION={version}"] if version else []
    run("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", folder, "-C", "Release",
        *options, cwd=BUILD)
    return folder


def only(folder, pattern):
    [found] = folder.glob(pattern)
    return found


def files_below(folder):
    return sorted(str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file())


class PackagesTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(WORK / "zip", ignore_errors=True)
        cls.packages = make_packages()
        with zipfile.ZipFile(only(cls.packages, "*.zip")) as archive:
            archive.extractall(WORK / "zip")
        cls.tree = only(WORK / "zip", "*")

    # --- The zip ----------------------------------------------------------------------------------

    def test_zip_runs_where_it_was_unpacked(self):
        modes = run_windows(self.tree / NOTEBOOK, "list")
        self.assertIn("Eco mode", modes)
        self.assertIn("Cradle mode", modes)

    def test_a_project_of_its_own_builds_against_the_zip(self):
        build = WORK / "starter"
        shutil.rmtree(build, ignore_errors=True)
        run("cmake", "-S", self.tree / "samples/starter", "-B", build, "-G", "Ninja",
            f"-DCMAKE_TOOLCHAIN_FILE={PROJECT}/cmake/mingw-gcc.toolchain.cmake",
            f"-DVeltoModeChange_DIR={self.tree}/lib/cmake/VeltoModeChange")
        run("cmake", "--build", build)

        bin_folder = build / "installed"
        shutil.copytree(self.tree / "bin", bin_folder)
        shutil.copy(build / "host.exe", bin_folder)
        self.assertEqual(run_windows(bin_folder / "host.exe").splitlines(),
                         ["Normal mode: OFF", "Eco mode: OFF", "Cradle mode: OFF",
                          "Custom mode: OFF", "Wireless Off mode: OFF"])

        # The library takes the starter's engine in place of one of its own.
        shutil.copy(build / "Engine.dll", bin_folder / "Engines/VisualEffects.dll")
        shown = run_windows(bin_folder / "modectl.exe", "on", "Eco mode", "--no-confirm")
        self.assertIn("ON", shown)
        run_windows(bin_folder / "modectl.exe", "off", "Eco mode", "--no-confirm")
        shutil.rmtree(DATA.parent)

    def test_microsofts_import_library_names_every_export(self):
        names = run("llvm-nm", "--extern-only", self.tree / "lib/ModeChange.lib")
        exports = (PROJECT / "src/api/ModeChange.def").read_text().split("EXPORTS")[1].split()
        self.assertEqual(len(exports), 8)
        for export in exports:
            self.assertIn(f" T {export}\n", names)

    # --- The MSI ----------------------------------------------------------------------------------

    def msiexec(self, *arguments):
        """Silently; a failure shows the installer's log."""
        log = WORK / "msiexec.log"
        try:
            run_windows("msiexec", *arguments, "/qn", "/l*v", windows_path(log))
        except AssertionError as error:
            text = log.read_text(errors="replace") if log.exists() else "(no log)"
            raise AssertionError(f"{error}\n{text}") from None

    def install(self, msi, *properties):
        self.msiexec("/i", windows_path(msi), *properties)

    def remove(self, msi):
        self.msiexec("/x", windows_path(msi))

    def assert_installed(self, *present, absent=()):
        for name in present:
            self.assertTrue((INSTALLED / name).is_file(), name)
        for name in absent:
            self.assertFalse((INSTALLED / name).exists(), name)

    def test_msi_installs_runs_and_leaves_nothing_but_what_the_user_saved(self):
        msi = only(self.packages, "*.msi")
        self.install(msi)
        self.addCleanup(lambda: shutil.rmtree(DATA.parent, ignore_errors=True))
        self.assert_installed(LIBRARY, NOTEBOOK, TOOLS, absent=[DEVELOPMENT])
        self.assertTrue(DATA.is_dir())
        self.assertEqual(files_below(DATA), [])

        modectl = r"C:\Program Files\Brivane\ModeChange\bin\modectl.exe"
        self.assertIn("Eco mode", run_windows(modectl, "list"))
        run_windows(modectl, "on", "Eco mode", "--no-confirm")
        run_windows(modectl, "off", "Eco mode", "--no-confirm")
        status = DATA / "ModeChange.Status.ini"
        saved = status.read_bytes()
        self.assertIn(b"Eco=0", saved)

        self.remove(msi)
        self.assertFalse(INSTALLED.exists(), files_below(INSTALLED) if INSTALLED.exists() else "")
        self.assertEqual(status.read_bytes(), saved)

    def test_msi_without_anything_saved_leaves_nothing(self):
        msi = only(self.packages, "*.msi")
        self.install(msi, "ADDLOCAL=ALL")
        self.assert_installed(LIBRARY, NOTEBOOK, TOOLS, DEVELOPMENT, "lib/ModeChange.lib",
                              "lib/cmake/VeltoModeChange/VeltoModeChangeConfig.cmake")
        self.assertEqual(files_below(INSTALLED), files_below(self.tree))
        self.remove(msi)
        self.assertFalse(INSTALLED.parent.exists())
        self.assertFalse(DATA.parent.exists())

    def test_msi_installs_single_features(self):
        msi = only(self.packages, "*.msi")
        self.install(msi, "ADDLOCAL=Library,Development")
        self.assert_installed(LIBRARY, DEVELOPMENT, absent=[NOTEBOOK, TOOLS])
        self.remove(msi)

    def test_msi_installs_into_another_folder(self):
        msi = only(self.packages, "*.msi")
        self.install(msi, r"INSTALLDIR=C:\Other place\Modes")
        self.assertTrue((DRIVE / "Other place/Modes" / LIBRARY).is_file())
        self.assertFalse(INSTALLED.exists())
        remembered = run_windows("reg", "query", r"HKLM\Software\Brivane\ModeChange")
        self.assertIn("C:\\Other place\\Modes\\\n", remembered)
        self.remove(msi)
        self.assertFalse((DRIVE / "Other place/Modes").exists())

    def test_msi_of_a_newer_version_replaces_the_older(self):
        newer = only(make_packages("0.9.9"), "*.msi")
        older = only(self.packages, "*.msi")
        self.install(older)
        self.install(newer)
        self.assert_installed(LIBRARY, NOTEBOOK)
        installed = run_windows("reg", "query",
                                r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall", "/s")
        self.assertEqual(installed.count("ModeChange\n"), 1, installed)
        self.assertIn("0.9.9", installed)
        with self.assertRaises(AssertionError):
            self.install(older)
        self.assert_installed(LIBRARY)
        self.remove(newer)
        self.assertFalse(INSTALLED.exists())

    def test_msi_gives_the_data_folder_the_librarys_access_list(self):
        # Wine's installer does not apply it; what Windows' installer reads is the table.
        msi = only(self.packages, "*.msi")
        rows = run("msiinfo", "export", msi, "MsiLockPermissionsEx").splitlines()[3:]
        code = (PROJECT / "src/config/DataFile.cpp").read_text()
        access = code.split("kAccess =")[1].split('"')[1]
        self.assertEqual(rows, [f"DataFolder\tDataFolder\tCreateFolder\t{access}\t"])
        self.assertIn("DataFolder\tDataFolder", run("msiinfo", "export", msi, "CreateFolder"))
        self.assertIn("DataFolder\tVendorData\tKestrola", run("msiinfo", "export", msi, "Directory"))


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]], verbosity=2)
