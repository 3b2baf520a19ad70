#!/bin/sh
# A project that uses the installed package adds validations of its targets. The correct targets pass, the wrong ones
# fail.
set -eu
rm -rf build
"$CMAKE" -S "$(dirname "$0")/validation" -B build -DCMAKE_PREFIX_PATH="$PREFIX" -DCMAKE_CXX_COMPILER="$CXX" \
    -DPLUGIN="$PREFIX/$DOCDIR/examples/plugin/host_plugin.cpp" > log
"$CMAKE" --build build --parallel 2 >> log || { cat log; exit 1; }

"$(dirname "$CMAKE")/ctest" --test-dir build > results || true
for line in 'validation/Zta::AudioSamplesEngine .*Passed' 'module-classes .*Passed' 'validation/my_host_plugin .*Passed' \
    'validation/my_module .*\*\*\*Failed' 'host/my_module .*\*\*\*Failed'; do
    grep -q -e "$line" results || { echo "missing: $line"; cat results; exit 1; }
done
test "$(grep -c '^ *[0-9]*/5 Test' results)" -eq 5
grep -q 'testsuites name="ztvalidate" tests="8"' build/classes.xml

# A wrong call ends the configuration with a message.
for call in 'zta_add_validation()' 'zta_add_validation(TARGET no_such)' 'zta_add_host_validation(TARGET my_module MORE)'; do
    if "$CMAKE" -S "$(dirname "$0")/validation" -B wrong -DCMAKE_PREFIX_PATH="$PREFIX" -DCMAKE_CXX_COMPILER="$CXX" \
        -DPLUGIN="$PREFIX/$DOCDIR/examples/plugin/host_plugin.cpp" -DCALL="$call" > wrong.log 2>&1; then
        echo "accepted: $call"
        exit 1
    fi
    grep -q 'zta_add_.*validation: ' wrong.log
done
