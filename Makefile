# Two commands do everything on a fresh Debian 12 machine:
#   make run    install what is missing, build, run the whole suite on the simulated card
#   make test   the same, then every test
# The others are for developers; `make help` lists them.
.DEFAULT_GOAL := help
BUILD := build/release
SHELL := /bin/sh

.PHONY: help
help:
	@echo "make run       install what is missing, build, run the suite on the simulated card"
	@echo "make test      the same, then every test (release, then readers and card under sanitizers)"
	@echo "make build     build only"
	@echo "make install   install below DESTDIR/PREFIX (default /usr/local)"
	@echo "make bench     build and run the benchmarks"
	@echo "make fuzz      build and run each fuzz target for a minute"
	@echo "make sanitize  under ASan and UBSan: what make test runs there, and the tests of the suite's areas"
	@echo "make lint      clang-format and clang-tidy, changing nothing"
	@echo "make mutate    change what the branch touched in small ways; tell what no test notices"
	@echo "make format    format all sources"
	@echo "make coverage  line coverage of the tests"
	@echo "make clean     remove everything built"

.PHONY: packages packages-test packages-dev
packages:
	@scripts/install-packages packages.txt
packages-test:
	@scripts/install-packages packages.txt packages-test.txt
packages-dev:
	@scripts/install-packages packages.txt packages-test.txt packages-dev.txt

# Configures and builds quietly; the whole log is shown when it fails.
.PHONY: build
build: packages
	@scripts/build release prm_kiv kivctl

.PHONY: run
run: build
	@$(BUILD)/app/prm_kiv --site site/sim --strict-site --out build/run $(ARGS)

.PHONY: test
test: packages-test
	@scripts/build release
	@$(BUILD)/app/prm_kiv --site site/sim --strict-site --out build/run
	@scripts/run-tests

.PHONY: install
PREFIX ?= /usr/local
install: build
	cmake --install $(BUILD) --prefix "$(DESTDIR)$(PREFIX)"

.PHONY: bench
bench: packages-dev
	@scripts/build bench
	@scripts/run-benchmarks

.PHONY: fuzz
fuzz: packages-dev
	@scripts/build fuzz fuzz_targets
	@scripts/run-fuzzers

# More than `make test` runs there: the tests of the suite's areas too.
.PHONY: sanitize
sanitize: packages-test
	@scripts/build sanitize sanitized_tests sanitized_suite_tests
	@ctest --test-dir build/sanitize -L sanitized -j "$$(nproc)" --output-on-failure

.PHONY: lint format mutate coverage
lint: packages-dev
	@scripts/lint $(ARGS)
format: packages-test
	@scripts/lint --fix-format
mutate: packages-test
	@scripts/mutate $(ARGS)
coverage: packages-dev
	@scripts/build coverage
	cd build/coverage && ctest --output-on-failure && gcovr -r ../.. --exclude ../../tests --print-summary

.PHONY: clean
clean:
	rm -rf build
