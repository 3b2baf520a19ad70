#!/bin/sh
# versions_test.sh ROOT VERSION: the Debian changelog, the documents and the examples have the version of the project.
set -eu
cd "$1"
version=$2
failed=0
# expect FILE FOUND EXPECTED
expect() {
    if [ "$2" != "$3" ]; then
        echo "$1: version \"$2\", expected \"$3\"" >&2
        failed=1
    fi
}

expect packaging/debian/changelog "$(sed -n '1s/.*(\([^-)]*\)-[^)]*).*/\1/p' packaging/debian/changelog)" "$version"
expect CHANGELOG.md "$(grep -oE '^## \[[0-9.]+\]|The first release will be [0-9.]+[0-9]' CHANGELOG.md | head -n 1 | tr -dc '0-9.')" "$version"

# find_package requires the major and minor version.
packages=$(grep -rhoE 'find_package\(ZtaAudioSamplesEngine [0-9.]+' README.md docs examples tests/packaging | sed 's/.* //' | sort -u)
expect "find_package in documents and examples" "$packages" "${version%.*}"
soname=$(grep -rhoE 'libZtaAudioSamplesEngine\.so\.[0-9]+' README.md docs/*.md examples | sed 's/.*\.//' | sort -u)
expect "the SONAME in documents and examples" "$soname" "${version%%.*}"
exit "$failed"
