# Ulvex: make run | make test | make bench
BUILD ?= build
JOBS  ?= $(shell nproc)
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo

.PHONY: all deps test-deps configure build run test bench clean

all: build

# What building and running need; the tests add their own (servers among them).
deps:
	@bash tools/install-deps.sh

test-deps:
	@bash tools/install-deps.sh --tests

$(BUILD)/build.ninja: | deps
	cmake -S . -B $(BUILD) -G Ninja $(CMAKE_FLAGS)

configure: deps $(BUILD)/build.ninja

build: configure
	cmake --build $(BUILD) -j $(JOBS)

run: build
	./$(BUILD)/bin/ulvex

test: test-deps build
	cd $(BUILD) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

bench: build
	cd $(BUILD) && QT_QPA_PLATFORM=offscreen cmake --build . --target bench

clean:
	rm -rf $(BUILD)
