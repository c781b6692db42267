// string_faults.cpp - hosts whose strings are not what a module makes of them.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <utility>

#include "host/runtime/string.h"
#include "interface/string_data.h"
#include "interface/text_encoding.h"
#include "tests/probe/faults.h"
#include "tests/probe/faulty_host.h"

namespace faulty {

namespace {

// Makes strings of other bytes than the module asks for.
template <typename Change>
void ChangeBytes(Change change) {
    Replace<service::ZEVABuildString>([=](const char* bytes, std::int32_t length) {
        const std::string changed = change(bytes, static_cast<std::size_t>(length));
        return Real<service::ZEVABuildString>(changed.data(), static_cast<std::int32_t>(changed.size()));
    });
}

// Calls work with each tag that the module gives to a string; the tag is stored when it returns true.
template <typename Work>
void FilterTags(Work work) {
    Replace<service::ZEVASetStringEncoding>([=](ZEVAstringStruct* string, std::uint32_t encoding) {
        if (work(string, encoding)) Real<service::ZEVASetStringEncoding>(string, encoding);
    });
}

bool IsPlain(char c) { return static_cast<unsigned char>(c) < 0x80; }

// What a fault knows of a string that the module has made; forgotten when the module drops it.
struct Made {
    const char* source;
    std::int32_t length;
    int tags = 0;
    int lendings = 0;
};
std::map<const ZEVAstringStruct*, Made> made;

void RememberStrings() {
    Replace<service::ZEVABuildString>([](const char* bytes, std::int32_t length) {
        ZEVAstringStruct* string = Real<service::ZEVABuildString>(bytes, length);
        made[string] = {bytes, length};
        return string;
    });
    Replace<service::ZEVAUnlockString>([](ZEVAstringStruct* string) {
        made.erase(string);
        Real<service::ZEVAUnlockString>(string);
    });
}

// Lends bytes unless `refuses` is true of what is known of the string.
template <typename Refuses>
void LendUnless(Refuses refuses) {
    RememberStrings();
    Replace<service::PluginGetStringData>([=](ZEVAstringStruct* string, ZEVAstringData* data) {
        const auto known = made.find(string);
        if (known != made.end() && refuses(known->second)) return 0;
        return Real<service::PluginGetStringData>(string, data);
    });
}

bool areLent = false;

const Fault faults[] = {
    {"strings.made",
     [] {
         ChangeBytes([](const char* bytes, std::size_t length) {
             std::string changed(bytes, length);
             if (length > 0) changed.back() = '?';
             return changed;
         });
     }},
    {"strings.empty",
     [] {
         Replace<service::ZEVABuildString>([](const char* bytes, std::int32_t length) {
             return length > 0 ? Real<service::ZEVABuildString>(bytes, length) : nullptr;
         });
     }},
    {"strings.copied",
     [] {
         RememberStrings();
         Replace<service::PluginGetStringData>([](ZEVAstringStruct* string, ZEVAstringData* data) {
             const std::int32_t result = Real<service::PluginGetStringData>(string, data);
             const auto known = made.find(string);
             if (known != made.end()) {
                 std::memcpy(data->bytes, known->second.source, static_cast<std::size_t>(known->second.length));
             }
             return result;
         });
     }},
    {"strings.no-terminator",
     [] {
         ChangeBytes([](const char* bytes, std::size_t length) {
             return bytes[length] == '\0' ? std::string(bytes, length) : std::string(bytes);
         });
     }},
    {"strings.zero-bytes",
     [] {
         ChangeBytes([](const char* bytes, std::size_t length) { return std::string(bytes, strnlen(bytes, length)); });
     }},
    {"strings.every-byte",
     [] {
         ChangeBytes([](const char* bytes, std::size_t length) {
             std::string changed(bytes, length);
             std::replace_if(
                 changed.begin(), changed.end(), [](char c) { return !IsPlain(c); }, '?');
             return changed;
         });
     }},
    {"strings.sizes",
     [] {
         ChangeBytes([](const char* bytes, std::size_t length) {
             return std::string(bytes, std::min<std::size_t>(length, 65535));
         });
     }},

    {"encodings.kept", [] { FilterTags([](auto*, auto) { return false; }); }},
    {"encodings.any",
     [] { FilterTags([](auto*, auto encoding) { return encoding == kEncodingAscii || encoding == kEncodingUtf8; }); }},
    {"encodings.unchecked",
     [] {
         FilterTags(
             [](auto* string, auto) { return std::all_of(string->bytes.begin(), string->bytes.end(), IsPlain); });
     }},
    {"encodings.replaced",
     [] {
         RememberStrings();
         FilterTags([](auto* string, auto) { return ++made[string].tags == 1; });
     }},
    {"encodings.bytes",
     [] {
         FilterTags([](auto* string, auto) {
             std::replace_if(
                 string->bytes.begin(), string->bytes.end(), [](char c) { return !IsPlain(c); }, '?');
             return true;
         });
     }},

    {"lent-bytes.result",
     [] {
         Replace<service::PluginGetStringData>([](ZEVAstringStruct* string, ZEVAstringData* data) {
             return 2 * Real<service::PluginGetStringData>(string, data);
         });
     }},
    {"lent-bytes.spare-words",
     [] {
         Replace<service::PluginGetStringData>([](ZEVAstringStruct* string, ZEVAstringData* data) {
             const ZEVAword before = data->hostWords[3];
             const std::int32_t result = Real<service::PluginGetStringData>(string, data);
             data->hostWords[3] = before;
             return result;
         });
     }},
    {"lent-bytes.allocated",
     [] {
         Replace<service::PluginGetStringData>([](ZEVAstringStruct* string, ZEVAstringData* data) {
             const std::int32_t result = Real<service::PluginGetStringData>(string, data);
             const auto length = static_cast<std::size_t>(data->hostWords[kStringDataLength]);
             auto* moved = static_cast<char*>(std::realloc(data->bytes, length + 1));
             std::memmove(moved + 1, moved, length);
             data->bytes = moved + 1;
             return result;
         });
         Replace<service::PluginDisposeStringData>([](ZEVAstringData* data) {
             data->bytes = static_cast<char*>(data->bytes) - 1;
             Real<service::PluginDisposeStringData>(data);
         });
     }},
    {"lent-bytes.twice",
     [] {
         LendUnless([](Made&) { return std::exchange(areLent, true); });
         Replace<service::PluginDisposeStringData>([](ZEVAstringData* data) {
             areLent = false;
             Real<service::PluginDisposeStringData>(data);
         });
     }},
    {"lent-bytes.again", [] { LendUnless([](Made& string) { return ++string.lendings > 3; }); }},
};

}  // namespace

const std::span<const Fault> kStringFaults = faults;

}  // namespace faulty
