# VELTRA: `make run` to play, `make test` to check everything.
JOBS ?= $(shell nproc)
RELEASE := build/release
TEST := build/test
BENCH := build/bench

.PHONY: all deps build run test bench format clean

all: build

deps:
	@bash scripts/deps.sh

build: deps
	cmake -S . -B $(RELEASE) -DCMAKE_BUILD_TYPE=Release -DVELTRA_BUILD_TESTS=OFF
	cmake --build $(RELEASE) -j$(JOBS)

run: build
	$(RELEASE)/bin/veltra

# Tests build with AddressSanitizer and UBSan.
test: deps
	cmake -S . -B $(TEST) -DCMAKE_BUILD_TYPE=Debug -DVELTRA_SANITIZE=ON
	cmake --build $(TEST) -j$(JOBS)
	cd $(TEST) && ctest --output-on-failure -j$(JOBS)

bench: deps
	cmake -S . -B $(BENCH) -DCMAKE_BUILD_TYPE=Release -DVELTRA_BUILD_TESTS=OFF -DVELTRA_BUILD_BENCH=ON
	cmake --build $(BENCH) -j$(JOBS)
	@for b in $(BENCH)/bin/bench_*; do echo "== $$b"; $$b || exit 1; done
	@echo "== veltra-render, 60 s of 8-note chords"
	@$(BENCH)/bin/make_chords $(BENCH)/chords.mid
	@$(BENCH)/bin/veltra-render $(BENCH)/chords.mid $(BENCH)/chords.wav

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
