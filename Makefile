# The commands of a newcomer and of CI. Each installs what it lacks, builds and runs.
PRESET ?= release
JOBS ?= $(shell nproc)
PREFIX ?= /usr/local
BUILD_PACKAGES = g++ cmake ninja-build git
INSTALL_PACKAGES = $(BUILD_PACKAGES) libsndfile1-dev libfftw3-dev libcli11-dev
TEST_PACKAGES = $(INSTALL_PACKAGES) libgtest-dev libbenchmark-dev binutils pkg-config abigail-tools doxygen
DEBIAN_PACKAGES = $(INSTALL_PACKAGES) dpkg-dev debhelper lintian
DEMO_PACKAGES = $(TEST_PACKAGES) alsa-utils
TIDY_PACKAGES = $(TEST_PACKAGES) clang clang-tidy
TIDY_ROOMS = support component kernels engine host tools examples

.PHONY: test demo install package plots error-codes docs abi-accept tidy build clean
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
	build/$(PRESET)/tools/make_plots docs/plots

# The page of all statuses.
error-codes: build
	build/$(PRESET)/tools/make_error_codes > docs/error-codes.md

# The headers' reference, in build/docs/html.
docs:
	scripts/require-packages doxygen
	scripts/docs

# Takes the binary interface as it is now for the one that is meant: see docs/abi.md.
abi-accept:
	scripts/require-packages $(BUILD_PACKAGES) abigail-tools
	scripts/abi accept

# By Clang's own compile commands: GCC's have options that clang-tidy does not know.
tidy:
	scripts/require-packages $(TIDY_PACKAGES)
	cmake --preset clang
	cmake --build --preset clang --target zta_version_values
	run-clang-tidy -quiet -j $(JOBS) -p build/clang $(patsubst %,'^$(CURDIR)/%/.*\.cpp$$',$(TIDY_ROOMS))

build:
	scripts/require-packages $(or $(ZTA_PACKAGES),$(TEST_PACKAGES))
	cmake --preset $(PRESET)
	cmake --build --preset $(PRESET) -j $(JOBS)

clean:
	rm -rf build
