# Ulvex: make run | make test | make bench
BUILD ?= build
JOBS  ?= $(shell nproc)
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo

.PHONY: all deps configure build run test bench clean

all: build

deps:
	@bash tools/install-deps.sh

$(BUILD)/build.ninja: | deps
	cmake -S . -B $(BUILD) -G Ninja $(CMAKE_FLAGS)

configure: deps $(BUILD)/build.ninja

build: configure
	cmake --build $(BUILD) -j $(JOBS)

run: build
	./$(BUILD)/bin/ulvex

test: build
	cd $(BUILD) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

bench: build
	cd $(BUILD) && QT_QPA_PLATFORM=offscreen cmake --build . --target bench

clean:
	rm -rf $(BUILD)
