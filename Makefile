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
#   make kill-test         kill a job of 2,000 pictures at 20 random moments; the outputs must be those of one run
#   make cluster           run a job of 600 pictures on a Slurm cluster of three nodes on this machine and kill a node;
#                          needs root
#   make mutants           apply small faults to the module, one at a time; the tests must catch each
#   make sanitize          run the tests under the address, undefined-behavior and leak sanitizers
#   make coverage          list the branches of plugin/ and bridge/ that the tests do not take
#   make fidelity          write docs/fidelity.md anew: how close each filter is to the platform's; needs its renders
#   make bench             measure the engine beside other libraries, and the cost of a call of the module
#   make bench-files       measure the program from file to file beside other programs
#   make bench-studio      measure how fast the studio follows the mouse, and write docs/speed.md's table; not a test
#   make soak-studio       use the studio at random for ten minutes and watch its memory
#   make clean             remove what was built; the 32-bit sysroot stays
#
#   ABI=x86_64             the other width for run, gallery and install; only that width for the targets that use both
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

# Targets that use both widths use one if it is named.
TEST_ABIS := $(if $(filter undefined file,$(origin ABI)),i386 x86_64,$(ABI))

# The presets that are tested. x86_64-checked runs the suites along the boundary under the sanitizers.
TEST_PRESETS ?= $(TEST_ABIS)

# The code for macOS needs more tools than the rest, and only a 32-bit host can run it.
MACOS_MODULE := $(if $(MODULE),$(filter i386,$(ABI)))

.PHONY: run gallery test lint tidy install package wheel package-test mutants sanitize coverage bench clean
.PHONY: fidelity recipes studio bench-studio soak-studio bench-files kill-test cluster
.PHONY: program-% configure-% build-% package-%

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
	@tools/setup x86_64 lint
	@tools/lint

tidy:
	@tools/setup x86_64 lint
	@tools/lint tidy-all

install: program-$(ABI)
	@cmake --build --preset $(ABI) --target zeva_plugin_archive zeva_host_library zeva_python -- --quiet
	@cmake --install build/$(ABI) --prefix "$(PREFIX)" --strip >/dev/null
	@echo "installed $(DESTDIR)$(PREFIX)/bin/zeva"

package: $(TEST_ABIS:%=package-%)

package-%: program-%
	@cmake --build --preset $* --target zeva_plugin_archive zeva_host_library zeva_python -- --quiet
	@cpack --config build/$*/CPackConfig.cmake >build/$*/package.log || { cat build/$*/package.log >&2; exit 1; }
	@ls build/$*/package/*.deb

wheel: program-$(ABI)
	@cmake --build --preset $(ABI) --target zeva_plugin_archive zeva_host_library zeva_python -- --quiet
	@tools/setup python
	@/usr/bin/python3 -B python/make_wheel.py build/$(ABI) build/$(ABI)/wheel

package-test: $(TEST_ABIS:%=package-%)
	@tools/setup package
	@tests/package/package_test.py $(TEST_ABIS)

recipes: build-x86_64
	@tools/setup browser
	@tests/recipes/run_recipes.py

kill-test: $(TEST_ABIS:%=program-%)
	@for abi in $(TEST_ABIS); do tests/program/kill_test.py build/$$abi/bin/zeva 2000 20 || exit 1; done

cluster: program-$(ABI)
	@tools/setup cluster
	@tests/cluster/cluster_test.py build/$(ABI)/bin/zeva . 600 960

mutants: $(TEST_ABIS:%=configure-%)
	@tests/mutants/run_mutants.py $(TEST_ABIS)

sanitize:
	@tools/test $(TEST_ABIS:%=%-sanitized)

coverage:
	@tools/coverage $(TEST_ABIS)

fidelity: build-x86_64
	@tools/fidelity.py x86_64 "$(PHOTO)"

bench: $(TEST_ABIS:%=configure-%)
	@$(if $(filter x86_64,$(TEST_ABIS)),tools/setup x86_64 rivals)
	@$(if $(filter x86_64,$(TEST_ABIS)),cmake --preset x86_64 -DZEVA_RIVALS=ON --log-level=WARNING >/dev/null)
	@tools/bench $(TEST_ABIS)

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

clean:
	rm -rf $(filter-out build/sysroot-i386,$(wildcard build/*))
