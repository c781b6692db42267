// heif_references.cpp - reads the boxes "meta" and "iref".

#include "heif_references.h"

#include <functional>
#include <map>
#include <span>
#include <vector>

#include "byte_order.h"

namespace image_io {
namespace {

constexpr int kDeepest = 16;
constexpr int kMostPictures = 100000;

using Data = std::span<const std::uint8_t>;

// Reads a number of so many bytes from the front, if they are there, and removes them.
bool Take(Data* data, std::size_t size, std::uint64_t* number) {
    if (data->size() < size) return false;
    *number = NumberAt(data->data(), size, /*isLittleEndian=*/false);
    *data = data->subspan(size);
    return true;
}

constexpr std::uint64_t Type(const char (&name)[5]) {
    std::uint64_t type = 0;
    for (int i = 0; i < 4; ++i) type = type << 8 | static_cast<unsigned char>(name[i]);
    return type;
}

// Calls a function with the type and the content of each box.
void ForEachBox(Data data, const std::function<void(std::uint64_t, Data)>& function) {
    while (!data.empty()) {
        Data rest = data;
        std::uint64_t size = 0, type = 0;
        if (!Take(&rest, 4, &size) || !Take(&rest, 4, &type) || (size == 1 && !Take(&rest, 8, &size))) return;
        const std::size_t header = data.size() - rest.size();
        if (size == 0) size = data.size();  // the last box
        if (size < header || size > data.size()) return;
        function(type, rest.first(static_cast<std::size_t>(size) - header));
        data = data.subspan(static_cast<std::size_t>(size));
    }
}

// The pictures that each picture is decoded with.
using Parts = std::map<std::uint64_t, std::vector<std::uint64_t>>;

void ReadReferences(Data data, Parts* parts) {
    std::uint64_t version = 0;
    if (!Take(&data, 4, &version)) return;
    const std::size_t sizeOfNumber = version >> 24 == 0 ? 2 : 4;
    ForEachBox(data, [&](std::uint64_t type, Data references) {
        std::uint64_t from = 0, count = 0, to = 0;
        if (!Take(&references, sizeOfNumber, &from) || !Take(&references, 2, &count)) return;
        for (; count > 0 && Take(&references, sizeOfNumber, &to); --count) {
            if (type == Type("dimg")) (*parts)[from].push_back(to);
            if (type == Type("auxl")) (*parts)[to].push_back(from);  // alpha refers to its picture
        }
    });
}

// Counts a picture and those that it is decoded with. Returns false when there are too many.
bool Count(const Parts& parts, std::uint64_t picture, int depth, int* count) {
    if (depth > kDeepest || ++*count > kMostPictures) return false;
    const auto found = parts.find(picture);
    if (found == parts.end()) return true;
    for (const std::uint64_t part : found->second) {
        if (!Count(parts, part, depth + 1, count)) return false;
    }
    return true;
}

}  // namespace

bool CanBeDecoded(const std::uint8_t* bytes, std::size_t length, std::uint32_t picture) {
    Parts parts;
    ForEachBox({bytes, length}, [&](std::uint64_t type, Data content) {
        std::uint64_t version = 0;
        if (type != Type("meta") || !Take(&content, 4, &version)) return;
        ForEachBox(content, [&](std::uint64_t inner, Data references) {
            if (inner == Type("iref")) ReadReferences(references, &parts);
        });
    });
    int count = 0;
    return Count(parts, picture, 0, &count);
}

}  // namespace image_io
