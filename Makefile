# Commands for users, developers and CI: `make help` lists them. Each installs the Debian packages that it lacks, builds
# what it runs, and runs it. Without apt-get, it lists the missing packages instead.
#
# The comment before a target describes it; `make help` prints the first sentence.
PRESET ?= release
JOBS ?= $(shell nproc)
PREFIX ?= /usr/local
BUILD_PACKAGES = g++ cmake ninja-build git
INSTALL_PACKAGES = $(BUILD_PACKAGES) libsndfile1-dev libfftw3-dev libebur128-dev libcli11-dev nlohmann-json3-dev
TEST_PACKAGES = $(INSTALL_PACKAGES) libgtest-dev binutils pkg-config abigail-tools doxygen python3 sox flac vorbis-tools lame \
	sound-theme-freedesktop
DEBIAN_PACKAGES = $(INSTALL_PACKAGES) dpkg-dev debhelper lintian
DEMO_PACKAGES = $(INSTALL_PACKAGES) alsa-utils
BENCH_PACKAGES = $(BUILD_PACKAGES) pkg-config libbenchmark-dev libfftw3-dev libcli11-dev libswresample-dev libsoxr-dev \
	libsamplerate0-dev libspeexdsp-dev libzita-resampler-dev libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev \
	gstreamer1.0-plugins-base
PERFCHECK_PACKAGES = $(BUILD_PACKAGES) libbenchmark-dev valgrind
TIDY_PACKAGES = $(TEST_PACKAGES) clang clang-tidy
TIDY_LAYERS = $(shell scripts/layers tidy)

# All parts that `make test` needs. With ON, a missing package is an error.
TEST_PARTS = -DZTA_BUILD_TOOLS=ON -DZTA_BUILD_TESTS=ON -DZTA_BUILD_EXAMPLES=ON

# No target is a file.
.PHONY: $(shell sed -n 's/^\([a-z-]*\):.*/\1/p' Makefile)

# Builds everything and runs all tests. This is the default.
test: build
	ctest --preset $(PRESET) -j $(JOBS)

# Lists the commands.
help:
	@echo "Commands (variables: PRESET=$(PRESET) JOBS=$(JOBS) PREFIX=$(PREFIX); others where they are named):"
	@awk '/^# / { text = text substr($$0, 2); next } \
		/^[a-z-]+:/ && text != "" { sub(/:.*/, "", $$1); sub(/\. .*/, ".", text); printf "  make %-13s%s\n", $$1, text } \
		{ text = "" }' Makefile

# Runs the tests of the layers that differ from revision BASE. The default is the last commit, or the one before it if
# nothing has changed since. Builds only the programs of these tests; the most important tests run first.
quick: configure
	JOBS=$(JOBS) scripts/quick $(PRESET) $(BASE)

# Converts recordings with the tool and checks every result. Writes a report and plots to build/demo.
demo:
	scripts/require-packages $(DEMO_PACKAGES)
	cmake --preset $(PRESET) -DZTA_BUILD_TOOLS=ON
	cmake --build --preset $(PRESET) -j $(JOBS) --target demo_programs
	scripts/demo build/$(PRESET) build/demo

# Installs the library, the headers and the tools below PREFIX. Runs no tests.
install:
	scripts/require-packages $(INSTALL_PACKAGES)
	cmake --preset $(PRESET) -B build/install -DCMAKE_INSTALL_PREFIX="$(PREFIX)" \
		-DZTA_BUILD_TOOLS=ON -DZTA_BUILD_TESTS=OFF -DZTA_BUILD_BENCH=OFF -DZTA_BUILD_EXAMPLES=OFF
	cmake --build build/install -j $(JOBS)
	cmake --install build/install

# Removes what the last `make install` installed.
uninstall:
	cmake --build build/install --target uninstall

# Builds the Debian packages in build/packages; CHECK=1 also runs their tests.
package: export DEB_BUILD_OPTIONS = parallel=$(JOBS) $(if $(CHECK),,nocheck)
package:
	scripts/require-packages $(DEBIAN_PACKAGES) $(if $(CHECK),$(TEST_PACKAGES))
	scripts/make-packages

# Writes the plots of docs/resampler.md and prints the figures that it quotes.
plots: TARGETS = make_plots
plots: build
	build/$(PRESET)/bin/make_plots docs/plots

# Writes docs/status-codes.md, the table of all status codes.
status-codes: TARGETS = make_status_codes
status-codes: build
	build/$(PRESET)/bin/make_status_codes > docs/status-codes.md

# Renders the reference of the public headers in build/docs/html.
docs:
	scripts/require-packages doxygen
	scripts/docs

# Writes the short sections of docs/report.md. Keeps the figures of the long ones.
report: build
	JOBS=$(JOBS) scripts/report build/$(PRESET)

# Writes all of docs/report.md, in hours. Runs mutation tests, coverage, fuzz targets, the soak test and the checkers.
report-long: build
	JOBS=$(JOBS) scripts/report --long build/$(PRESET)

# Stores the present binary interface as the intended one (docs/abi.md).
abi-update:
	scripts/require-packages $(BUILD_PACKAGES) abigail-tools
	scripts/abi update

COMPARE_PEERS = build/bench/bench/peers/compare_peers --json build/bench/results.json \
	--revision "$$(git describe --always --dirty)"

# Measures the library beside its upper bounds and other libraries. Writes docs/performance.md and its pages. Needs an
# idle machine for about ten minutes. Measures the file tool last, on an hour of sound.
bench: bench-build
	$(COMPARE_PEERS) --seconds 1.5 --document docs/performance.md
	BENCH_SECONDS=3600 $(MAKE) bench-tool TOOL_DOCUMENT=docs/performance/file-tool.md

# The same in a short form, which prints the results and writes no document.
bench-quick: bench-build
	$(COMPARE_PEERS) --seconds 0.2

# Measures the file tool beside sox, ffmpeg and cat. OTHER names another ztaudio to compare with. TOOL_DOCUMENT is the
# page that the figures are written to, if any.
bench-tool:
	scripts/require-packages $(DEMO_PACKAGES) python3 sox ffmpeg
	cmake --preset $(PRESET) -DZTA_BUILD_TOOLS=ON
	cmake --build --preset $(PRESET) -j $(JOBS) --target ztaudio
	scripts/bench-tool $(if $(TOOL_DOCUMENT),--document $(TOOL_DOCUMENT)) build/$(PRESET)/bin/ztaudio $(OTHER)

# Builds the comparison with other libraries.
bench-build:
	scripts/require-packages $(BENCH_PACKAGES)
	cmake --preset bench
	cmake --build --preset bench -j $(JOBS) --target compare_peers

# Fails if the library is slower than at revision BASE.
perfcheck:
	scripts/require-packages $(PERFCHECK_PACKAGES)
	scripts/perfcheck "$(BASE)"

# Runs clang-tidy. Uses the compile commands of Clang, because it does not know all options of GCC.
tidy:
	scripts/require-packages $(TIDY_PACKAGES)
	cmake --preset clang $(TEST_PARTS)
	cmake --build --preset clang --target zta_version_values
	run-clang-tidy -quiet -j $(JOBS) -p build/clang $(patsubst %,'^$(CURDIR)/%/.*\.cpp$$',$(TIDY_LAYERS))

# Runs each fuzz target for SECONDS=60 seconds. Findings are kept in build/fuzz/findings.
fuzz: SECONDS ?= 60
fuzz:
	scripts/require-packages $(TEST_PACKAGES) clang libclang-rt-14-dev
	cmake --preset fuzz -DZTA_BUILD_TOOLS=ON -DZTA_BUILD_TESTS=ON
	cmake --build --preset fuzz -j $(JOBS)
	scripts/fuzz build/fuzz $(SECONDS)

# Runs the sanitizers, Valgrind, clang-tidy and cppcheck, or those in CHECKERS. Prints one line for each.
check:
	scripts/require-packages $(TIDY_PACKAGES) valgrind cppcheck
	JOBS=$(JOBS) scripts/check $(CHECKERS)

# Runs the tests on emulated older CPUs. The emulator does not support AVX-512.
emulate: export ZTA_PACKAGES = $(TEST_PACKAGES) qemu-user
emulate: build
	scripts/emulate build/$(PRESET) qemu64 core2duo Nehalem Haswell

# Mutation test: builds SAMPLE=100 mutants, chosen by SEED=1, and counts those that the tests kill. An interrupted run
# continues where it stopped.
mutate:
	scripts/require-packages $(TEST_PACKAGES)
	scripts/mutate --sample $(or $(SAMPLE),100) --seed $(or $(SEED),1)

COVERAGE_PROGRAMS = unit engine differential faults class_table

# Measures the coverage of each layer of the library.
coverage:
	scripts/require-packages $(TEST_PACKAGES) gcovr
	cmake --preset coverage -DZTA_BUILD_TESTS=ON
	cmake --build --preset coverage -j $(JOBS) --target $(COVERAGE_PROGRAMS:=_tests)
	scripts/coverage build/coverage $(COVERAGE_PROGRAMS)

# Makes every host call and every allocation fail once, and counts them.
faults: TARGETS = faults_tests
faults: build
	build/$(PRESET)/tests/faults_tests --gtest_brief=1

# Runs all operations at random on two threads for MINUTES=10 minutes.
soak: TARGETS = soak
soak: build
	build/$(PRESET)/tests/soak/soak $$(($(or $(MINUTES),10) * 60)) $(or $(SEED),1)

# Prints the slowest objects of the last build and the sum of all.
build-times:
	scripts/build-times build/$(PRESET)

# Configures the build.
configure:
	scripts/require-packages $(or $(ZTA_PACKAGES),$(TEST_PACKAGES))
	cmake --preset $(PRESET) $(TEST_PARTS)

# Builds TARGETS, or the library, the tools, the tests and the examples.
build: configure
	cmake --build --preset $(PRESET) -j $(JOBS) $(if $(TARGETS),--target $(TARGETS))

# Removes all builds and their results.
clean:
	rm -rf build

# The former names of some commands. They are not listed.

abi-accept: abi-update
error-codes: status-codes
peers: bench-build
