// load_object.cpp - the steps of loading an object.

#include "host/macho/load_object.h"

#include <utility>

#include "host/macho/bundle_link.h"
#include "host/macho/image.h"
#include "host/macho/lazy_binding.h"
#include "host/macho/link_info.h"
#include "host/macho/object_file.h"
#include "host/macho/objective_c.h"
#include "host/macho/relocation.h"
#include "host/macho/unwind_table.h"

namespace host::macho {

namespace {

std::map<std::string, std::uint32_t> ExportsOf(const ObjectFile& object) {
    if (object.isBundle) return DecodeExports(object);
    std::map<std::string, std::uint32_t> exports;
    for (const Symbol& symbol : object.symbols) {
        if (symbol.isExported) exports[std::string(symbol.name)] = symbol.value;
    }
    return exports;
}

}  // namespace

LoadedObject LoadObject(std::span<const unsigned char> file, std::uint32_t address) {
    const ObjectFile object = ReadObject(file);
    Image image(object, address);
    LazyBindings later;
    if (object.isBundle) {
        later = LinkBundle(object, image);
    } else {
        Relocate(object, image);
    }
    FixUpObjectiveC(object, image);
    UnwindTable unwindTable(object, image);
    LoadedObject loaded;
    for (const auto& [name, value] : ExportsOf(object)) {
        if (name.starts_with('_')) loaded.exports[name.substr(1)] = image.At(value);
    }
    loaded.data = image.Data();
    loaded.base = image.Base();
    loaded.size = image.Size();
    image.Protect();
    RegisterLazyBindings(image.Base(), image.Size(), std::move(later));
    unwindTable.Register();
    image.Keep();
    return loaded;
}

}  // namespace host::macho
