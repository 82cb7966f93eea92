# The two commands that matter: `make run` and `make test`. Both install what is missing first.
BUILD_DIR ?= build
ASAN_BUILD_DIR ?= build-asan
BENCH_BUILD_DIR ?= build-bench
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

export CCACHE_DIR ?= $(HOME)/.cache/ccache
# Relative paths in the cache key, so fresh clones elsewhere reuse what was compiled before.
export CCACHE_BASEDIR ?= $(CURDIR)
# Debug info names the build directory; leaving it out of the key lets other checkouts hit too.
export CCACHE_NOHASHDIR ?= 1

.PHONY: all setup configure build test test-asan bench run format check-format clean

all: build

setup:
	@scripts/setup

$(BUILD_DIR)/build.ninja:
	@$(MAKE) --no-print-directory configure

configure: setup
	cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_FLAGS)

build: setup $(BUILD_DIR)/build.ninja
	cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	scripts/run-tests $(BUILD_DIR)

test-asan: setup
	cmake -S . -B $(ASAN_BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVESNARA_SANITIZE=ON \
		-DVESNARA_BUILD_BENCH=OFF $(CMAKE_FLAGS)
	cmake --build $(ASAN_BUILD_DIR) -j $(JOBS)
	scripts/run-tests $(ASAN_BUILD_DIR)

bench: setup
	cmake -S . -B $(BENCH_BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DVESNARA_BUILD_TESTS=OFF \
		$(CMAKE_FLAGS)
	cmake --build $(BENCH_BUILD_DIR) -j $(JOBS) --target benchmarks
	scripts/run-benchmarks $(BENCH_BUILD_DIR)

run: build
	scripts/run-app $(BUILD_DIR)

format:
	git ls-files -co --exclude-standard -- 'src/*.cpp' 'src/*.h' 'tests/*.cpp' 'tests/*.h' \
		'bench/*.cpp' 'bench/*.h' | while read -r f; do [ -f "$$f" ] && echo "$$f"; done \
		| xargs -r clang-format -i

check-format:
	scripts/check-format

clean:
	rm -rf $(BUILD_DIR) $(ASAN_BUILD_DIR) $(BENCH_BUILD_DIR)

# Install and package: the .deb of what `cmake --install` installs, in $(BUILD_DIR)/package. The
# window tests run first so the package carries screenshots of the current screens.
.PHONY: package
package: build
	@ctest --test-dir $(BUILD_DIR) -R '^tst_app_window$$' >/dev/null || \
		echo "make package: the window tests failed; the screenshots are from an earlier run, if any"
	cd $(BUILD_DIR) && cpack -G DEB
