"""The gme-batch suite needs GNU parallel: without it the suite is reported as skipped."""
import subprocess

import pytest


def pytest_configure(config):
    found = subprocess.run("parallel --version", shell=True, capture_output=True, text=True)
    if not found.stdout.startswith("GNU parallel"):
        pytest.exit("skipped: GNU parallel is missing (Debian: apt-get install parallel)",
                    returncode=77)
