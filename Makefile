# Front door of the project. Every target first installs missing Debian packages, then configures and
# builds with CMake.
#
#   make demo      run the main job on a built-in example
#   make test      build everything and run the whole test suite
#   make bench     build in Release and run the benchmarks
#   make compare   build in Release and time the library next to Debian's scipy and scikit-learn, and
#                  count the ready annealer's successes next to scipy's dual_annealing (about an hour)
#   make install   install into PREFIX (default /usr/local)
#
# Variables: BUILD (build folder), BUILD_TYPE, WERROR=ON (warnings are errors), SANITIZE=ON
# (AddressSanitizer and UndefinedBehaviorSanitizer), PORTABLE=ON (no processor-specific instructions),
# CXX_COMPILER (e.g. clang++; takes effect when a build folder is first configured), EXTRAS=OFF (no
# benchmarks and examples), JOBS, PREFIX.

BUILD ?= build
BUILD_TYPE ?= RelWithDebInfo
WERROR ?= OFF
SANITIZE ?= OFF
JOBS ?= $(shell nproc)
PREFIX ?= /usr/local
PORTABLE ?= OFF
EXTRAS ?= ON
CXX_COMPILER ?=

CMAKE_FLAGS = -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DKESTREL_WARNINGS_AS_ERRORS=$(WERROR) \
              -DKESTREL_SANITIZE=$(SANITIZE) -DKESTREL_PORTABLE=$(PORTABLE) -DCMAKE_INSTALL_PREFIX=$(PREFIX) \
              -DKESTREL_BUILD_BENCHMARKS=$(EXTRAS) -DKESTREL_BUILD_EXAMPLES=$(EXTRAS) \
              $(if $(CXX_COMPILER),-DCMAKE_CXX_COMPILER=$(CXX_COMPILER))

.PHONY: all deps configure build demo test bench compare install clean format

all: build

deps:
	@scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD) $(CMAKE_FLAGS) > $(BUILD).configure.log 2>&1 || { cat $(BUILD).configure.log; exit 1; }

build: configure
	@cmake --build $(BUILD) --parallel $(JOBS)

demo: configure
	@env -u MAKEFLAGS -u MAKELEVEL cmake --build $(BUILD) --parallel $(JOBS) --target ktx
	@$(BUILD)/apps/ktx/ktx demo --dir $(BUILD)/ktx-demo

test: build
	@cd $(BUILD) && ctest --output-on-failure --parallel $(JOBS)

bench:
	@$(MAKE) --no-print-directory configure BUILD=build-release BUILD_TYPE=Release
	@cmake --build build-release --parallel $(JOBS) --target bench

compare:
	@scripts/install-deps.sh python3-scipy python3-sklearn
	@$(MAKE) --no-print-directory configure BUILD=build-release BUILD_TYPE=Release
	@cmake --build build-release --parallel $(JOBS) --target assignment_driver sampling_peer_timing kestrel_python annealing_suite
	@/usr/bin/python3 bench/assignment/compare_with_scipy.py build-release
	@/usr/bin/python3 bench/sampling/compare_with_peers.py --build build-release
	@PYTHONPATH=build-release/python /usr/bin/python3 bench/python/compare_with_peers.py
	@/usr/bin/python3 bench/annealing/compare_with_dual_annealing.py --build build-release

install: build
	@cmake --install $(BUILD)

format:
	@git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	@rm -rf $(BUILD) $(BUILD).configure.log build-release build-release.configure.log
