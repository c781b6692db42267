// program_arguments.cpp - the table of the options.

#include "host/program/program_arguments.h"

#include <cstddef>
#include <cstdlib>
#include <type_traits>
#include <variant>

#include "host/runtime/value.h"
#include "host/worker/texts.h"

std::vector<Argument> ProgramArguments(ProgramOptions& options) {
    return {
        {"--host-version", &options.hostVersion, "host version that the modules see"},
        {"--module", &options.module, "filter module to load instead of the built one, such as filters.bundle"},
        {"--load", &options.added, "module to load in addition; may be repeated; ZEVA_MODULES lists more"},
        {.names = "--pixel-limit",
         .target = &options.pixelLimit,
         .help = "most pixels of a picture that is read, in millions; default: 268",
         .isPositive = true},
        {"-q,--quiet", &options.isQuiet, "print failures and results only: no steps, no progress, no summary"},
        {"--memory", &options.memory,
         "limit of the memory for pictures, such as 256M or 1G; default: a quarter of the machine's, at most 1G at 32 "
         "bits"},
        {.names = "--threads",
         .target = &options.threads,
         .help = "threads of each process; default: the processors, divided by --jobs",
         .isPositive = true},
        {"--instruction-set", &options.instructionSet,
         "sse2, sse4, avx2 or avx512: what filters are computed with; default: the best that the processor has"},
        {"--trace", &options.trace, "file that records every call across the boundary as trace events in JSON"},
    };
}

std::vector<std::string> ValuesOf(const std::vector<Argument>& arguments) {
    std::vector<std::string> values;
    for (const Argument& argument : arguments) {
        values.push_back(std::visit(
            [](const auto* target) -> std::string {
                using Target = std::remove_cvref_t<decltype(*target)>;
                if constexpr (std::is_same_v<Target, std::string>) {
                    return *target;
                } else if constexpr (std::is_arithmetic_v<Target>) {
                    return host::NumberText(*target);
                } else {
                    return worker::Pack(*target);
                }
            },
            argument.target));
    }
    return values;
}

void SetValues(const std::vector<Argument>& arguments, const std::vector<std::string>& values) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& value = values.at(i);
        std::visit(
            [&](auto* target) {
                using Target = std::remove_cvref_t<decltype(*target)>;
                if constexpr (std::is_same_v<Target, std::string>) {
                    *target = value;
                } else if constexpr (std::is_arithmetic_v<Target>) {
                    *target = static_cast<Target>(std::strtod(value.c_str(), nullptr));
                } else {
                    *target = worker::Unpack(value).value();
                }
            },
            arguments[i].target);
    }
}

std::string SetupOf(const ProgramOptions& options) {
    ProgramOptions copy = options;
    std::vector<std::string> texts = ValuesOf(ProgramArguments(copy));
    texts.push_back(std::to_string(options.workers));
    return worker::Pack(texts);
}

ProgramOptions OptionsIn(const std::string& setup) {
    ProgramOptions options;
    const std::vector<std::string> texts = worker::Unpack(setup).value();
    SetValues(ProgramArguments(options), texts);
    options.workers = static_cast<std::size_t>(std::stoul(texts.back()));
    return options;
}
