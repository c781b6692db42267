// object.cpp - object files for 32-bit macOS, which the linker reads. What it links must be a bundle that the loader's
// decoders accept.

#include <cstdint>
#include <cstdlib>

#include "host/macho/link_info.h"
#include "host/macho/object_error.h"
#include "host/macho/object_file.h"
#include "tools/link_bundle/linker.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length) {
    linker::Bytes linked;
    try {
        static_cast<void>(host::macho::ReadObject({bytes, length}));
        linked = linker::Link({bytes, length});
    } catch (const host::macho::ObjectError&) {
        return 0;
    }
    // Not in the block above: an error here is one of the linker's, and ends the program.
    const host::macho::ObjectFile bundle = host::macho::ReadObject(linked);
    if (!bundle.isBundle) std::abort();
    static_cast<void>(host::macho::DecodeRebases(bundle));
    static_cast<void>(host::macho::DecodeBinds(bundle));
    static_cast<void>(host::macho::DecodeLazyBinds(bundle));
    static_cast<void>(host::macho::DecodeExports(bundle));
    return 0;
}
