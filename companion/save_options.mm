// save_options.mm - one row for each option.

#include "companion/save_options.h"

#include <ImageIO/ImageIO.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "companion/color_space.h"
#include "companion/host_text.h"

namespace {

// A name that a value can have, and its meaning.
struct Choice {
    const char* name;
    int value;
};

constexpr Choice kStrips[] = {{"", static_cast<int>(Strip::kAll)},
                              {"all", static_cast<int>(Strip::kAll)},
                              {"gps", static_cast<int>(Strip::kLocation)}};
constexpr Choice kDepths[] = {{"8", 8}, {"16", 16}, {"32", 32}};

template <std::size_t kCount>
bool Choose(const Choice (&choices)[kCount], const char* text, int* value) {
    const auto* found = std::find_if(std::begin(choices), std::end(choices),
                                     [&](const Choice& choice) { return std::strcmp(choice.name, text) == 0; });
    if (found == std::end(choices)) return false;
    *value = found->value;
    return true;
}

bool Set(CFStringRef key, id value, SaveOptions* options) {
    [options->properties setObject:value forKey:(id)key];
    return true;
}

// Stores a word of a list of words, which are separated by spaces, as a property.
bool SetWord(CFStringRef key, const char* words, const char* text, SaveOptions* options) {
    NSString* word = TextOfPath(text);
    if (![[[NSString stringWithUTF8String:words] componentsSeparatedByString:@" "] containsObject:word]) return false;
    return Set(key, word, options);
}

// Sets a property to yes; the option has no value.
bool SetFlag(CFStringRef key, const char* text, SaveOptions* options) {
    return *text == '\0' && Set(key, [NSNumber numberWithBool:YES], options);
}

// Returns the color space with a name, or that of a file with an ICC profile; null for neither. Autoreleased.
CGColorSpaceRef SpaceOf(const char* text) {
    CGColorSpaceRef space = NewNamedColorSpace(TextOfPath(text));
    struct stat status = {};
    // Foundation would print why it cannot read a folder, and wait for the writer of a pipe.
    if (space == nullptr && stat(text, &status) == 0 && S_ISREG(status.st_mode)) {
        NSString* path = [[NSFileManager defaultManager] stringWithFileSystemRepresentation:text
                                                                                     length:std::strlen(text)];
        space = CGColorSpaceCreateWithICCData((CFTypeRef)[NSData dataWithContentsOfFile:path]);
    }
    return (CGColorSpaceRef)[(id)space autorelease];
}

// Each reads the value of one option. Returns false for a wrong one.

bool ReadQuality(const char* text, SaveOptions* options) {
    const std::size_t digits = std::strspn(text, "0123456789");
    if (digits == 0 || digits > 3 || text[digits] != '\0' || std::atoi(text) > 100) return false;
    return Set(kCGImageDestinationLossyCompressionQuality, [NSNumber numberWithDouble:std::atoi(text) / 100.0],
               options);
}

bool ReadCompression(const char* text, SaveOptions* options) {
    return SetWord(kCGImageDestinationCompression, "fast balanced small", text, options);
}

bool ReadSubsampling(const char* text, SaveOptions* options) {
    return SetWord(kCGImageDestinationSubsampling, "444 422 420", text, options);
}

bool ReadProgressive(const char* text, SaveOptions* options) {
    return SetFlag(kCGImagePropertyJFIFIsProgressive, text, options);
}

bool ReadLossless(const char* text, SaveOptions* options) {
    return SetFlag(kCGImageDestinationLossless, text, options);
}

bool ReadDepth(const char* text, SaveOptions* options) {
    int depth = 0;
    if (!Choose(kDepths, text, &depth)) return false;
    options->depth = static_cast<std::size_t>(depth);
    return true;
}

bool ReadStrip(const char* text, SaveOptions* options) {
    int strip = 0;
    if (!Choose(kStrips, text, &strip)) return false;
    options->strip = static_cast<Strip>(strip);
    return true;
}

bool ReadFormat(const char* text, SaveOptions* options) {
    CGImageFormat format;
    if (!CGImageFormatNamed(text, &format)) return false;
    options->format = [TextOfPath(text) UTF8String];
    return true;
}

bool ReadColorSpace(const char* text, SaveOptions* options) {
    if (std::strcmp(text, "input") == 0) return true;
    options->space = SpaceOf(text);
    return CGColorSpaceGetModel(options->space) == kCGColorSpaceModelRGB && CGColorSpaceSupportsOutput(options->space);
}

bool ReadWorkingSpace(const char* text, SaveOptions* options) {
    if (std::strcmp(text, "linear") == 0) return true;
    options->workingSpace = std::strcmp(text, "none") == 0 ? (id)[NSNull null] : (id)SpaceOf(text);
    return options->workingSpace == [NSNull null] || IsWorkingSpace((CGColorSpaceRef)options->workingSpace);
}

struct Option {
    const char* name;
    bool (*read)(const char* text, SaveOptions* options);
    const char* expected;
};

// clang-format off
constexpr Option kOptions[] = {
    // name            reader            what a value must be
    {"quality",        ReadQuality,      "a whole number from 0 to 100"},
    {"compression",    ReadCompression,  "fast, balanced or small"},
    {"depth",          ReadDepth,        "8, 16 or 32 bits"},
    {"subsampling",    ReadSubsampling,  "444, 422 or 420"},
    {"progressive",    ReadProgressive,  "no value"},
    {"lossless",       ReadLossless,     "no value"},
    {"strip",          ReadStrip,        "gps, all or no value"},
    {"format",         ReadFormat,       "the name of a format, such as png"},
    {"color-space",    ReadColorSpace,
     "input, an RGB space such as sRGB or \"Display P3\", or a file with an RGB profile that colors can be converted "
     "to"},
    {"working-space",  ReadWorkingSpace, "linear, none or an RGB profile of curves and a matrix"},
};
// clang-format on

// Reads one option. Returns what is wrong with it, or nil.
NSString* ReadOption(const char* name, const char* value, SaveOptions* options) {
    const auto* option = std::find_if(std::begin(kOptions), std::end(kOptions),
                                      [&](const Option& row) { return std::strcmp(row.name, name) == 0; });
    if (option == std::end(kOptions)) {
        NSMutableArray* names = [NSMutableArray array];
        for (const Option& row : kOptions) [names addObject:[NSString stringWithUTF8String:row.name]];
        return [NSString
            stringWithFormat:@"there is no such option, expected one of %@", [names componentsJoinedByString:@", "]];
    }
    if (option->read(value, options)) return nil;
    return [NSString stringWithFormat:@"got '%@', expected %s", TextOfPath(value), option->expected];
}

}  // namespace

NSString* ReadSaveOptions(const char* text, SaveOptions* options, NSString** place) {
    options->properties = [NSMutableDictionary dictionary];
    const char* at = text;
    while (*at != '\0') {
        at += std::strspn(at, " ;\n");
        if (*at == '\0') break;
        // A copy of the option, in which the name and the value end with zero bytes.
        char* name = static_cast<char*>([[NSMutableData dataWithLength:std::strlen(at) + 2] mutableBytes]);
        char* to = name;
        const char* value = nullptr;
        for (; *at != '\0' && *at != ';'; ++at) {
            if (*at == '=' && value == nullptr) {
                *to++ = '\0';
                value = to;
                continue;
            }
            if (*at == '\\' && at[1] != '\0') ++at;
            *to++ = *at;
        }
        NSString* reason = ReadOption(name, value != nullptr ? value : "", options);
        *place = [@"--" stringByAppendingString:TextOfPath(name)];
        if (reason != nil) return reason;
    }
    return nil;
}
