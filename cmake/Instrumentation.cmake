# Builds that watch themselves, each a preset of its own:
#   ZEVA_SANITIZE   the address and undefined-behavior sanitizers (and the leak checker, where the width has one)
#   ZEVA_COVERAGE   counters for every branch
option(ZEVA_SANITIZE "build with the address and undefined-behavior sanitizers" OFF)
option(ZEVA_COVERAGE "build with coverage counters" OFF)

if(ZEVA_SANITIZE)
    # Why no vptr check: it asks for type information of classes that other libraries made. Why no function check: a handle
    # means one type to the host and another to a module, so calls across the boundary never have the callee's C++ type.
    add_compile_options(-fsanitize=address,undefined -fno-sanitize=vptr,function -fno-sanitize-recover=undefined
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
    # Only a test run knows which leaks are not ours.
    set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
endif()
if(ZEVA_COVERAGE)
    add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
    add_link_options(-fprofile-instr-generate)
endif()
