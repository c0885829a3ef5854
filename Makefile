# What a person does with the project, each in one go on a fresh machine. The building itself is CMake's.

ccache := $(shell command -v ccache)
ifneq ($(ccache),)
export CMAKE_C_COMPILER_LAUNCHER ?= $(ccache)
export CMAKE_CXX_COMPILER_LAUNCHER ?= $(ccache)
export CCACHE_SLOPPINESS ?= pch_defines,time_macros
endif

.PHONY: help native demo test windows package soak fuzz bench check pictures setup-% clean

help:
	@echo 'make demo      build and hear it: plays a sound, on the sound server where one answers'
	@echo 'make test      build natively and for Windows (32 and 64 bit), run every test'
	@echo 'make native    only the native build: build/native/lib/libtolvane.so, build/native/bin/tolvane'
	@echo 'make windows   only the Windows builds and their tests under Wine'
	@echo 'make package   the packages for Debian and for Windows, into build/packages'
	@echo 'make soak      rare faults: a million edits, 2000 kills, 10000 cancelled conversions, files near 2 GiB'
	@echo 'make fuzz      looks for inputs that break something, a minute for each kind (FUZZ_SECONDS=60)'
	@echo 'make bench     the benchmarks'
	@echo 'make check     format, lint, both compilers, sanitizers'
	@echo 'make pictures  the pictures of the README anew'
	@echo 'make clean     remove everything built'

setup-%:
	@tools/setup $(subst +, ,$*)

native: setup-native
	@tools/build native

demo: setup-native
	@tools/build native tolvane_program
	@tools/demo

test: setup-windows
	@tools/test native win32 win64

windows: setup-windows
	@tools/test win32 win64

package: setup-windows
	@tools/package

soak: setup-native
	@tools/soak

fuzz: setup-check
	@tools/fuzz

bench: setup-bench
	@tools/build native tolvane_program loops codec_loops library_cost edit_job
	@build/native/bin/loops
	@build/native/bin/codec_loops
	@sox -n -r 44100 -c 2 -b 16 build/native/bench.wav synth 20 sine 440 gain -6
	@tools/sound-server run build/native/bin/library_cost build/native/bench.wav
	@python3 bench/play_cost.py
	@python3 bench/reformat_cost.py
	@python3 bench/edit_cost.py

check: setup-windows+check
	@tools/check

pictures: setup-native
	@tools/build native tolvane_program
	@tools/pictures

clean:
	rm -rf build
