# The front door.
#
#   make run               put a photo through a filter of the 32-bit module: build/run/blurred.png
#   make gallery           put the photo through every filter: pages to browse, build/gallery/index.html
#   make test              build and test both widths
#   make recipes           follow the README's recipes on a copy of the tree, and test the result, 64 bits
#   make mutants           apply small faults to the module, one at a time; the tests must catch each
#   make sanitize          the tests under the address, undefined-behavior and leak checkers
#   make coverage          which branches of plugin/ and bridge/ the tests take
#   make bench             how fast the engine is, beside other libraries, and what a call of the module costs
#   make clean             remove what was built; the 32-bit sysroot stays
#
#   ABI=x86_64             the other width for run and gallery; that width alone for test
#   PHOTO=path             the photo of run and gallery: any PNG or JPEG
#   MODULE=path            the filter module of run, such as build/macos-i386/filters.o: its code for 32-bit macOS
#
# On a fresh Debian 12 machine each target first installs what is missing, as root or with sudo.

ABI    ?= i386
PHOTO  ?= /usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg
RADIUS ?= 12
MODULE ?=

# Without a width named, tests run on both.
TEST_ABIS := $(if $(filter undefined file,$(origin ABI)),i386 x86_64,$(ABI))

.PHONY: run gallery test recipes mutants sanitize coverage bench clean configure-% build-%

run: configure-$(ABI)
	@cmake --build --preset $(ABI) --target zeva filters companion $(if $(and $(MODULE),$(filter i386,$(ABI))),filters_macos) -- --quiet
	@mkdir -p build/run
	@build/$(ABI)/bin/zeva apply GaussianBlur inputRadius=$(RADIUS) --keep-size "$(PHOTO)" -o build/run/blurred.png \
		$(if $(MODULE),--module "$(MODULE)")

gallery: configure-$(ABI)
	@cmake --build --preset $(ABI) --target zeva filters companion -- --quiet
	@build/$(ABI)/bin/zeva gallery "$(PHOTO)" -o build/gallery

test:
	@tools/test $(TEST_ABIS)

recipes: build-x86_64
	@tools/setup browser
	@tests/recipes/run_recipes.py

mutants: $(TEST_ABIS:%=configure-%)
	@tests/mutants/run_mutants.py $(TEST_ABIS)

sanitize:
	@tools/test $(TEST_ABIS:%=%-sanitized)

coverage:
	@tools/coverage $(TEST_ABIS)

bench: $(TEST_ABIS:%=configure-%)
	@$(if $(filter x86_64,$(TEST_ABIS)),tools/setup x86_64 rivals && cmake --preset x86_64 -DZEVA_RIVALS=ON --log-level=WARNING >/dev/null)
	@tools/bench $(TEST_ABIS)

configure-%:
	@tools/setup $(firstword $(subst -, ,$*))
	@test -f build/$*/build.ninja || cmake --preset $* --log-level=WARNING

build-%: configure-%
	@cmake --build --preset $* -- --quiet

clean:
	rm -rf $(filter-out build/sysroot-i386,$(wildcard build/*))
