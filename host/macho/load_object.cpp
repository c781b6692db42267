// load_object.cpp - the steps of loading an object.

#include "host/macho/load_object.h"

#include "host/macho/image.h"
#include "host/macho/object_file.h"
#include "host/macho/objective_c.h"
#include "host/macho/relocation.h"
#include "host/macho/unwind_table.h"

namespace host::macho {

LoadedObject LoadObject(std::span<const unsigned char> file) {
    const ObjectFile object = ReadObject(file);
    Image image(object);
    Relocate(object, image);
    FixUpObjectiveC(object, image);
    UnwindTable unwindTable(object, image);
    image.Protect();
    LoadedObject loaded;
    for (const Symbol& symbol : object.symbols) {
        if (!symbol.isExported || !symbol.name.starts_with('_')) continue;
        loaded.exports[std::string(symbol.name.substr(1))] = image.At(symbol.value);
    }
    loaded.data = image.Data();
    unwindTable.Register();
    image.Keep();
    return loaded;
}

}  // namespace host::macho
