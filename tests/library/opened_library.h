// opened_library.h - libzeva as an interpreter opens it: with dlopen, in a program that links nothing of it.
//
// Lifetime: the library and its host stay open until the process ends.

#pragma once

#include <gtest/gtest.h>

#include <string>

#include "zeva/host.h"

// The functions of the library that the tests call, under their names.
// clang-format off
#define LIBRARY_FUNCTIONS(FUNCTION) \
    FUNCTION(ZevaOpenHost) \
    FUNCTION(ZevaCloseHost) \
    FUNCTION(ZevaLoadModule) \
    FUNCTION(ZevaLastError) \
    FUNCTION(ZevaCountReferences) \
    FUNCTION(ZevaNextClass) \
    FUNCTION(ZevaFindClass) \
    FUNCTION(ZevaFindMember) \
    FUNCTION(ZevaDescribeClass) \
    FUNCTION(ZevaConstruct) \
    FUNCTION(ZevaGet) \
    FUNCTION(ZevaSet) \
    FUNCTION(ZevaSetNumber) \
    FUNCTION(ZevaCall) \
    FUNCTION(ZevaClassOf) \
    FUNCTION(ZevaRetain) \
    FUNCTION(ZevaRelease) \
    FUNCTION(ZevaReleaseValue) \
    FUNCTION(ZevaValueFromText) \
    FUNCTION(ZevaNewBlock) \
    FUNCTION(ZevaBlockBytes)
// clang-format on

struct OpenedLibrary {
#define FUNCTION(name) decltype(&::name) name;
    LIBRARY_FUNCTIONS(FUNCTION)
#undef FUNCTION

    // The library with its host open.
    static OpenedLibrary& Get();

    // The message of the latest failure.
    std::string Message() const { return ZevaLastError()->message; }

    const ZevaClass* Class(const char* name) const;
    const ZevaMember* Member(const char* className, const char* name, bool isShared = false) const;
    ZevaObject* New(const char* className) const;
    int64_t Objects() const;
};
