# Orvane quick start:
#   make demo   installs missing Debian packages, builds, and runs orvctl on the virtual camera
#   make test   the same set-up, then the whole test suite
# Further targets: build, asan, tsan, clang, fuzz (SECONDS=N), tidy, bench, install (PREFIX=...), format,
# format-check, clean.

BUILD    ?= build
JOBS     ?= $(shell nproc)
PREFIX   ?= /usr/local
CMAKE_ARGS ?=
# Seconds each fuzz target runs (make fuzz).
SECONDS  ?= 60

.PHONY: all bootstrap configure build demo test asan tsan clang fuzz tidy bench install clean format format-check

all: build

bootstrap:
	@./scripts/bootstrap.sh

$(BUILD)/CMakeCache.txt: | bootstrap
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_ARGS)

configure: bootstrap $(BUILD)/CMakeCache.txt

build: configure
	cmake --build $(BUILD) -j $(JOBS)

# The demo needs the libraries and orvctl only: no test or benchmark is built.
demo: configure
	cmake --build $(BUILD) -j $(JOBS) --target orvctl
	@./scripts/demo.sh $(BUILD)

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# The test suite built with AddressSanitizer and UndefinedBehaviorSanitizer.
asan: bootstrap
	cmake -S . -B $(BUILD)-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVANE_SANITIZE=address,undefined -DORVANE_BUILD_BENCH=OFF $(CMAKE_ARGS)
	cmake --build $(BUILD)-asan -j $(JOBS)
	cd $(BUILD)-asan && ctest --output-on-failure -j $(JOBS)

# The threaded tests (label threads: programs with "threads" in their name) built with ThreadSanitizer.
tsan: bootstrap
	cmake -S . -B $(BUILD)-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVANE_SANITIZE=thread -DORVANE_BUILD_BENCH=OFF $(CMAKE_ARGS)
	cmake --build $(BUILD)-tsan -j $(JOBS) --target threads_tests
	cd $(BUILD)-tsan && ctest --output-on-failure -j $(JOBS) -L threads

# The whole tree built with clang instead of gcc, and its tests.
clang: bootstrap
	CC=clang CXX=clang++ cmake -S . -B $(BUILD)-clang -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVANE_BUILD_BENCH=OFF $(CMAKE_ARGS)
	cmake --build $(BUILD)-clang -j $(JOBS)
	cd $(BUILD)-clang && ctest --output-on-failure -j $(JOBS)

# The fuzz targets of tests/fuzz: a clang build with libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer in $(BUILD)-fuzz, then each target run for SECONDS seconds
# from its corpus (scripts/fuzz.sh: logs, new inputs and crash inputs go to
# $(BUILD)-fuzz/fuzz-out/<target>/). Fails when a target finds a crash.
fuzz: bootstrap
	CC=clang CXX=clang++ cmake -S . -B $(BUILD)-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVANE_FUZZ=ON -DORVANE_BUILD_BENCH=OFF $(CMAKE_ARGS)
	cmake --build $(BUILD)-fuzz -j $(JOBS) --target fuzz_targets
	@./scripts/fuzz.sh $(BUILD)-fuzz $(SECONDS)

# clang-tidy's bug-finding checks (.clang-tidy) over the SDK, the C library and orvctl.
tidy: bootstrap
	@./scripts/tidy.sh $(BUILD)-tidy

bench: build
	@./scripts/bench.sh $(BUILD)

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

# Formats every C and C++ file with clang-format (.clang-format); format-check only reports.
format:
	@./scripts/format.sh

format-check:
	@./scripts/format.sh --check

clean:
	rm -rf $(BUILD) $(BUILD)-asan $(BUILD)-tsan $(BUILD)-clang $(BUILD)-fuzz $(BUILD)-tidy
