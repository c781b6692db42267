// formats.cpp - the table of formats, and the loading of codecs.
//
// Adding a format: a row in kFormats, and a file for its codec. A codec that needs a library of its own is a target of
// CMakeLists.txt; it defines its Codec as a variable with C linkage.

#include "formats.h"

#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <iterator>
#include <vector>

namespace image_io {
namespace {

using namespace std::string_view_literals;

constexpr Codec kPNG = {DecodePNG, EncodePNG, nullptr, ReadMetadataOfPNG, MakeRowDecoderPNG, /*encodesRows=*/true};
constexpr Codec kJPEG = {DecodeJPEG, EncodeJPEG, nullptr, ReadMetadataOfJPEG, MakeRowDecoderJPEG, /*encodesRows=*/true};

constexpr std::size_t kAnySide = 0;  // memory ends before the format does

// clang-format off
constexpr Format kFormats[] = {
    // name, type, suffixes,                    signatures
    //                                          depths, side, codec, library, symbol
    {"PNG",  "public.png",      "png",          {"\x89PNG\r\n\x1a\n"sv},
                                                8 + 16,      kAnySide,  &kPNG,   nullptr, nullptr},
    {"JPEG", "public.jpeg",     "jpg jpeg",     {"\xff\xd8\xff"sv},
                                                8,           kJPEGSide, &kJPEG,  nullptr, nullptr},
    {"WebP", "org.webmproject.webp", "webp",    {"RIFF????WEBP"sv},
                                                8,           16383,     nullptr, "webp",  "kCodecWebP"},
    {"TIFF", "public.tiff",     "tif tiff",     {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv},
                                                8 + 16 + 32, kAnySide,  nullptr, "tiff",  "kCodecTIFF"},
    {"AVIF", "public.avif",     "avif",         {"\0\0\0?ftypavif"sv, "\0\0\0?ftypavis"sv},
                                                8,           16384,     nullptr, "heif",  "kCodecAVIF"},
    {"HEIF", "public.heic",     "heic heif",    {"\0\0\0?ftyphe"sv, "\0\0\0?ftypmif1"sv, "\0\0\0?ftypmsf1"sv},
                                                8,           16384,     nullptr, "heif",  "kCodecHEIF"},
};
// clang-format on

bool Matches(std::string_view signature, const std::uint8_t* bytes, std::size_t length) {
    const std::size_t count = std::min(length, signature.size());
    return !signature.empty() &&
           std::equal(bytes, bytes + count, signature.begin(), [](std::uint8_t byte, char wanted) {
               return wanted == '?' || byte == static_cast<std::uint8_t>(wanted);
           });
}

bool HasSuffix(const Format& format, std::string_view suffix) {
    std::string wanted(suffix);
    std::transform(wanted.begin(), wanted.end(), wanted.begin(), [](unsigned char c) { return std::tolower(c); });
    return !suffix.empty() && (" " + std::string(format.suffixes) + " ").find(" " + wanted + " ") != std::string::npos;
}

template <class Predicate>
const Format* Find(const Predicate& predicate) {
    const Format* found = std::find_if(std::begin(kFormats), std::end(kFormats), predicate);
    return found != std::end(kFormats) ? found : nullptr;
}

// The names of those formats for which the predicate holds.
template <class Predicate>
std::string NamesOf(const Predicate& predicate) {
    std::vector<std::string> names;
    for (const Format& format : kFormats) {
        if (predicate(format)) names.emplace_back(format.name);
    }
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
    }
    return text;
}

// The folder of this library, with its slash.
std::string OwnFolder() {
    Dl_info info = {};
    if (dladdr(reinterpret_cast<const void*>(&kFormats), &info) == 0 || info.dli_fname == nullptr) return {};
    const std::string path = info.dli_fname;
    return path.substr(0, path.rfind('/') + 1);
}

}  // namespace

const Format* FormatOfContent(const std::uint8_t* bytes, std::size_t length) {
    return Find([&](const Format& format) {
        return std::any_of(std::begin(format.signatures), std::end(format.signatures),
                           [&](std::string_view signature) { return Matches(signature, bytes, length); });
    });
}

bool HasSignature(const Format& format, const std::uint8_t* bytes, std::size_t length) {
    return std::any_of(std::begin(format.signatures), std::end(format.signatures), [&](std::string_view signature) {
        return length >= signature.size() && Matches(signature, bytes, length);
    });
}

const Format* FormatOfType(std::string_view type) {
    return Find([&](const Format& format) { return format.type == type; });
}

const Format* FormatNamed(std::string_view name) {
    return Find([&](const Format& format) { return HasSuffix(format, name); });
}

const Format* FormatOfPath(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    return dot == 0 || dot == std::string_view::npos ? nullptr : FormatNamed(name.substr(dot + 1));
}

const Codec* CodecOf(const Format& format, std::string* reason) {
    if (format.codec != nullptr) return format.codec;
    const std::string library = OwnFolder() + "libcodec_" + format.library + ".so";
    // Opening a library again returns the same one.
    void* opened = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    const void* codec = opened != nullptr ? dlsym(opened, format.symbol) : nullptr;
    if (codec == nullptr) {
        *reason = std::string(format.name) + " needs lib" + format.library + ", which this program cannot load";
    }
    return static_cast<const Codec*>(codec);
}

std::string ObstacleToEncoding(const Format& format) {
    std::string reason;
    const Codec* codec = CodecOf(format, &reason);
    if (codec == nullptr) return reason;
    if (codec->encode == nullptr) return std::string(format.name) + " files cannot be written";
    const char* obstacle = codec->obstacleToEncoding != nullptr ? codec->obstacleToEncoding() : nullptr;
    return obstacle != nullptr ? obstacle : "";
}

std::string FormatNames() {
    return NamesOf([](const Format&) { return true; });
}

std::string WritableFormats() {
    return NamesOf([](const Format& format) { return ObstacleToEncoding(format).empty(); });
}

}  // namespace image_io
