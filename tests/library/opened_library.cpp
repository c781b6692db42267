// opened_library.cpp - opens the library once, and the shortcuts of the tests.

#include "tests/library/opened_library.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

OpenedLibrary& OpenedLibrary::Get() {
    static OpenedLibrary* const library = [] {
        void* file = dlopen(ZEVA_HOST_LIBRARY, RTLD_NOW);
        if (file == nullptr) {
            std::fprintf(stderr, "%s\n", dlerror());
            std::abort();
        }
        auto* opened = new OpenedLibrary();
#define FUNCTION(name) opened->name = reinterpret_cast<decltype(opened->name)>(dlsym(file, #name));
        LIBRARY_FUNCTIONS(FUNCTION)
#undef FUNCTION
        if (opened->ZevaOpenHost(nullptr) != kZevaDone) {
            std::fprintf(stderr, "%s\n", opened->Message().c_str());
            std::abort();
        }
        return opened;
    }();
    return *library;
}

const ZevaClass* OpenedLibrary::Class(const char* name) const {
    const ZevaClass* isa = nullptr;
    EXPECT_EQ(ZevaFindClass(name, &isa), kZevaDone) << Message();
    return isa;
}

const ZevaMember* OpenedLibrary::Member(const char* className, const char* name, bool isShared) const {
    const ZevaMember* member = nullptr;
    EXPECT_EQ(ZevaFindMember(Class(className), name, isShared ? 1 : 0, &member), kZevaDone) << Message();
    return member;
}

ZevaObject* OpenedLibrary::New(const char* className) const {
    ZevaObject* object = nullptr;
    EXPECT_EQ(ZevaConstruct(Class(className), nullptr, 0, &object), kZevaDone) << Message();
    return object;
}

int64_t OpenedLibrary::Objects() const {
    int64_t objects = -1;
    EXPECT_EQ(ZevaCountReferences(&objects, nullptr), kZevaDone);
    return objects;
}
