// output_options.cpp - the table of the options.

#include "host/program/output_options.h"

#include <filesystem>
#include <system_error>

#include "host/runtime/text.h"

namespace {

// The text of an option with a value; empty for one that is not given.
std::string Item(const char* name, const std::string& value) {
    if (value.empty()) return {};
    std::string item = std::string(name) + "=";
    for (const char character : value) {
        if (character == ';' || character == '\\') item += '\\';
        item += character;
    }
    return item + ";";
}

std::string Flag(const char* name, bool isSet) { return isSet ? std::string(name) + ";" : std::string(); }

}  // namespace

std::vector<Argument> OutputArguments(OutputOptions& options) {
    return {
        {"--quality", &options.quality,
         "0 to 100: the quality of formats with losses, such as JPEG; default: 90. More is larger"},
        {"--compression", &options.compression,
         "fast (the default), balanced or small: the time spent on formats without losses, such as PNG"},
        {"--depth", &options.depth,
         "8, 16 or 32 (floats): the bits of each component; default: those of the input, as far as the format has "
         "them"},
        {"--subsampling", &options.subsampling,
         "444, 422 or 420 (the default): the color resolution of formats with losses"},
        {"--progressive", &options.isProgressive, "write JPEG files that appear coarse first"},
        {"--lossless", &options.isLossless, "write WebP, HEIF and AVIF files without losses"},
        {.names = "--strip",
         .target = &options.strip,
         .help = "drop Exif, XMP, IPTC and the input's profile; --strip=gps drops the location only",
         .defaultValue = "all"},
        {"--color-space", &options.colorSpace,
         "input (the default), sRGB, \"Display P3\" or FILE.icc: the color space of the result"},
        {"--working-space", &options.workingSpace,
         "the numbers that filters work on: linear (light, the default), none (those of the files) or FILE.icc "
         "(an RGB profile of curves and a matrix)"},
    };
}

std::string OptionsText(const OutputOptions& options) {
    return Item("quality", options.quality) + Item("compression", options.compression) + Item("depth", options.depth) +
           Item("subsampling", options.subsampling) + Flag("progressive", options.isProgressive) +
           Flag("lossless", options.isLossless) + Item("strip", options.strip) +
           Item("color-space", options.colorSpace) + Item("working-space", options.workingSpace) +
           Item("format", options.format);
}

std::vector<std::string> FilesOfOptions(const OutputOptions& options) {
    std::vector<std::string> files;
    for (const std::string& name : {options.colorSpace, options.workingSpace}) {
        std::error_code error;
        if (std::filesystem::is_regular_file(name, error)) files.push_back(name);
    }
    return files;
}

void CheckTarget(host::Host& host, const std::string& target, const OutputOptions& options) {
    const host::Value arguments[] = {host::TextValue(target), host::TextValue(OptionsText(options))};
    host.CallShared("CIImageQOR", "CheckSave", arguments);
}
