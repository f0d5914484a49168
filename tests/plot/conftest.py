"""The gme-plot suite needs matplotlib and numpy: without them it is reported as skipped."""
import importlib.util

import pytest


def pytest_configure(config):
    for module in ("matplotlib", "numpy"):
        if importlib.util.find_spec(module) is None:
            pytest.exit(f"skipped: {module} is missing "
                        "(Debian: apt-get install python3-matplotlib python3-numpy)",
                        returncode=77)
