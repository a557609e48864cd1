# Developer entry points: run, test, bench, clang, fuzz, clean.
# Each configures its own build directory under build/ with CMake + Ninja.

.DEFAULT_GOAL := run
.PHONY: run test bench clang fuzz clean

CMAKE     ?= cmake
CTEST     ?= ctest
GCC_CXX   ?= g++
CLANG_CXX ?= clang++-14
JOBS      ?= 2
FUZZ_TIME ?= 30

DEPS      := .ci/deps.sh
CONFIGURE  = $(CMAKE) -S . -G Ninja
BUILD      = $(CMAKE) --build
TEST       = $(CTEST) --output-on-failure --no-tests=error --timeout 600 \
             -j $(JOBS) --test-dir

SAN_ENV := ASAN_OPTIONS=halt_on_error=1:detect_leaks=1 \
           UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1

run:
	@$(DEPS)
	$(CONFIGURE) -B build/release -DCMAKE_BUILD_TYPE=Release \
	    -DKSTM_BUILD_TESTS=OFF
	$(BUILD) build/release -j $(JOBS)
	build/release/kstm demo

test:
	@$(DEPS)
	$(CONFIGURE) -B build/gcc -DCMAKE_CXX_COMPILER=$(GCC_CXX) \
	    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKSTM_WERROR=ON
	$(BUILD) build/gcc -j $(JOBS)
	$(CONFIGURE) -B build/asan -DCMAKE_CXX_COMPILER=$(GCC_CXX) \
	    -DCMAKE_BUILD_TYPE=Debug -DKSTM_SANITIZE=ON -DKSTM_WERROR=ON
	$(BUILD) build/asan -j $(JOBS)
	$(TEST) build/gcc
	$(SAN_ENV) $(TEST) build/asan

bench:
	@$(DEPS)
	$(CONFIGURE) -B build/bench -DCMAKE_BUILD_TYPE=Release \
	    -DKSTM_BUILD_TESTS=OFF -DKSTM_BUILD_BENCH=ON
	$(BUILD) build/bench -j $(JOBS)
	@if [ -x build/bench/bench/kstm_bench ]; then \
	    build/bench/bench/kstm_bench; \
	else \
	    echo "bench: no benchmarks (bench/*_bench.cpp) yet"; \
	fi

clang:
	@$(DEPS)
	$(CONFIGURE) -B build/clang -DCMAKE_CXX_COMPILER=$(CLANG_CXX) \
	    -DCMAKE_BUILD_TYPE=Debug -DKSTM_WERROR=ON
	$(BUILD) build/clang -j $(JOBS)
	$(TEST) build/clang

fuzz:
	@$(DEPS)
	$(CONFIGURE) -B build/fuzz -DCMAKE_CXX_COMPILER=$(CLANG_CXX) \
	    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKSTM_BUILD_TESTS=OFF \
	    -DKSTM_BUILD_FUZZ=ON -DKSTM_WERROR=ON
	$(BUILD) build/fuzz -j $(JOBS) --target kstm_fuzzers
	@set -e; found=0; \
	for src in fuzz/*_fuzz.cpp; do \
	    [ -e "$$src" ] || continue; \
	    found=1; name=$$(basename "$$src" .cpp); \
	    corpus=build/fuzz/corpus/$$name; mkdir -p "$$corpus"; \
	    seeds=; [ -d fuzz/corpus/$$name ] && seeds=fuzz/corpus/$$name; \
	    echo "fuzz: $$name for $(FUZZ_TIME)s"; \
	    $(SAN_ENV) build/fuzz/fuzz/$$name -max_total_time=$(FUZZ_TIME) \
	        -print_final_stats=1 "$$corpus" $$seeds; \
	done; \
	[ $$found -eq 1 ] || echo "fuzz: no fuzz targets (fuzz/*_fuzz.cpp) yet"

clean:
	rm -rf build
