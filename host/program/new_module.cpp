// new_module.cpp - "zeva new-module": writes the sources of a module to begin with.
//
// A template is a module that works: the one in module_template/ is written by hand, the classes of the one in
// catalogue_template/ are generated. Its name is replaced wherever it stands.

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include "host/program/commands.h"
#include "host/program/exit_status.h"
#include "host/runtime/text.h"
#include "host/runtime/write_file.h"

// The texts of catalogue_template/ and of module_template/.
extern const char kCatalogueBridge[];
extern const char kCatalogueBuild[];
extern const char kCatalogueClasses[];
extern const char kCatalogueReadme[];
extern const char kCatalogueTest[];
extern const char kTemplateBuild[];
extern const char kTemplateReadme[];
extern const char kTemplateSource[];
extern const char kTemplateTest[];

namespace {

namespace fs = std::filesystem;

constexpr const char* kTemplateName = "counter";
constexpr const char* kTemplateClass = "Counter";

struct TemplateFile {
    const char* name;
    const char* text;
};

constexpr TemplateFile kModuleTemplate[] = {{"CMakeLists.txt", kTemplateBuild},
                                            {"README.md", kTemplateReadme},
                                            {"counter.cpp", kTemplateSource},
                                            {"test.lua", kTemplateTest}};
constexpr TemplateFile kCatalogueTemplate[] = {{"CMakeLists.txt", kCatalogueBuild},
                                               {"README.md", kCatalogueReadme},
                                               {"catalogue.txt", kCatalogueClasses},
                                               {"counter_bridge.h", kCatalogueBridge},
                                               {"test.lua", kCatalogueTest}};

// Whether a name can be that of files, a target and, with capitals, a class.
bool IsModuleName(const std::string& name) {
    const auto isPlain = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_'; };
    if (name.empty() || name[0] < 'a' || name[0] > 'z') return false;
    for (const char c : name) {
        if (!isPlain(c)) return false;
    }
    return true;
}

// Targets that every build has.
constexpr std::string_view kTakenNames[] = {"all", "clean", "help", "install", "package", "test"};

// "tea_pot" as "TeaPot".
std::string ClassNameOf(const std::string& name) {
    std::string className;
    bool isFirst = true;
    for (const char c : name) {
        if (c != '_') className += isFirst ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c;
        isFirst = c == '_';
    }
    return className;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

int NewModule(const std::string& name, std::span<const TemplateFile> files) {
    if (!IsModuleName(name)) {
        throw UsageError("NAME: '" + host::PrintableText(name) +
                         "' is not a name of small letters, digits and underscores that begins with a letter; nothing "
                         "was written");
    }
    if (std::find(std::begin(kTakenNames), std::end(kTakenNames), name) != std::end(kTakenNames)) {
        throw UsageError("NAME: every build has a target '" + name + "'; nothing was written");
    }
    const fs::path folder = name;
    std::error_code error;
    if (fs::exists(fs::symlink_status(folder, error)))
        throw UsageError(name + ": it exists already; nothing was written");
    fs::create_directory(folder, error);
    if (error) throw Failure(kMachineFailed, name + ": " + error.message() + "; nothing was written");
    try {
        for (const TemplateFile& file : files) {
            host::WriteFile(folder / Replaced(file.name, kTemplateName, name),
                            Replaced(Replaced(file.text, kTemplateName, name), kTemplateClass, ClassNameOf(name)));
        }
    } catch (...) {
        const Failure failure = FailureOfError(kMachineFailed);
        fs::remove_all(folder, error);
        throw Failure(failure.Status(), std::string(failure.what()) + "; nothing was written");
    }
    std::printf("%s: written; its README.md says how to build and test it\n", name.c_str());
    return kDone;
}

}  // namespace

Command NewModuleCommand() {
    struct Request {
        std::string name;
        bool hasCatalogue = false;
    };
    const auto request = std::make_shared<Request>();
    return {
        .name = "new-module",
        .help = "Writes the sources of a new module with two classes, a test and a build.",
        .arguments = {{"NAME", &request->name, "name of the module and of its folder, such as kettle",
                       /*isRequired=*/true},
                      {"--catalogue", &request->hasCatalogue, "generate the classes from a catalogue"}},
        .run =
            [request](const ProgramOptions&) {
                return request->hasCatalogue ? NewModule(request->name, kCatalogueTemplate)
                                             : NewModule(request->name, kModuleTemplate);
            },
    };
}
