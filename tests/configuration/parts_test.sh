#!/bin/sh
# parts_test.sh CMAKE CXX SOURCE: configures the project on systems that lack packages, and checks the summary of the
# configuration. Needs a package itself only where the summary contains "built".
set -eu
cmake=$1
cxx=$2
source=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A system without any of the optional packages.
without="-DCMAKE_DISABLE_FIND_PACKAGE_SndFile=ON -DCMAKE_DISABLE_FIND_PACKAGE_FFTW3Double=ON -DCMAKE_DISABLE_FIND_PACKAGE_Ebur128=ON
    -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON -DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON
    -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON"

configure() { "$cmake" -S "$source" -B "$work/build" -DCMAKE_CXX_COMPILER="$cxx" "$@" > "$work/log" 2>&1; }
# expect LINE: the last configuration printed this line; blanks count as one.
expect() {
    if ! tr -s ' ' < "$work/log" | grep -qxF -- "$1"; then
        echo "expected the line \"$1\" in:" >&2
        cat "$work/log" >&2
        exit 1
    fi
}

# A part that lacks a package is not built, and the summary names the package. The other parts are built.
# shellcheck disable=SC2086 # the options are words
configure $without
expect " library, reference host built"
expect " tools not built: needs SndFile (Debian package libsndfile1-dev), FFTW3Double (Debian package libfftw3-dev), Ebur128 (Debian package libebur128-dev), CLI11 (Debian package libcli11-dev), nlohmann_json (Debian package nlohmann-json3-dev)"
expect " tests not built: needs GTest (Debian package libgtest-dev)"
expect " benchmarks not built: needs benchmark (Debian package libbenchmark-dev)"
expect " examples built"
"$cmake" --build "$work/build" --target help > "$work/targets"
grep -q ZtaAudioSamplesEngine "$work/targets"
if grep -q -e ztaudio -e unit_tests -e loops_bench "$work/targets"; then
    echo "a part without its packages has targets" >&2
    exit 1
fi

# The same folder, after the packages were installed.
configure -DCMAKE_DISABLE_FIND_PACKAGE_GTest=OFF -DZTA_BUILD_BENCH=OFF
expect " tests built"
expect " benchmarks not built: ZTA_BUILD_BENCH is OFF"

# A part that is ON without its package is an error, which names the package.
if configure -DZTA_BUILD_TOOLS=ON; then
    echo "ZTA_BUILD_TOOLS=ON is accepted without its packages" >&2
    exit 1
fi
tr -s ' \n' '  ' < "$work/log" | grep -qF "ZTA_BUILD_TOOLS=ON needs SndFile (Debian package libsndfile1-dev),"
