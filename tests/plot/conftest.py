"""The gme-plot suite needs matplotlib and numpy: without them it is reported as skipped."""
import pytest

try:
    import matplotlib  # noqa: F401
    import numpy  # noqa: F401
except ImportError as e:
    pytest.exit(f"skipped: {e.name} is missing "
                "(Debian: apt-get install python3-matplotlib python3-numpy)", returncode=77)
