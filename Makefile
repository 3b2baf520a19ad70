# The commands of a newcomer and of CI. Each installs what it lacks, builds and runs.
PRESET ?= release
JOBS ?= $(shell nproc)
BUILD_PACKAGES = g++ cmake ninja-build git
TEST_PACKAGES = $(BUILD_PACKAGES) libgtest-dev libsndfile1-dev libfftw3-dev libcli11-dev libbenchmark-dev \
    nlohmann-json3-dev binutils
DEMO_PACKAGES = $(TEST_PACKAGES) alsa-utils
TIDY_PACKAGES = $(TEST_PACKAGES) clang clang-tidy
TIDY_ROOMS = support component kernels engine host models tools examples

.PHONY: test demo plots error-codes tidy build clean
test: export ZTA_PACKAGES = $(TEST_PACKAGES)
demo: export ZTA_PACKAGES = $(DEMO_PACKAGES)

test: build
	ctest --preset $(PRESET) -j $(JOBS)

demo: build
	scripts/demo build/$(PRESET) build/demo

# The pictures of docs/resampler.md, and the figures that it quotes.
plots: build
	build/$(PRESET)/tools/make_plots docs/plots

# The page of all statuses.
error-codes: build
	build/$(PRESET)/tools/make_error_codes > docs/error-codes.md

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
