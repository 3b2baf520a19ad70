#!/bin/sh
# The installed validator finds its fixtures and the module of its own installation, and detects each fault.
set -eu
cd "$PREFIX"
bin/ztvalidate --self-test --only-failed
