#!/bin/sh
# Runs the pytest suite of one test folder on the system interpreter; without pytest the
# suite is reported as skipped (status 77, which CTest shows as "Skipped").
# usage: run_pytest.sh FOLDER
if ! /usr/bin/python3 -c 'import pytest' 2>/dev/null; then
    echo "skipped: pytest is missing (Debian: apt-get install python3-pytest)"
    exit 77
fi
exec /usr/bin/python3 -m pytest -q -p no:cacheprovider --rootdir "$1" "$1"
