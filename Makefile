# Two commands on a fresh clone: `make demo` and `make test`.
BUILD      ?= build
BUILD_ASAN ?= build-asan
BUILD_BENCH ?= build-bench
BUILD_FUZZ ?= build-fuzz
FUZZ_TIME  ?= 60
JOBS       ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_GEN  := $(shell command -v ninja >/dev/null 2>&1 && echo "-G Ninja")

DEMO_DIR   ?= out/demo

.PHONY: all build test asan-test bench-build bench demo fuzz clean

all: build

$(BUILD)/CMakeCache.txt:
	cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release

build: $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

test: build
	ctest --test-dir $(BUILD) --output-on-failure --no-tests=error -j $(JOBS)

# The whole suite again under AddressSanitizer and UndefinedBehaviorSanitizer.
asan-test:
	cmake -S . -B $(BUILD_ASAN) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DGME_SANITIZE=ON
	cmake --build $(BUILD_ASAN) -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --test-dir $(BUILD_ASAN) --output-on-failure --no-tests=error -j $(JOBS)

bench-build:
	cmake -S . -B $(BUILD_BENCH) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DGME_BENCH=ON -DGME_TESTS=OFF
	cmake --build $(BUILD_BENCH) -j $(JOBS)

# Per-pair time of Estimate and CompensateWithMAE, then the whole command with its peak
# memory, at 352x288, 720x576 and 1920x1080; then the kernel benchmarks.
bench: bench-build
	$(BUILD_BENCH)/bench/gme/sequence_bench
	bench/whole_run.sh $(BUILD_BENCH)
	@for b in $$(find $(BUILD_BENCH)/bench -type f -perm -u+x -name '*_bench' ! -name sequence_bench); do echo "== $$b"; $$b; done

# libFuzzer targets (clang, AddressSanitizer, UBSan) in their own build directory. Each runs
# FUZZ_TIME seconds from its seeds in fuzz/corpus/<target> (the inputs it adds go to
# $(BUILD_FUZZ)/corpus/<target>) and prints libFuzzer's closing line; a finding stops with
# its report, the input being kept in $(BUILD_FUZZ)/artifacts/. A single allocation above
# 64 MB counts as a finding: no input of a few kilobytes may claim more.
fuzz:
	CXX=clang++ cmake -S fuzz -B $(BUILD_FUZZ) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(BUILD_FUZZ) -j $(JOBS)
	@mkdir -p $(BUILD_FUZZ)/artifacts
	@for t in $(BUILD_FUZZ)/targets/*; do \
	  n=$$(basename $$t); seeds=fuzz/corpus/$$n; [ -d $$seeds ] || seeds=; \
	  mkdir -p $(BUILD_FUZZ)/corpus/$$n; \
	  $$t -max_total_time=$(FUZZ_TIME) -malloc_limit_mb=64 -close_fd_mask=3 \
	    -artifact_prefix=$(BUILD_FUZZ)/artifacts/$$n- $(BUILD_FUZZ)/corpus/$$n $$seeds \
	    > $(BUILD_FUZZ)/$$n.log 2>&1 \
	  || { tail -n 60 $(BUILD_FUZZ)/$$n.log; echo "fuzz $$n: FAILED, log in $(BUILD_FUZZ)/$$n.log"; exit 1; }; \
	  echo "fuzz $$n: $$(grep '^Done' $(BUILD_FUZZ)/$$n.log)"; \
	done

# Renders a 30-frame 352x288 sequence with known camera motion and a moving object, runs
# gme on it, reports how close the estimated motion is to the truth and draws the run.
demo: build
	rm -rf $(DEMO_DIR) && mkdir -p $(DEMO_DIR)
	$(BUILD)/tools/demo/gme_demo render $(DEMO_DIR) 30
	cd $(DEMO_DIR) && $(CURDIR)/$(BUILD)/driver/gme --motion motion.csv input compensated > gme.out
	@echo "--- gme output (first lines of $(DEMO_DIR)/gme.out) ---"
	@head -n 12 $(DEMO_DIR)/gme.out
	@echo "--- summary ---"
	@$(BUILD)/tools/demo/gme_demo report $(DEMO_DIR)
	tools/plot/gme-plot $(DEMO_DIR)/motion.csv -o $(DEMO_DIR)/motion.png --size 352x288 \
	  --title "make demo: gme on 30 rendered frames of 352x288"
	@echo "motion of every pair: $(DEMO_DIR)/motion.csv"
	@echo "picture of the run:   $(DEMO_DIR)/motion.png"

clean:
	rm -rf $(BUILD) $(BUILD_ASAN) $(BUILD_BENCH)

# Installs the build into a fresh prefix under $(INSTALL_CHECK_DIR), builds examples/ against
# it with CMake and with pkg-config, and checks that they print gme's motion for the same frames.
INSTALL_CHECK_DIR ?= out/install-check

.PHONY: install-check
install-check: build
	examples/install-check.sh $(BUILD) $(INSTALL_CHECK_DIR)
