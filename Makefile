# The two commands of the quick start: `make run` and `make test`.

BUILD_DIR ?= build
SANITIZE_DIR ?= build-sanitize
FUZZ_DIR ?= build-fuzz
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)
# More cache entries for the builds of `make test` and `make test-sanitize`, e.g. -DTAVMMS_WERROR=ON.
CMAKE_ARGS ?=

# Where `make run` keeps its data: the same place the tool's users keep theirs.
DATA_DIR ?= $(or $(XDG_DATA_HOME),$(HOME)/.local/share)/tavmms
export TAV_LOCAL_DOWNLOAD_PATH ?= $(DATA_DIR)/download

PACKAGES := $(shell grep -v '^\#' debian-packages.txt)
SUDO := $(if $(filter 0,$(shell id -u)),,sudo)

.PHONY: all deps configure build run test test-sanitize fuzz fuzz-check install clean

all: build

# Installs the Debian packages that are missing, and nothing when all are there.
deps:
	@missing=$$(for p in $(PACKAGES); do \
	    dpkg-query -W -f='$${Status}\n' "$$p" 2>/dev/null | grep -q '^install ok installed' || echo "$$p"; \
	  done); \
	if [ -n "$$missing" ]; then \
	  echo "Installing missing packages:" $$missing; \
	  $(SUDO) apt-get update -qq && \
	  DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq --no-install-recommends $$missing; \
	fi

$(BUILD_DIR)/build.ninja: | deps
	cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_ARGS)

build: deps $(BUILD_DIR)/build.ninja
	cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	tools/demo.sh $(BUILD_DIR)/tools/mmsutil/mmsutil

test: build
	ctest --test-dir $(BUILD_DIR) -j $(JOBS) --output-on-failure

# The whole suite again under AddressSanitizer and UndefinedBehaviorSanitizer.
test-sanitize: deps
	cmake -S . -B $(SANITIZE_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTAVMMS_SANITIZE=ON \
	  -DTAVMMS_BUILD_BENCH=OFF $(CMAKE_ARGS)
	cmake --build $(SANITIZE_DIR) -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan.supp \
	  ctest --test-dir $(SANITIZE_DIR) -j $(JOBS) --output-on-failure

# The libFuzzer targets, built with clang; run one with e.g.
#   build-fuzz/fuzz/fuzz_mailfile fuzz/corpus/fuzz_mailfile -max_total_time=60
fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug \
	  -DTAVMMS_SANITIZE=ON -DTAVMMS_BUILD_FUZZ=ON -DTAVMMS_BUILD_TESTS=OFF \
	  -DTAVMMS_BUILD_BENCH=OFF -DTAVMMS_BUILD_EXAMPLES=OFF
	cmake --build $(FUZZ_DIR) -j $(JOBS)

# The fuzz targets checked: every seed in fuzz/corpus/ run once as a regression test, then each
# target fuzzed for FUZZ_SECONDS from its seeds. A crash fails it, saying where the input was
# saved; the input is also copied into fuzz/corpus/<target>/, to be committed with the fix.
FUZZ_SECONDS ?= 30
fuzz-check: fuzz
	ctest --test-dir $(FUZZ_DIR)/fuzz -j $(JOBS) --output-on-failure
	bash fuzz/run_targets.sh $(FUZZ_DIR)/fuzz $(FUZZ_SECONDS)

install: build
	cmake --install $(BUILD_DIR) $(if $(PREFIX),--prefix $(PREFIX))

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_DIR) $(FUZZ_DIR)
