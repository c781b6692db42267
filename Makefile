# The front door.
#
#   make run               put a photo through a filter of the 32-bit module: build/run/blurred.png
#   make test              build and test both widths
#   make mutants           apply small faults to the module, one at a time; the tests must catch each
#   make clean             remove what was built; the 32-bit sysroot stays
#
#   ABI=x86_64             the other width for run; that width alone for test
#   PHOTO=path             the photo of run: any PNG or JPEG
#
# On a fresh Debian 12 machine each target first installs what is missing, as root or with sudo.

ABI    ?= i386
PHOTO  ?= /usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg
RADIUS ?= 12

# Without a width named, tests run on both.
TEST_ABIS := $(if $(filter undefined file,$(origin ABI)),i386 x86_64,$(ABI))

.PHONY: run test mutants clean configure-% build-%

run: configure-$(ABI)
	@cmake --build --preset $(ABI) --target zeva filters companion -- --quiet
	@mkdir -p build/run
	@build/$(ABI)/bin/zeva apply GaussianBlur inputRadius=$(RADIUS) --keep-size "$(PHOTO)" -o build/run/blurred.png

test:
	@tools/test $(TEST_ABIS)

mutants: $(TEST_ABIS:%=configure-%)
	@tests/mutants/run_mutants.py $(TEST_ABIS)

configure-%:
	@tools/setup $*
	@test -f build/$*/build.ninja || cmake --preset $* --log-level=WARNING

build-%: configure-%
	@cmake --build --preset $* -- --quiet

clean:
	rm -rf build/i386 build/x86_64 build/run
