# The front door: `make demo` and `make test` on a fresh Debian machine.
BUILD        ?= build
ASAN_BUILD   ?= build-asan
STRESS_BUILD ?= build-stress
JOBS       ?= $(shell nproc)
CMAKE_GEN  := -G Ninja

.PHONY: all deps build build-asan build-stress demo test test-fast test-stress bench install clean

all: build

deps:
	@scripts/install-deps

$(BUILD)/build.ninja: | deps
	cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo

$(ASAN_BUILD)/build.ninja: | deps
	cmake -S . -B $(ASAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug \
	  -DBC_SANITIZE=ON -DBC_BUILD_BENCH=OFF -DBC_INSTALL_TEST=OFF

build: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

build-asan: deps $(ASAN_BUILD)/build.ninja
	cmake --build $(ASAN_BUILD) -j $(JOBS)

# The stress build: rare paths forced on every call and invariants checked
# (src/frame/stress.h), under the same sanitizers.
$(STRESS_BUILD)/build.ninja: | deps
	cmake -S . -B $(STRESS_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DBC_STRESS=ON \
	  -DBC_SANITIZE=ON -DBC_BUILD_BENCH=OFF -DBC_INSTALL_TEST=OFF

build-stress: deps $(STRESS_BUILD)/build.ninja
	cmake --build $(STRESS_BUILD) -j $(JOBS)

# The embedded demo, then the first example script, headless; what the
# script says goes to debug.txt in the build folder.
demo: build
	$(BUILD)/tools/bauble demo
	cd $(BUILD) && rm -f debug.txt && ./tools/bauble run --headless $(CURDIR)/examples/hello/hello.mps \
	  && echo "examples/hello/hello.mps said:" && cat debug.txt

# Every test, in the plain build and again under ASan and UBSan.
test: build build-asan
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)
	cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --output-on-failure -j $(JOBS)

# Every test again in the stress build; CI runs it after `make test`.
test-stress: build-stress
	cd $(STRESS_BUILD) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --output-on-failure -j $(JOBS)

# The plain build's tests only, for a quick round while working.
test-fast: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

bench: build
	$(BUILD)/bench/bauble_bench

install: build
	cmake --install $(BUILD)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(STRESS_BUILD)
