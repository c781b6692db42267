// bundle.cpp - bundles for 32-bit macOS, as the loader reads them: headers, and each program of the link information.

#include <cstdint>

#include "host/macho/link_info.h"
#include "host/macho/object_error.h"
#include "host/macho/object_file.h"

namespace {

// Each program by itself, because the loader stops at the first that is wrong.
template <typename Decoder>
void Try(Decoder decode, const host::macho::ObjectFile& bundle) {
    try {
        static_cast<void>(decode(bundle));
    } catch (const host::macho::ObjectError&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length) {
    try {
        const host::macho::ObjectFile bundle = host::macho::ReadObject({bytes, length});
        if (!bundle.isBundle) return 0;
        Try(host::macho::DecodeRebases, bundle);
        Try(host::macho::DecodeBinds, bundle);
        Try(host::macho::DecodeLazyBinds, bundle);
        Try(host::macho::DecodeExports, bundle);
    } catch (const host::macho::ObjectError&) {
    }
    return 0;
}
