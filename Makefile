# The commands of a newcomer and of CI. Each installs what it lacks, builds and runs.
PRESET ?= release
JOBS ?= $(shell nproc)
BUILD_PACKAGES = g++ cmake ninja-build git
TEST_PACKAGES = $(BUILD_PACKAGES) libgtest-dev libsndfile1-dev libcli11-dev libbenchmark-dev binutils
DEMO_PACKAGES = $(TEST_PACKAGES) alsa-utils

.PHONY: test demo build clean
test: export ZTA_PACKAGES = $(TEST_PACKAGES)
demo: export ZTA_PACKAGES = $(DEMO_PACKAGES)

test: build
	ctest --preset $(PRESET) -j $(JOBS)

demo: build
	scripts/demo build/$(PRESET) build/demo

build:
	scripts/require-packages $(or $(ZTA_PACKAGES),$(TEST_PACKAGES))
	cmake --preset $(PRESET)
	cmake --build --preset $(PRESET) -j $(JOBS)

clean:
	rm -rf build
