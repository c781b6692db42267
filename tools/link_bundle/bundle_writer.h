// bundle_writer.h - writes the file: header, load commands, segments, link information, symbols.

#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/macho/imports.h"
#include "host/macho/object_file.h"
#include "tools/link_bundle/layout.h"
#include "tools/link_bundle/opcodes.h"

namespace linker {

struct LinkInfoBytes {
    Bytes rebase;
    Bytes bind;
    Bytes lazyBind;
    Bytes exports;
};

class BundleWriter {
  public:
    BundleWriter(const host::macho::ObjectFile& object, Layout& layout,
                 const std::vector<const host::macho::Library*>& libraries)
        : object_(object), layout_(layout), libraries_(libraries) {}

    // The size of the load commands except those of the segments.
    std::uint32_t OtherCommandsSize() const;

    Bytes Write(const LinkInfoBytes& info);

  private:
    void CollectSymbols();
    void AddSymbol(const std::string& name, host::macho::format::Symbol symbol);
    Bytes IndirectSymbols();
    void WriteSegments(std::uint32_t linkSize);
    void WriteLibraries();

    const host::macho::ObjectFile& object_;
    Layout& layout_;
    const std::vector<const host::macho::Library*>& libraries_;
    std::vector<host::macho::format::Symbol> symbols_;
    std::map<std::string, std::uint32_t> imported_;  // indices in symbols_
    std::uint32_t localCount_ = 0;
    std::uint32_t exportedCount_ = 0;
    Bytes strings_;
    Bytes commands_;
    std::uint32_t commandCount_ = 0;
};

}  // namespace linker
