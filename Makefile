# The commands of a newcomer and of CI. Each installs what it lacks, builds and runs.
PRESET ?= release
JOBS ?= $(shell nproc)
PREFIX ?= /usr/local
BUILD_PACKAGES = g++ cmake ninja-build git
INSTALL_PACKAGES = $(BUILD_PACKAGES) libsndfile1-dev libfftw3-dev libcli11-dev nlohmann-json3-dev
TEST_PACKAGES = $(INSTALL_PACKAGES) libgtest-dev libbenchmark-dev binutils pkg-config abigail-tools doxygen
DEBIAN_PACKAGES = $(INSTALL_PACKAGES) dpkg-dev debhelper lintian
DEMO_PACKAGES = $(TEST_PACKAGES) alsa-utils
BENCH_PACKAGES = $(BUILD_PACKAGES) pkg-config libbenchmark-dev libfftw3-dev libcli11-dev libswresample-dev libsoxr-dev \
	libsamplerate0-dev libspeexdsp-dev libzita-resampler-dev libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev \
	gstreamer1.0-plugins-base
PERFCHECK_PACKAGES = $(BUILD_PACKAGES) libbenchmark-dev valgrind
TIDY_PACKAGES = $(TEST_PACKAGES) clang clang-tidy
TIDY_LAYERS = src host testing/models tools examples

.PHONY: test demo install package plots status-codes docs abi-accept bench bench-quick peers perfcheck tidy fuzz check \
	emulate mutate coverage faults soak build clean
test: export ZTA_PACKAGES = $(TEST_PACKAGES)
demo: export ZTA_PACKAGES = $(DEMO_PACKAGES)

test: build
	ctest --preset $(PRESET) -j $(JOBS)

demo: build
	scripts/demo build/$(PRESET) build/demo

# Library, headers and tools; no tests, which is what `make test` is for.
install:
	scripts/require-packages $(INSTALL_PACKAGES)
	cmake --preset $(PRESET) -B build/install -DCMAKE_INSTALL_PREFIX="$(PREFIX)" \
		-DZTA_BUILD_TESTS=OFF -DZTA_BUILD_BENCH=OFF -DZTA_BUILD_EXAMPLES=OFF
	cmake --build build/install -j $(JOBS)
	cmake --install build/install

# Debian's packages, in build/packages. CHECK=1 runs the tests on what is packaged, too.
package: export DEB_BUILD_OPTIONS = parallel=$(JOBS) $(if $(CHECK),,nocheck)
package:
	scripts/require-packages $(DEBIAN_PACKAGES) $(if $(CHECK),$(TEST_PACKAGES))
	scripts/make-packages

# The pictures of docs/resampler.md, and the figures that it quotes.
plots: build
	build/$(PRESET)/bin/make_plots docs/plots

# The page of all statuses.
status-codes: build
	build/$(PRESET)/bin/make_status_codes > docs/status-codes.md

# The headers' reference, in build/docs/html.
docs:
	scripts/require-packages doxygen
	scripts/docs

# Takes the binary interface as it is now for the one that is meant: see docs/abi.md.
abi-accept:
	scripts/require-packages $(BUILD_PACKAGES) abigail-tools
	scripts/abi accept

# The library beside its limits and beside other libraries, and docs/performance.md with what comes out. Wants a quiet
# machine for some ten minutes. The quick form prints only.
COMPARE_PEERS = build/bench/bench/peers/compare_peers --json build/bench/results.json \
	--revision "$$(git describe --always --dirty)"

bench: peers
	$(COMPARE_PEERS) --seconds 1.5 --document docs/performance.md

bench-quick: peers
	$(COMPARE_PEERS) --seconds 0.2

peers:
	scripts/require-packages $(BENCH_PACKAGES)
	cmake --preset bench
	cmake --build --preset bench -j $(JOBS) --target compare_peers

# Fails if the library has become slower than it was at the revision BASE.
perfcheck:
	scripts/require-packages $(PERFCHECK_PACKAGES)
	scripts/perfcheck "$(BASE)"

# By Clang's own compile commands: GCC's have options that clang-tidy does not know.
tidy:
	scripts/require-packages $(TIDY_PACKAGES)
	cmake --preset clang
	cmake --build --preset clang --target zta_version_values
	run-clang-tidy -quiet -j $(JOBS) -p build/clang $(patsubst %,'^$(CURDIR)/%/.*\.cpp$$',$(TIDY_LAYERS))

# Each fuzz target for SECONDS seconds; what is found stays in build/fuzz/findings.
SECONDS ?= 60
fuzz:
	scripts/require-packages $(TEST_PACKAGES) clang libclang-rt-14-dev
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS)
	scripts/fuzz build/fuzz $(SECONDS)

# Sanitizers, Valgrind and the readers of source text, one line each. CHECKERS names some of them.
check:
	scripts/require-packages $(TIDY_PACKAGES) valgrind cppcheck
	JOBS=$(JOBS) scripts/check $(CHECKERS)

# The tests as they run on older processors. No emulator knows AVX-512.
emulate: export ZTA_PACKAGES = $(TEST_PACKAGES) qemu-user
emulate: build
	scripts/emulate build/$(PRESET) qemu64 core2duo Nehalem Haswell

# Breaks the library in SAMPLE places, drawn by SEED, one at a time, and counts what the tests notice. A stopped run
# goes on where it was.
mutate:
	scripts/require-packages $(TEST_PACKAGES) python3
	scripts/mutate --sample $(or $(SAMPLE),100) --seed $(or $(SEED),1)

# How much of the library the tests reach, room by room, by those programs that are there for what it does.
COVERAGE_PROGRAMS = unit engine differential faults class_table
coverage:
	scripts/require-packages $(TEST_PACKAGES) gcovr
	cmake --preset coverage
	cmake --build --preset coverage -j $(JOBS) --target $(COVERAGE_PROGRAMS:=_tests)
	scripts/coverage build/coverage $(COVERAGE_PROGRAMS)

# Every host call and every allocation fails once; the last line counts them.
faults: build
	build/$(PRESET)/tests/faults_tests --gtest_brief=1

# All operations at random on two threads, for MINUTES.
soak: build
	build/$(PRESET)/tests/soak/soak $$(($(or $(MINUTES),10) * 60)) $(or $(SEED),1)

build:
	scripts/require-packages $(or $(ZTA_PACKAGES),$(TEST_PACKAGES))
	cmake --preset $(PRESET)
	cmake --build --preset $(PRESET) -j $(JOBS)

clean:
	rm -rf build
