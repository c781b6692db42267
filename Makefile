# The front door.
#
#   make run               put a photo through a filter of the 32-bit module: build/run/blurred.png
#   make gallery           put the photo through every filter and write pages to browse: build/gallery/index.html
#   make studio            open the photo in the browser, where every filter can be tried live; prints the link
#   make test              build and test both widths
#   make recipes           follow the README's recipes on a copy of the tree, and test the result, 64 bits
#   make lint              check formatting, include directions, spelling and the quick static checks
#   make tidy              the slow static checks
#   make install           install below PREFIX (/usr/local), or below DESTDIR/PREFIX for a packager
#   make package           make a Debian package for each width: build/<width>/package/
#   make wheel             make a wheel of the Python package with the libraries: build/<width>/wheel/
#   make package-test      install, run, upgrade and remove those packages in a clean root; needs root
#   make reproducible      build twice, in two folders at two times, and compare the bytes of all that comes out
#   make kill-test         kill a job of 2,000 pictures at 20 random moments; the outputs must be those of one run
#   make cluster           run a job of 600 pictures on a Slurm cluster of three nodes on this machine and kill a node,
#                          and a smaller one over SSH; needs root
#   make mutants           apply small faults to the sources, one at a time; the tests must catch each. ONLY=folder
#                          tries those of a folder; a run that was interrupted goes on
#   make sanitize          run the tests under the address, undefined-behavior and leak sanitizers, and make fuzz
#                          for a minute
#   make fuzz              give random input to what reads files and records, for MINUTES (10) each, 64 bits
#   make seeds             run the random tests with SEEDS (10) other seeds
#   make coverage          list the branches of plugin/ and bridge/ that the tests do not take
#   make fidelity          write docs/fidelity.md anew: how close each filter is to the platform's; needs its renders
#   make bench             measure the engine beside other libraries, and the cost of a call of the module;
#                          WRITE=1 writes docs/speed.md anew; QUICK=1 takes two minutes, without other libraries
#   make bench-files       measure the program from file to file beside other programs
#   make bench-studio      measure how fast the studio follows the mouse, and write docs/speed.md's table; not a test
#   make soak-studio       use the studio at random for ten minutes and watch its memory
#   make clean             remove what was built; the 32-bit sysroot stays
#
#   ABI=x86_64             the other width for run, gallery and install; only that width for the targets that use both
#   SEEDS=number           how many seeds make seeds tries
#   MINUTES=number         how long make fuzz runs each of its programs
#   PHOTO=path             the photo of run and gallery: any picture that the program reads
#   SECOND=path            the second picture of gallery, for filters that take two
#   MODULE=path            the filter module of run, such as build/macos-i386/filters.bundle: the one for 32-bit macOS
#
# On a fresh Debian 12 machine each target first installs what is missing, as root or with sudo.

ABI    ?= i386
PHOTO  ?= /usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg
SECOND ?= /usr/share/matplotlib/mpl-data/sample_data/Minduka_Present_Blue_Pack.png
RADIUS ?= 12
MODULE ?=
PREFIX ?= /usr/local
MINUTES ?= 10
SEEDS   ?= 10

# The date of what packages contain: the same sources give the same packages at any time. Without a repository it is the
# earliest date that every kind of archive can hold.
export SOURCE_DATE_EPOCH ?= $(or $(shell git log -1 --format=%ct 2>/dev/null),315532800)

# Targets that use both widths use one if it is named.
TEST_ABIS := $(if $(filter undefined file,$(origin ABI)),i386 x86_64,$(ABI))

# What is installed beside the program and its modules.
INSTALLED := zeva_plugin_archive zeva_host_library zeva_host_probe zeva_python

# The presets that are tested. x86_64-checked runs the suites along the boundary under the sanitizers.
TEST_PRESETS ?= $(TEST_ABIS)

# The code for macOS needs more tools than the rest, and only a 32-bit host can run it.
MACOS_MODULE := $(if $(MODULE),$(filter i386,$(ABI)))

.PHONY: run gallery test lint tidy install package wheel package-test mutants sanitize coverage bench clean
.PHONY: seeds fidelity recipes studio bench-studio soak-studio bench-files kill-test cluster fuzz reproducible
.PHONY: program-% configure-% build-% package-% engine-x86_64

run: program-$(ABI)
	$(if $(MACOS_MODULE),@cmake --build --preset $(ABI) --target zeva_filters_macos -- --quiet)
	@mkdir -p build/run
	@build/$(ABI)/bin/zeva apply GaussianBlur inputRadius=$(RADIUS) --keep-size "$(PHOTO)" -o build/run/blurred.png \
		$(if $(MODULE),--module "$(MODULE)")

gallery: program-$(ABI)
	@build/$(ABI)/bin/zeva gallery "$(PHOTO)" --second "$(SECOND)" -o build/gallery

# The build folder looks for the web server's library again, which may be new.
studio:
	@tools/setup $(ABI) studio
	@tools/configure program $(ABI) -UZEVA_civetweb_*
	@tools/report_time compile cmake --build --preset $(ABI) --target zeva zeva_filters zeva_companion -- --quiet
	@build/$(ABI)/bin/zeva studio "$(PHOTO)"

bench-studio: build-x86_64
	@tools/setup browser
	@tests/studio/speed.py build/x86_64/bin/zeva --write

soak-studio: build-x86_64
	@tools/setup browser
	@tests/studio/soak.py build/x86_64/bin/zeva

test:
	@tools/test $(TEST_PRESETS)

lint:
	@tools/setup x86_64 tests lint
	@tools/lint

tidy:
	@tools/setup x86_64 tests lint
	@tools/lint tidy-all

install: program-$(ABI)
	@cmake --build --preset $(ABI) --target $(INSTALLED) -- --quiet
	@cmake --install build/$(ABI) --prefix "$(PREFIX)" --strip >/dev/null
	@echo "installed $(DESTDIR)$(PREFIX)/bin/zeva"

package: $(TEST_ABIS:%=package-%)

package-%: program-%
	@cmake --build --preset $* --target $(INSTALLED) -- --quiet
	@umask 022 && cpack --config build/$*/CPackConfig.cmake >build/$*/package.log || \
		{ cat build/$*/package.log >&2; exit 1; }
	@ls build/$*/package/*.deb

wheel: program-$(ABI)
	@cmake --build --preset $(ABI) --target $(INSTALLED) -- --quiet
	@tools/setup python
	@/usr/bin/python3 -B python/make_wheel.py build/$(ABI) build/$(ABI)/wheel

package-test: $(TEST_ABIS:%=package-%)
	@tools/setup package
	@tests/package/package_test.py $(TEST_ABIS)

reproducible:
	@tools/setup $(TEST_ABIS) tests reproducible
	@tests/package/reproduce.py $(TEST_ABIS)

recipes: build-x86_64
	@tools/setup browser
	@tests/recipes/run_recipes.py

kill-test: $(TEST_ABIS:%=program-%)
	@for abi in $(TEST_ABIS); do tests/program/kill_test.py build/$$abi/bin/zeva 2000 20 || exit 1; done

cluster: program-$(ABI)
	@tools/setup cluster
	@tests/cluster/slurm_test.py build/$(ABI)/bin/zeva . 600 960
	@tests/cluster/ssh_test.py build/$(ABI)/bin/zeva .

mutants: $(TEST_ABIS:%=configure-%)
	@tests/mutants/run_mutants.py $(if $(ONLY),--only $(ONLY)) $(TEST_ABIS)

sanitize:
	@tools/test $(TEST_ABIS:%=%-sanitized)
	@$(if $(filter x86_64,$(TEST_ABIS)),$(MAKE) --no-print-directory fuzz MINUTES=1)

fuzz: configure-x86_64-fuzz
	@tools/report_time compile cmake --build --preset x86_64-fuzz -- --quiet
	@tools/fuzz $(MINUTES)

seeds: $(TEST_ABIS:%=build-%)
	@for seed in $$(shuf --input-range=2-1000000 --head-count=$(SEEDS)); do for abi in $(TEST_ABIS); do \
		echo "ZEVA_SEED=$$seed $$abi"; \
		ZEVA_SEED=$$seed ctest --preset $$abi --tests-regex '^engine\.|Random' --quiet --output-on-failure || exit 1; \
	done; done

coverage:
	@tools/coverage $(TEST_ABIS)

fidelity: build-x86_64
	@tools/fidelity.py x86_64 "$(PHOTO)"

bench: $(TEST_ABIS:%=configure-%)
ifeq ($(QUICK)$(filter-out x86_64,$(firstword $(filter x86_64,$(TEST_ABIS)) none)),)
	@tools/setup x86_64 rivals
	@cmake --preset x86_64 -DZEVA_RIVALS=ON --log-level=WARNING >/dev/null
endif
	@tools/bench $(if $(QUICK),--quick,$(if $(WRITE),--write)) $(TEST_ABIS)

bench-files: $(TEST_ABIS:%=program-%)
	@tools/setup x86_64 rivals
	@tools/bench_files --write $(TEST_ABIS)

# The program and its modules, with no more packages than they need. A build folder that has the tests keeps them.
program-%:
	@tools/setup $* $(if $(MACOS_MODULE),tests)
	@tools/configure program $* $(if $(MACOS_MODULE),-DZEVA_MACOS_CODE=ON)
	@tools/report_time compile cmake --build --preset $* --target zeva zeva_filters zeva_companion -- --quiet

# A preset with its tests.
configure-%:
	@tools/setup $(firstword $(subst -, ,$*)) tests
	@tools/configure tests $*

build-%: configure-%
	@tools/report_time compile cmake --build --preset $* -- --quiet

# Its engine, which is not sanitized, is that of the other folder.
build-x86_64-checked: engine-x86_64
engine-x86_64: configure-x86_64
	@tools/report_time compile cmake --build --preset x86_64 --target zeva_core_image_engine -- --quiet

clean:
	rm -rf $(filter-out build/sysroot-i386,$(wildcard build/*))
