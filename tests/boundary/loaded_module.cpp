// loaded_module.cpp - loads a module and saves its initial data.

#include "tests/boundary/loaded_module.h"

#include <dlfcn.h>
#include <link.h>

#include <cstring>
#include <functional>
#include <map>
#include <stdexcept>
#include <vector>

#include "host/macho/load_object.h"
#include "tests/boundary/recording_host.h"
#include "tests/support/read_file.h"

namespace {

// A section of a loaded module, and its initial bytes.
struct Section {
    unsigned char* address;
    std::vector<unsigned char> bytes;
};

// Copies byte by byte without the address sanitizer's checks: the sections contain its red zones.
__attribute__((no_sanitize("address"))) void CopyUnwatched(unsigned char* to, const unsigned char* from,
                                                           std::size_t size) {
    for (auto* end = from + size; from != end; ++from, ++to) *const_cast<volatile unsigned char*>(to) = *from;
}

// The module's own variables. Only named sections, so that a tool's data (coverage counters) is left alone.
std::vector<Section> DataOf(const std::string& path, void* handle) {
    const std::string file = ReadFile(path);
    link_map* map = nullptr;
    dlinfo(handle, RTLD_DI_LINKMAP, &map);
    const auto* header = reinterpret_cast<const ElfW(Ehdr)*>(file.data());
    const auto* sections = reinterpret_cast<const ElfW(Shdr)*>(file.data() + header->e_shoff);
    const char* names = file.data() + sections[header->e_shstrndx].sh_offset;
    std::vector<Section> data;
    for (int i = 0; i < header->e_shnum; ++i) {
        const char* name = names + sections[i].sh_name;
        if (std::strcmp(name, ".data") != 0 && std::strcmp(name, ".bss") != 0) continue;
        auto* address = reinterpret_cast<unsigned char*>(map->l_addr + sections[i].sh_addr);
        data.push_back({address, std::vector<unsigned char>(sections[i].sh_size)});
        CopyUnwatched(data.back().bytes.data(), address, data.back().bytes.size());
    }
    return data;
}

}  // namespace

struct LoadedModule::Loaded {
    std::function<void*(const char* name)> find;
    std::vector<Section> data;
};

namespace {

LoadedModule::Loaded LoadLibrary(const std::string& path) {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) throw std::runtime_error(dlerror());
    return {[handle](const char* name) { return dlsym(handle, name); }, DataOf(path, handle)};
}

LoadedModule::Loaded LoadObjectCode(const std::string& path) {
    const host::macho::LoadedObject object = host::macho::LoadObject(host::macho::CodeFile(path));
    const auto find = [exports = object.exports](const char* name) {
        const auto found = exports.find(name);
        return found != exports.end() ? found->second : nullptr;
    };
    const std::vector<unsigned char> bytes(object.data.begin(), object.data.end());
    return {find, {{object.data.data(), bytes}}};
}

}  // namespace

LoadedModule::LoadedModule(const std::string& path) {
    static std::map<std::string, Loaded> known;
    auto found = known.find(path);
    if (found == known.end()) {
        found = known
                    .emplace(path, host::macho::IsMachO(host::macho::CodeFile(path)) ? LoadObjectCode(path)
                                                                                     : LoadLibrary(path))
                    .first;
    }
    loaded_ = &found->second;
    for (const Section& section : loaded_->data) {
        CopyUnwatched(section.address, section.bytes.data(), section.bytes.size());
    }
}

void LoadedModule::Enter() const { Find<ZEVAmain>(kZEVAentryPoint)(&RecordingHost::Resolve); }

void* LoadedModule::FindAddress(const char* name) const { return loaded_->find(name); }
