# SPDX-FileCopyrightText: 2026 The Airnote developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Thin wrapper over CMake: each target installs and builds what it needs first,
# so any of them works alone on a fresh Debian machine.
BUILD_DIR ?= build
CMAKE_FLAGS ?=

.PHONY: all deps configure build run demo check bench clean

all: build

deps:
	scripts/install-deps

configure: deps
	cmake -S . -B $(BUILD_DIR) -G Ninja $(CMAKE_FLAGS)

build: configure
	cmake --build $(BUILD_DIR)

run: build
	$(BUILD_DIR)/bin/airnote

demo: build
	scripts/demo $(BUILD_DIR)

check: build
	ctest --test-dir $(BUILD_DIR) --output-on-failure

bench: build
	scripts/run-benchmarks $(BUILD_DIR)

clean:
	rm -rf $(BUILD_DIR)

# Sanitized libFuzzer runs with clang in build-fuzz; FUZZ_SECONDS per target.
.PHONY: fuzz
fuzz:
	scripts/fuzz

# The .deb lands in $(BUILD_DIR)/package; CMake's package target builds everything first.
.PHONY: package
package: configure
	cmake --build $(BUILD_DIR) --target package

# Every test under AddressSanitizer and UBSan in build-asan, then the store and
# poller tests under ThreadSanitizer in build-tsan.
.PHONY: check-sanitize
check-sanitize:
	scripts/check-sanitize

# The real program for SOAK_SECONDS against a sandbox that fails by the seeded
# schedule SOAK_SEED (drawn when empty), on a virtual screen; kept out of check.
SOAK_SECONDS ?= 300
SOAK_SEED ?=
.PHONY: soak
soak: configure
	cmake --build $(BUILD_DIR) --target airnote airnote-sandbox
	SOAK_SECONDS=$(SOAK_SECONDS) SOAK_SEED=$(SOAK_SEED) scripts/soak $(BUILD_DIR)
