#!/bin/sh
# require_packages_test.sh REQUIRE_PACKAGES: tests the script on systems without apt-get and dpkg, which are folders of
# links used as PATH.
set -eu
require=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
path=$work/bin
mkdir "$path"
for name in sh ls id printf grep cat env; do
    ln -s "$(command -v "$name")" "$path/$name"
done

# expect CODE TEXT PACKAGE...: the exit code, and a text that the output must contain, or "" for no output.
expect() {
    code=$1
    text=$2
    shift 2
    status=0
    output=$(PATH=$path "$require" "$@" 2>&1) || status=$?
    if [ -z "$text" ]; then matches=$([ -n "$output" ] || echo yes); else matches=; fi
    if [ -n "$text" ] && printf '%s' "$output" | grep -qF -- "$text"; then matches=yes; fi
    if [ "$status" -ne "$code" ] || [ -z "$matches" ]; then
        echo "$*: expected $code \"$text\", got $status \"$output\"" >&2
        exit 1
    fi
}

# On an empty system, every package is listed.
expect 1 "g++ (command c++)" g++ cmake libsndfile1-dev
expect 1 "cmake (command cmake)" g++ cmake libsndfile1-dev
expect 1 "libsndfile1-dev (header sndfile.h)" g++ cmake libsndfile1-dev
expect 1 "Install them with the package manager of this system." cmake

# Present packages are not listed: their commands exist, or the compiler finds their headers.
printf '#!/bin/sh\n' > "$path/cmake"
chmod +x "$path/cmake"
expect 0 "" cmake
printf '#!/bin/sh\nexec /bin/cat > /dev/null\n' > "$path/c++" # a compiler that finds every header
chmod +x "$path/c++"
expect 0 "" cmake g++ libsndfile1-dev libgtest-dev
printf '#!/bin/sh\nexit 1\n' > "$path/c++" # and one that finds none
expect 1 "libgtest-dev (header gtest/gtest.h)" cmake g++ libgtest-dev

# Without dpkg, packages that have neither command nor header are not checked.
expect 0 "" gstreamer1.0-plugins-base

# With apt-get, the missing packages are installed, and nothing else.
printf '#!/bin/sh\necho "apt-get $*"\n' > "$path/apt-get"
printf '#!/bin/sh\nexec "$@"\n' > "$path/sudo"
chmod +x "$path/apt-get" "$path/sudo"
expect 0 "apt-get install -y -qq --no-install-recommends libgtest-dev" cmake libgtest-dev
expect 0 "" cmake
rm "$path/sudo"
if [ "$(id -u)" -ne 0 ]; then
    expect 1 "Install them with the package manager of this system." libgtest-dev
fi
