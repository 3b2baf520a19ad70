#!/bin/sh
# check_layers_test.sh CHECK_LAYERS: tests that CHECK_LAYERS reports each violation of a rule, and nothing else.
set -eu
. "${0%/*}/checker.sh"

# expect FILE INCLUDE VERDICT: runs the checker on a tree with one file, which has this line.
expect() {
    rm -rf "${root:?}"/*
    mkdir -p "$root/$(dirname "$1")"
    printf '#pragma once\n%s\n' "$2" > "$root/$1"
    expect_verdict "$1 with $2" "$3"
}

expect src/engine/a.cpp '#include "kernels/fade.h"' fine
expect src/engine/a.cpp '#include "engine/deep/b.h"' fine
expect src/engine/a.cpp '#include <zta/status.h>' fine
expect src/engine/a.cpp '#include <vector>' fine
expect src/kernels/loops/a.h '#include <immintrin.h>' fine
expect src/signal/a.h '#include "support/b.h"' fine
expect host/a.cpp '#include <sys/mman.h>' fine
expect tests/unit/a.cpp '#include "engine/b.h"' fine
expect src/component/a.cpp '#include "version_values.h"' fine
expect host/a.h '#include "a.h"' fine
expect examples/a.cpp '#include <zta/host/b.h>' fine

expect src/engine/a.cpp '#include "kernels/loops/loops.h"' \
    'src/engine/a.cpp:2: src/engine may not include src/kernels/loops: kernels/loops/loops.h'
expect src/kernels/a.cpp '  #  include "engine/b.h"' 'src/kernels/a.cpp:2: src/kernels may not include src/engine: engine/b.h'
expect src/kernels/loops/a-inl.h '#include <zta/status.h>' \
    'src/kernels/loops/a-inl.h:2: src/kernels/loops may not include include: zta/status.h'
expect src/signal/a-inl.h '#include "kernels/loops/loops.h"' \
    'src/signal/a-inl.h:2: src/signal may not include src/kernels/loops: kernels/loops/loops.h'
expect src/kernels/a.h '#include <unistd.h>' 'src/kernels/a.h:2: src/kernels may not include system: unistd.h'
expect include/zta/a.h '#include <sys/types.h>' 'include/zta/a.h:2: include may not include system: sys/types.h'
expect include/zta/a.h '#include "nowhere/a.h"' \
    'include/zta/a.h:2: include may not include an unknown folder: nowhere/a.h'
expect src/engine/a.cpp '#include "version_values.h"' \
    'src/engine/a.cpp:2: src/engine may not include generated: version_values.h'
expect host/a.h '#include "b.h"' 'host/a.h:2: host may not include generated: b.h'
expect src/engine/a.cpp '#include <zta/host/b.h>' 'src/engine/a.cpp:2: src/engine may not include host: zta/host/b.h'
expect tools/ztaudio/a.cpp '#include "component/module.h"' \
    'tools/ztaudio/a.cpp:2: tools/ztaudio may not include src/component: component/module.h'
expect attic/a.cpp '#include <vector>' \
    'attic/a.cpp:1: no rule for this folder: add one to scripts/layers.list'
expect src/engine/readme.txt '' 'check-layers: no sources here'
