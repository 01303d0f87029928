# VELTRA: `make run` to play, `make test` to check everything.
JOBS ?= $(shell nproc)
RELEASE := build/release
TEST := build/test
BENCH := build/bench

.PHONY: all deps build run install deb test bench fuzz tsan format clean

all: build

deps:
	@bash scripts/deps.sh

build: deps
	cmake -S . -B $(RELEASE) -DCMAKE_BUILD_TYPE=Release -DVELTRA_BUILD_TESTS=OFF
	cmake --build $(RELEASE) -j$(JOBS)

run: build
	$(RELEASE)/bin/veltra

# The usual layout under PREFIX: bin/, lib/lv2/, lib/clap/, share/veltra/,
# share/applications/, share/icons/, share/metainfo/, share/man/.
PREFIX ?= /usr/local
# The plug-ins go to $(PREFIX)/lib/lv2 and $(PREFIX)/lib/clap; under the home
# folder hosts look in ~/.lv2 and ~/.clap instead, so they are linked there too.
install: build
	cmake --install $(RELEASE) --prefix $(PREFIX)
	@prefix=$$(realpath -m "$(PREFIX)"); home=$$(realpath -m "$$HOME"); \
	case "$$prefix/" in "$$home"/*) \
	  mkdir -p "$$HOME/.lv2" && ln -sfn "$$prefix/lib/lv2/veltra.lv2" "$$HOME/.lv2/veltra.lv2" && \
	  echo "LV2 plug-in linked as ~/.lv2/veltra.lv2" && \
	  mkdir -p "$$HOME/.clap" && ln -sfn "$$prefix/lib/clap/veltra.clap" "$$HOME/.clap/veltra.clap" && \
	  echo "CLAP plug-in linked as ~/.clap/veltra.clap";; esac

# A Debian package of the same files under /usr, checked by lintian.
deb: build
	cd $(RELEASE) && cpack -G DEB
	lintian $(RELEASE)/veltra_*.deb
	@ls -l $(RELEASE)/veltra_*.deb

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
	@echo "== the LV2 plug-in beside mda JX10 and DX10"
	@bash scripts/lv2-cpu.sh $(BENCH)
	@echo "== the window's cost while a chord plays"
	@bash scripts/window-cpu.sh $(BENCH)/bin/veltra
	@echo "== start-up time"
	@bash scripts/startup-time.sh 5 $(BENCH)

# Each fuzz target for FUZZ_SECONDS (default 60) with libFuzzer; what they
# find goes to build/fuzz/artifacts and belongs under tests/fuzz once fixed.
FUZZ := build/fuzz
FUZZ_SECONDS ?= 60
FUZZ_TARGETS := program chunk png ini midi smf base64 osc controllers options
fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ) -DCMAKE_BUILD_TYPE=Debug -DVELTRA_FUZZ=ON -DVELTRA_BUILD_TESTS=OFF
	cmake --build $(FUZZ) -j$(JOBS)
	$(FUZZ)/bin/make_seeds $(FUZZ)/corpus
	@for t in $(FUZZ_TARGETS); do \
	  mkdir -p $(FUZZ)/corpus/$$t $(FUZZ)/artifacts/$$t; \
	  echo "== fuzz_$$t for $(FUZZ_SECONDS) s"; \
	  $(FUZZ)/bin/fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -rss_limit_mb=2048 -print_final_stats=1 \
	    -artifact_prefix=$(FUZZ)/artifacts/$$t/ $(FUZZ)/corpus/$$t tests/fuzz/$$t || exit 1; \
	done

# The tests where three threads meet, under ThreadSanitizer.
TSAN := build/tsan
tsan: deps
	cmake -S . -B $(TSAN) -DCMAKE_BUILD_TYPE=Debug -DVELTRA_TSAN=ON
	cmake --build $(TSAN) -j$(JOBS) --target app_tests veltra_tests lv2_tests
	TSAN_OPTIONS=halt_on_error=1:suppressions=$(CURDIR)/tests/common/tsan.supp $(TSAN)/bin/app_tests --gtest_filter='Threads.*:MidiCallback.*'
	TSAN_OPTIONS=halt_on_error=1:suppressions=$(CURDIR)/tests/common/tsan.supp $(TSAN)/bin/veltra_tests --gtest_filter='VELTRAVoices.*'
	TSAN_OPTIONS=halt_on_error=1:suppressions=$(CURDIR)/tests/common/tsan.supp $(TSAN)/bin/lv2_tests --gtest_filter='LV2Plugin.TwoInstances*'

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
