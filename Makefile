# The two commands of the README, and what they are made of.
JOBS ?= $(shell nproc)
# A test that fails is run once more before the run counts as failed: the
# process-level tests share two cores with the rest of the suite, and a second
# failure is still a failure.
CTEST = ctest --output-on-failure -j $(JOBS) --repeat until-pass:2
BUILD ?= build
ASAN_BUILD ?= build-asan
TSAN_BUILD ?= build-tsan

.PHONY: demo test deps build test-release test-asan test-tsan bench clean

demo: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(BUILD) -j $(JOBS) --target orvanta-cli orvanta-devserver
	tools/demo/run-demo.sh $(BUILD)

test: deps test-release test-asan test-tsan

deps:
	scripts/install-deps.sh

build:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(BUILD) -j $(JOBS)

test-release: build
	$(CTEST) --test-dir $(BUILD)

# The whole suite once under AddressSanitizer + UndefinedBehaviorSanitizer.
test-asan:
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DORVANTA_SANITIZE=address
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	$(CTEST) --test-dir $(ASAN_BUILD)

# The suites where threads meet (client state, tracking, queue and replay,
# in-app rules, the platform adapters, notification intake) under ThreadSanitizer.
TSAN_SUITES = base core net storage inapp platform notifications
test-tsan:
	cmake -S . -B $(TSAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DORVANTA_SANITIZE=thread -DORVANTA_BUILD_TOOLS=OFF
	cmake --build $(TSAN_BUILD) -j $(JOBS) --target $(addprefix test_,$(TSAN_SUITES))
	TSAN_OPTIONS=halt_on_error=1 $(CTEST) --test-dir $(TSAN_BUILD) -L '^($(subst $(eval) ,|,$(TSAN_SUITES)))$$'


bench: deps
	cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DORVANTA_BUILD_BENCHMARKS=ON -DORVANTA_BUILD_TESTS=OFF -DORVANTA_BUILD_TOOLS=OFF
	cmake --build build-bench -j $(JOBS)
	for b in build-bench/bench/bench_*; do $$b; done

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(TSAN_BUILD) build-bench
