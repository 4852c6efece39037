# The front door: `make demo` and `make test` on a fresh Debian machine.
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc)
CMAKE_GEN  := -G Ninja

.PHONY: all deps build build-asan demo test test-fast bench install clean

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

# The plain build's tests only, for a quick round while working.
test-fast: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

bench: build
	$(BUILD)/bench/bauble_bench

install: build
	cmake --install $(BUILD)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
