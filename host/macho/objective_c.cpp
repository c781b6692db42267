// objective_c.cpp - resolves selectors and classes of a loaded object, and checks its constant strings.

#include "host/macho/objective_c.h"

#include <objc/runtime.h>

#include <cstring>
#include <string>

#include "host/macho/binding.h"
#include "host/macho/constant_string.h"
#include "host/macho/object_error.h"

namespace host::macho {

namespace {

// Replaces each pointer to a name in a section by the result of looking up the name.
template <typename Lookup>
void ReplaceNames(const ObjectFile& object, const Image& image, const char* sectionName, Lookup lookup) {
    const Section* section = object.Find(sectionName);
    if (section == nullptr) return;
    const std::uint32_t count = static_cast<std::uint32_t>(section->bytes.size()) / 4;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t address = section->address + 4 * i;
        const char* name = image.Text(image.Word(address));
        if (name == nullptr || *name == '\0') {
            throw ObjectError("section " + section->name, "pointer " + std::to_string(i) + " does not point to a name");
        }
        image.SetWord(address, lookup(name));
    }
}

void CheckStrings(const ObjectFile& object, const Image& image) {
    const Section* section = object.Find("__DATA,__cfstring");
    if (section == nullptr) return;
    const auto count = static_cast<std::uint32_t>(section->bytes.size() / sizeof(ConstantString));
    for (std::uint32_t i = 0; i < count; ++i) {
        ConstantString string;
        std::memcpy(&string, image.At(section->address) + i * sizeof string, sizeof string);
        const std::string what = "constant string " + std::to_string(i);
        if (string.isa != AddressOf("___CFConstantStringClassReference")) {
            throw ObjectError(what, "its class is not that of constant strings");
        }
        if (string.flags != kEightBitCharacters) throw ObjectError(what, "its characters are not 8 bits wide");
        const char* text = image.Text(string.bytes);
        if (text == nullptr || std::strlen(text) != string.length) {
            throw ObjectError(what, "its text is not " + std::to_string(string.length) + " characters long");
        }
    }
}

// What the compiler says about an image as a whole.
struct ImageInfo {
    std::uint32_t version;
    std::uint32_t flags;
};
constexpr std::uint32_t kNeedsGarbageCollection = 4;

// What the compiler says about a source, for the runtime, which registers the definitions in its table.
struct SourceInfo {
    std::uint32_t version;
    std::uint32_t size;  // of this structure
    std::uint32_t name;
    std::uint32_t table;  // null without definitions
};
constexpr std::uint32_t kSourceInfoVersion = 7;

// Calls a function with the number and each structure of a section.
template <typename Structure, typename Function>
void ForEach(const ObjectFile& object, const Image& image, const char* sectionName, Function function) {
    const Section* section = object.Find(sectionName);
    if (section == nullptr) return;
    if (section->bytes.size() % sizeof(Structure) != 0) {
        throw ObjectError("section " + section->name, "its " + std::to_string(section->bytes.size()) +
                                                          " bytes are not a multiple of " +
                                                          std::to_string(sizeof(Structure)));
    }
    for (std::uint32_t offset = 0; offset < section->bytes.size(); offset += sizeof(Structure)) {
        Structure structure;
        std::memcpy(&structure, image.At(section->address + offset), sizeof structure);
        function(structure);
    }
}

// Checks what the runtime of the platform reads when it registers an image.
void CheckDescriptions(const ObjectFile& object, const Image& image) {
    ForEach<ImageInfo>(object, image, "__OBJC,__image_info", [](const ImageInfo& info) {
        if (info.version == 0 && (info.flags & kNeedsGarbageCollection) == 0) return;
        throw ObjectError("section __OBJC,__image_info", "version " + std::to_string(info.version) + " with flags " +
                                                             std::to_string(info.flags) + " is not supported");
    });
    ForEach<SourceInfo>(object, image, "__OBJC,__module_info", [](const SourceInfo& info) {
        if (info.version != kSourceInfoVersion || info.size != sizeof info) {
            throw ObjectError("section __OBJC,__module_info", "version " + std::to_string(info.version) + " of " +
                                                                  std::to_string(info.size) +
                                                                  " bytes is not supported");
        }
        if (info.table != 0) {
            throw ObjectError("section __OBJC,__module_info", "a source has a table of definitions; none is supported");
        }
    });
}

// The sections that hold definitions of an object.
constexpr const char* kDefinitions[] = {"__OBJC,__class", "__OBJC,__category", "__OBJC,__protocol"};

}  // namespace

void FixUpObjectiveC(const ObjectFile& object, const Image& image) {
    for (const char* name : kDefinitions) {
        if (object.Find(name) == nullptr) continue;
        throw ObjectError(std::string("section ") + name,
                          "classes, categories and protocols that a module defines are not supported");
    }
    CheckDescriptions(object, image);
    ReplaceNames(object, image, "__OBJC,__message_refs", [](const char* name) {
        return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(sel_registerName(name)));
    });
    ReplaceNames(object, image, "__OBJC,__cls_refs", AddressOfClass);
    CheckStrings(object, image);
}

}  // namespace host::macho
