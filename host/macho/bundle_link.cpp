// bundle_link.cpp - applies the link information.

#include "host/macho/bundle_link.h"

#include <algorithm>
#include <iterator>

#include "host/macho/binding.h"
#include "host/macho/imports.h"
#include "host/macho/link_info.h"
#include "host/macho/object_error.h"

namespace host::macho {

namespace {

void CheckLibrary(std::string_view name) {
    const auto isNamed = [&](const Library* library) { return library->installName == name; };
    if (std::any_of(std::begin(kLibraries), std::end(kLibraries), isNamed)) return;
    throw ObjectError("library " + std::string(name), "it does not exist here");
}

std::uint32_t TargetOf(const Bind& bind, const ObjectFile& bundle) {
    return AddressOf(bind.symbol, bundle.libraries[bind.library]) + bind.addend;
}

}  // namespace

LazyBindings LinkBundle(const ObjectFile& bundle, const Image& image) {
    for (const std::string& library : bundle.libraries) CheckLibrary(library);
    for (const std::uint32_t address : DecodeRebases(bundle)) {
        image.SetWord(address, image.Word(address) + image.Base());
    }
    for (const Bind& bind : DecodeBinds(bundle)) image.SetWord(bind.address, TargetOf(bind, bundle));
    LazyBindings later;
    for (const auto& [number, bind] : DecodeLazyBinds(bundle)) {
        later[number] = {.place = image.Base() + bind.address, .function = TargetOf(bind, bundle)};
    }
    return later;
}

}  // namespace host::macho
