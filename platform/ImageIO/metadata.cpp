// metadata.cpp - finds the data in files, and changes XMP and IPTC.
//
// A JPEG is a sequence of segments, a PNG a sequence of chunks, a WebP file a sequence of chunks of another kind.

#include "metadata.h"

#include <strings.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "byte_order.h"
#include "formats.h"

namespace image_io {
namespace {

using namespace std::string_view_literals;

// The most bytes of a block that was compressed. A few bytes can claim to hold more than fits in memory.
constexpr std::size_t kLongestBlock = 16 << 20;

// A range of bytes. Reading beyond its end gives 0.
struct Range {
    const std::uint8_t* bytes;
    std::size_t length;

    std::uint32_t Number(std::size_t at, std::size_t size, bool isLittleEndian = false) const {
        if (length < size || at > length - size) return 0;
        return static_cast<std::uint32_t>(NumberAt(bytes + at, size, isLittleEndian));
    }

    // A part as text, clipped to the range.
    std::string_view Part(std::size_t at, std::size_t size) const {
        if (at > length) return {};
        return {reinterpret_cast<const char*>(bytes + at), std::min(size, length - at)};
    }
};

void Keep(std::string_view part, Bytes* to) {
    if (to->empty()) to->assign(part.begin(), part.end());
}

// Removes a prefix. Returns whether the text had it.
bool Drop(std::string_view prefix, std::string_view* text) {
    if (!text->starts_with(prefix)) return false;
    text->remove_prefix(prefix.size());
    return true;
}

// Keeps the IPTC data among the resources of a program for photos: each has a type, a name and its length.
void KeepIPTC(std::string_view resources, Metadata* metadata) {
    const Range range = {reinterpret_cast<const std::uint8_t*>(resources.data()), resources.size()};
    constexpr std::uint32_t kIPTC = 0x0404;
    for (std::size_t at = 0; range.Part(at, 4) == "8BIM"sv;) {
        const std::size_t name = (range.Number(at + 6, 1) + 2) & ~std::size_t{1};
        const std::size_t length = range.Number(at + 6 + name, 4), content = at + 10 + name;
        if (length > range.length) return;
        if (range.Number(at + 4, 2) == kIPTC) return Keep(range.Part(content, length), &metadata->iptc);
        at = content + ((length + 1) & ~std::size_t{1});
    }
}

// Returns what a text holds that was compressed; empty when that fails or would be too long.
Bytes Inflated(std::string_view compressed) {
    Bytes content;
    for (std::size_t size = 1 << 14; size <= kLongestBlock; size *= 4) {
        content.resize(size);
        uLongf length = static_cast<uLongf>(size);
        const int result = uncompress(content.data(), &length, reinterpret_cast<const Bytef*>(compressed.data()),
                                      static_cast<uLong>(compressed.size()));
        if (result == Z_BUF_ERROR) continue;
        content.resize(result == Z_OK ? length : 0);
        return content;
    }
    return {};
}

// Keeps XMP from a chunk of international text: keyword, whether and how it is compressed, language, translation, text.
void KeepText(std::string_view chunk, Metadata* metadata) {
    if (!Drop("XML:com.adobe.xmp\0"sv, &chunk) || chunk.size() < 2) return;
    const bool isCompressed = chunk[0] != 0;
    chunk.remove_prefix(2);
    for (int i = 0; i < 2; ++i) chunk.remove_prefix(std::min(chunk.size(), chunk.find('\0') + 1));
    if (!isCompressed) return Keep(chunk, &metadata->xmp);
    if (metadata->xmp.empty()) metadata->xmp = Inflated(chunk);
}

// Returns the bytes of a profile in a text: a line feed, the name, the length and the bytes as hexadecimal digits.
Bytes RawProfileIn(std::string_view text) {
    for (int line = 0; line < 3; ++line) text.remove_prefix(std::min(text.size(), text.find('\n') + 1));
    Bytes bytes;
    int digits = 0;
    unsigned number = 0;
    for (const char character : text) {
        const std::size_t digit = "0123456789abcdef"sv.find(character);
        if (digit == std::string_view::npos) continue;
        number = number << 4 | static_cast<unsigned>(digit);
        if (++digits % 2 == 0) bytes.push_back(static_cast<std::uint8_t>(number));
    }
    return bytes;
}

std::string_view TextOf(const Bytes& bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

// Keeps Exif or XMP as a segment of a JPEG holds them.
void KeepSegment(std::string_view content, Metadata* metadata) {
    if (Drop("Exif\0\0"sv, &content)) return Keep(content, &metadata->exif);
    if (Drop({kXMPSegment, sizeof kXMPSegment}, &content)) Keep(content, &metadata->xmp);
}

// Keeps what a chunk of text holds, compressed or not. PNG has no other place for IPTC, and had none for Exif, so
// several programs write profiles like this.
void KeepRawProfile(std::string_view chunk, bool isCompressed, Metadata* metadata) {
    if (!Drop("Raw profile type "sv, &chunk)) return;
    const std::string_view name = chunk.substr(0, chunk.find('\0'));
    if (name != "iptc"sv && name != "exif"sv && name != "APP1"sv && name != "xmp"sv) return;
    chunk.remove_prefix(std::min(chunk.size(), name.size() + (isCompressed ? 2 : 1)));
    const Bytes bytes = RawProfileIn(isCompressed ? TextOf(Inflated(chunk)) : chunk);
    const std::string_view found = TextOf(bytes);
    if (name == "xmp"sv) return Keep(found, &metadata->xmp);
    if (name != "iptc"sv) return KeepSegment(found, metadata);
    if (!metadata->iptc.empty()) return;
    if (found.starts_with("8BIM"sv)) return KeepIPTC(found, metadata);
    metadata->iptc = bytes;
}

// The names, without their prefix, of XMP properties that tell a location or belong to another size.
constexpr std::string_view kLocationNames[] = {
    "GPS",   "Latitude", "Longitude",   "Altitude",    "AbsoluteAltitude", "RelativeAltitude", "lat",
    "long",  "alt",      "lat_long",    "Location",    "LocationShown",    "LocationCreated",  "City",
    "State", "Country",  "CountryCode", "Sublocation", "ProvinceState",    "CountryName",      "WorldRegion"};
constexpr std::string_view kSizeNames[] = {"ImageWidth", "ImageLength", "PixelXDimension", "PixelYDimension",
                                           "Thumbnails"};

bool IsNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' ||
           c == '.';
}

// Whether a local name is the wanted one; GPS, in any case, is the beginning of several.
bool IsNamed(std::string_view name, std::string_view wanted) {
    if (wanted != "GPS"sv) return name == wanted;
    return name.size() >= wanted.size() && strncasecmp(name.data(), wanted.data(), wanted.size()) == 0;
}

// Finds the next "prefix:Name" from a place on. Returns the places of the prefix and behind the name.
bool FindName(std::string_view text, std::string_view wanted, std::size_t* begin, std::size_t* end) {
    for (std::size_t colon = text.find(':', *begin); colon != std::string_view::npos;
         colon = text.find(':', colon + 1)) {
        std::size_t first = colon, last = colon + 1;
        while (first > 0 && IsNameCharacter(text[first - 1])) --first;
        while (last < text.size() && IsNameCharacter(text[last])) ++last;
        if (text.substr(first, colon - first) == "xmlns"sv) continue;  // declares a prefix
        if (first == colon || !IsNamed(text.substr(colon + 1, last - colon - 1), wanted)) continue;
        *begin = first;
        *end = last;
        return true;
    }
    return false;
}

// Removes every property with a name: name="value", <name>...</name> and <name/>. Returns false where the text has the
// name in another form.
bool RemoveProperties(std::string_view name, std::string* text) {
    std::string kept;
    std::size_t from = 0, begin = 0, end = 0;
    while (FindName(*text, name, &begin, &end)) {
        const bool isElement = begin > 0 && (*text)[begin - 1] == '<';
        const std::string tail = "</" + text->substr(begin, end - begin) + ">";
        const std::size_t open = isElement ? end : text->find_first_not_of(" \t\r\n=", end);
        if (open == std::string::npos) return false;
        const char quote = (*text)[open];
        if (!isElement && quote != '"' && quote != '\'') return false;
        const std::size_t close = isElement ? text->find('>', open) : text->find(quote, open + 1);
        if (close == std::string::npos) return false;
        kept.append(*text, from, begin - (isElement ? 1 : 0) - from);
        from = close + 1;
        if (isElement && (*text)[close - 1] != '/') {
            const std::size_t last = text->find(tail, close);
            if (last == std::string::npos) return false;
            from = last + tail.size();
        }
        begin = from;
    }
    *text = kept.append(*text, from, std::string::npos);
    return true;
}

// Sets the orientation, which is one digit, wherever it stands.
void ResetOrientation(std::string* text) {
    std::size_t begin = 0, end = 0;
    while (FindName(*text, "Orientation", &begin, &end)) {
        const std::size_t value = text->find_first_not_of(" \t\r\n=>\"'", end);
        if (value != std::string::npos && (*text)[value] >= '1' && (*text)[value] <= '8') (*text)[value] = '1';
        begin = end;
    }
}

// Returns the extension of that name from its parts, each of which has the name, the length of the extension and its
// own place in it; empty when a part is missing.
std::string ExtensionIn(const std::vector<std::string_view>& parts, std::string_view name) {
    constexpr std::size_t kNumbers = 8;
    std::string extension;
    std::size_t kept = 0, length = 0;
    for (std::string_view part : parts) {
        if (!Drop(name, &part) || part.size() < kNumbers) continue;
        const Range range = {reinterpret_cast<const std::uint8_t*>(part.data()), part.size()};
        const std::size_t place = range.Number(4, 4);
        length = range.Number(0, 4);
        part.remove_prefix(kNumbers);
        if (length > kLongestBlock || place > length || part.size() > length - place) return {};
        extension.resize(length);
        std::copy(part.begin(), part.end(), extension.begin() + static_cast<std::ptrdiff_t>(place));
        kept += part.size();
    }
    return kept == length ? extension : std::string();
}

// Adds the properties of another packet, and those of its prefixes that are declared around them.
void AddProperties(std::string_view packet, std::string* text) {
    constexpr std::string_view kOpen = "<rdf:RDF", kClose = "</rdf:RDF>", kDeclaration = " xmlns:";
    // Programs declare some dozens of prefixes. A head of megabytes is made to waste the time of readers.
    constexpr std::size_t kLongestHead = 1 << 16;
    const std::size_t open = text->find(kOpen), last = text->rfind(kClose);
    const std::size_t first = packet.find('>', packet.find(kOpen)), close = packet.rfind(kClose);
    if (open == std::string::npos || last == std::string::npos || close == std::string_view::npos) return;
    if (first >= std::min(close, kLongestHead)) return;
    text->insert(last, packet.substr(first + 1, close - first - 1));
    const std::string_view head = packet.substr(0, first);
    const std::string own = text->substr(0, text->find('>', open));
    std::string declarations;
    for (std::size_t at = head.find(kDeclaration); at != std::string_view::npos; at = head.find(kDeclaration, at + 1)) {
        const std::size_t quote = head.find_first_of("\"'", at);
        const std::size_t end = quote < first ? head.find(head[quote], quote + 1) : std::string_view::npos;
        if (end == std::string_view::npos) break;
        if (own.find(head.substr(at, quote - at)) == std::string::npos) declarations += head.substr(at, end + 1 - at);
    }
    text->insert(open + kOpen.size(), declarations);
}

// Adds to XMP what was too long for its segment, an extension that the packet names.
void JoinExtension(const std::vector<std::string_view>& parts, Bytes* xmp) {
    constexpr std::string_view kProperty = "HasExtendedXMP";
    constexpr std::size_t kNameLength = 32;
    std::size_t begin = 0, end = 0;
    if (!FindName(TextOf(*xmp), kProperty, &begin, &end)) return;
    std::string text(TextOf(*xmp));
    const std::size_t value = std::min(text.size(), text.find_first_not_of(" \t\r\n=>\"'", end));
    const std::string name = text.substr(value, kNameLength);
    if (!RemoveProperties(kProperty, &text)) return;
    AddProperties(ExtensionIn(parts, name), &text);
    xmp->assign(text.begin(), text.end());
}

}  // namespace

Metadata MetadataOf(const std::uint8_t* bytes, std::size_t length) {
    Metadata metadata;
    const Format* format = FormatOfContent(bytes, length);
    std::string reason;
    const Codec* codec =
        format != nullptr && HasSignature(*format, bytes, length) ? CodecOf(*format, &reason) : nullptr;
    if (codec != nullptr && codec->readMetadata != nullptr) codec->readMetadata(bytes, length, &metadata);
    return metadata;
}

void ReadMetadataOfJPEG(const std::uint8_t* bytes, std::size_t length, Metadata* metadata) {
    const Range file = {bytes, length};
    constexpr std::uint32_t kExifOrXMP = 0xffe1, kResources = 0xffed, kScan = 0xffda;
    std::vector<std::string_view> parts;
    std::size_t at = 2;
    for (;;) {
        const std::uint32_t segment = file.Number(at, 2), size = file.Number(at + 2, 2);
        if (segment < 0xff00 || segment == kScan || size < 2) break;
        std::string_view content = file.Part(at + 4, size - 2);
        if (segment == kExifOrXMP) {
            KeepSegment(content, metadata);
            if (Drop({kXMPExtension, sizeof kXMPExtension}, &content)) parts.push_back(content);
        }
        if (segment == kResources && Drop("Photoshop 3.0\0"sv, &content)) KeepIPTC(content, metadata);
        at += 2 + size;
    }
    JoinExtension(parts, &metadata->xmp);
}

void ReadMetadataOfPNG(const std::uint8_t* bytes, std::size_t length, Metadata* metadata) {
    const Range file = {bytes, length};
    constexpr std::size_t kSignatureSize = 8;
    constexpr std::size_t kChunkOverhead = 12;  // a chunk's length, name and checksum
    for (std::size_t at = kSignatureSize; at < length;) {
        const std::size_t size = file.Number(at, 4);
        const std::string_view name = file.Part(at + 4, 4), content = file.Part(at + 8, size);
        if (name == "eXIf"sv) Keep(content, &metadata->exif);
        if (name == "iTXt"sv) KeepText(content, metadata);
        if (name == "zTXt"sv || name == "tEXt"sv) KeepRawProfile(content, name == "zTXt"sv, metadata);
        if (name == "acTL"sv) metadata->pictures = file.Number(at + 8, 4);
        if (size > length) return;
        at += kChunkOverhead + size;
    }
}

void ReadMetadataOfWebP(const std::uint8_t* bytes, std::size_t length, Metadata* metadata) {
    const Range file = {bytes, length};
    constexpr std::size_t kHeaderSize = 12, kChunkHeader = 8;
    std::size_t frames = 0;
    for (std::size_t at = kHeaderSize; at < length;) {
        const std::size_t size = file.Number(at + 4, 4, /*isLittleEndian=*/true);
        if (file.Part(at, 4) == "ANMF"sv) metadata->pictures = ++frames;
        std::string_view content = file.Part(at + kChunkHeader, size);
        if (file.Part(at, 4) == "XMP "sv) Keep(content, &metadata->xmp);
        if (file.Part(at, 4) == "EXIF"sv) {
            Drop("Exif\0\0"sv, &content);  // written by some programs
            Keep(content, &metadata->exif);
        }
        if (size > length) return;
        at += kChunkHeader + ((size + 1) & ~std::size_t{1});
    }
}

void Adapt(Metadata* metadata, const Adaptation& adaptation) {
    if (!AdaptExif(&metadata->exif, adaptation)) metadata->exif.clear();
    if (!AdaptXMP(&metadata->xmp, adaptation)) metadata->xmp.clear();
    if (!AdaptIPTC(&metadata->iptc, adaptation)) metadata->iptc.clear();
}

bool AdaptXMP(Bytes* xmp, const Adaptation& adaptation) {
    std::string text(xmp->begin(), xmp->end());
    // Another encoding than UTF-8 has zero bytes.
    if (text.find('\0') != std::string::npos) return false;
    ResetOrientation(&text);
    const auto remove = [&](std::string_view name) { return RemoveProperties(name, &text); };
    bool isUnderstood = std::all_of(std::begin(kSizeNames), std::end(kSizeNames), remove);
    if (adaptation.dropsLocation) {
        isUnderstood = isUnderstood && std::all_of(std::begin(kLocationNames), std::end(kLocationNames), remove);
    }
    xmp->assign(text.begin(), text.end());
    return isUnderstood;
}

// A data set has a mark, its record, its number and its length.
bool AdaptIPTC(Bytes* iptc, const Adaptation& adaptation) {
    if (!adaptation.dropsLocation) return true;
    constexpr std::array<std::uint8_t, 8> kLocation = {26, 27, 90, 92, 95, 100, 101, 103};
    constexpr std::uint8_t kMark = 0x1c, kApplicationRecord = 2;
    constexpr std::size_t kHeader = 5;
    Bytes kept;
    std::size_t at = 0;
    while (at + kHeader <= iptc->size() && (*iptc)[at] == kMark) {
        const std::size_t size = std::size_t{(*iptc)[at + 3]} << 8 | (*iptc)[at + 4];
        // A longer length is written in another way, which location names never need.
        if (size >= 0x8000 || at + kHeader + size > iptc->size()) return false;
        const bool isLocation = (*iptc)[at + 1] == kApplicationRecord &&
                                std::find(kLocation.begin(), kLocation.end(), (*iptc)[at + 2]) != kLocation.end();
        const auto begin = iptc->begin() + static_cast<std::ptrdiff_t>(at);
        if (!isLocation) kept.insert(kept.end(), begin, begin + static_cast<std::ptrdiff_t>(kHeader + size));
        at += kHeader + size;
    }
    // Files pad the data with zeros.
    const auto rest = iptc->begin() + static_cast<std::ptrdiff_t>(at);
    const bool isPadding = std::all_of(rest, iptc->end(), [](std::uint8_t byte) { return byte == 0; });
    *iptc = std::move(kept);
    return isPadding;
}

}  // namespace image_io
