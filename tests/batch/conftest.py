"""The gme-batch suite needs GNU parallel: without it the suite is reported as skipped."""
import subprocess

import pytest


def pytest_configure(config):
    try:
        found = subprocess.run(["parallel", "--version"], capture_output=True, text=True)
        gnu = found.stdout.startswith("GNU parallel")
    except OSError:
        gnu = False
    if not gnu:
        pytest.exit("skipped: GNU parallel is missing (Debian: apt-get install parallel)",
                    returncode=77)
