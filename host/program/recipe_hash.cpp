// recipe_hash.cpp - collects what is hashed. Each part is preceded by its length, so that no two collections look
// alike.

#include "host/program/recipe_hash.h"

#include <elf.h>
#include <link.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/batch/sha256.h"
#include "host/program/apply_targets.h"
#include "host/program/version.h"
#include "host/recipe/canonical_recipe.h"
#include "host/recipe/recipe_syntax.h"
#include "host/worker/texts.h"

namespace {

namespace fs = std::filesystem;

// Returns the build ID of a loaded object, or nothing if the linker gave it none.
std::string_view BuildIdOf(const dl_phdr_info& object) {
    for (int i = 0; i < object.dlpi_phnum; ++i) {
        const auto& segment = object.dlpi_phdr[i];
        if (segment.p_type != PT_NOTE) continue;
        const auto* at = reinterpret_cast<const char*>(object.dlpi_addr + segment.p_vaddr);
        const char* const end = at + segment.p_memsz;
        const auto aligned = [](std::size_t size) { return (size + 3) / 4 * 4; };
        while (at + sizeof(ElfW(Nhdr)) <= end) {
            ElfW(Nhdr) note;
            std::memcpy(&note, at, sizeof note);
            const char* const name = at + sizeof note;
            const char* const bytes = name + aligned(note.n_namesz);
            if (note.n_type == NT_GNU_BUILD_ID && std::string_view(name, note.n_namesz) == std::string_view("GNU", 4)) {
                return {bytes, note.n_descsz};
            }
            at = bytes + aligned(note.n_descsz);
        }
    }
    return {};
}

// The identities of the program's own loaded objects: those below the folder that its own folder is in.
struct OwnObjects {
    fs::path program = fs::read_symlink("/proc/self/exe");
    std::set<std::string> identities;
};

int AddObject(dl_phdr_info* object, std::size_t, void* data) {
    auto& own = *static_cast<OwnObjects*>(data);
    const std::string folder = own.program.parent_path().parent_path().native() + "/";
    std::error_code error;
    const fs::path file = *object->dlpi_name == '\0' ? own.program : fs::canonical(object->dlpi_name, error);
    if (!file.native().starts_with(folder)) return 0;
    const std::string_view id = BuildIdOf(*object);
    own.identities.insert(file.filename().string() + " " + (id.empty() ? HashOfFile(file) : HashOfText(id)));
    return 0;
}

}  // namespace

std::string RecipeHash(host::Host& host, const ProgramOptions& options, const ApplyRequest& request,
                       const Recipe& recipe) {
    // The text of the recipe counts and not its file: comments and spelling make no difference.
    Recipe whole = recipe;
    whole.file.clear();
    whole.title.clear();
    whole.options = RecipeOptionsOf(request);
    std::vector<std::string> parts = {RecipeText(CanonicalRecipe(host, whole, "")),
                                      host::NumberText(options.hostVersion)};
    std::vector<std::string> files = OtherFiles(options, request, whole);
    std::ranges::sort(files);
    for (const std::string& file : files) {
        std::error_code error;
        if (fs::is_regular_file(file, error)) parts.push_back(HashOfFile(file));
    }
    return HashOfText(worker::Pack(parts));
}

std::string BuildText() {
    OwnObjects own;
    dl_iterate_phdr(AddObject, &own);
    std::string all;
    for (const std::string& identity : own.identities) all += identity + "\n";
    constexpr std::size_t kDigits = 16;
    return std::string(ZEVA_VERSION) + " " + HashOfText(all).substr(0, kDigits) + " " + kAbi;
}
