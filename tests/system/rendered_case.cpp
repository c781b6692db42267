// rendered_case.cpp - converts the inputs of a case to host values, and images to pictures.

#include "tests/system/rendered_case.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "host/runtime/memory_block.h"

namespace {

// Returns a MemoryBlock with the numbers as floats.
host::Value MemoryBlockOf(const std::vector<double>& numbers) {
    const std::vector<float> floats(numbers.begin(), numbers.end());
    const std::size_t size = floats.size() * sizeof(float);
    const host::ObjectReference block = host::NewMemoryBlock(static_cast<std::int32_t>(size));
    std::memcpy(reinterpret_cast<ZEVAmemoryBlockStruct*>(block.Get())->bytes, floats.data(), size);
    return block;
}

// Converts an input to the host value that its property takes.
host::Value ValueOf(Session& session, const std::string& key, const golden::Parameter& parameter) {
    if (key == "inputCubeData") return MemoryBlockOf(parameter.numbers);
    switch (parameter.kind) {
        case golden::Parameter::Kind::kNumber:
            return parameter.numbers[0];
        case golden::Parameter::Kind::kImage:
            return session.Open(parameter.imagePath);
        case golden::Parameter::Kind::kColor: {
            const std::vector<host::Value> components(parameter.numbers.begin(), parameter.numbers.end());
            return session.runtime.CallShared("CIColorQOR", "RGBA", components);
        }
        case golden::Parameter::Kind::kVector:
            break;
    }
    std::string list;
    for (const double number : parameter.numbers) list += host::NumberText(number) + " ";
    const host::Value arguments[] = {host::TextValue(list)};
    return session.runtime.CallShared("CIVectorQOR", "FromNumbers", arguments);
}

}  // namespace

host::Value Rendered(Session& session, const golden::Case& reference) {
    host::Value image;
    for (const golden::Step& step : reference.steps) {
        const host::Value filter = session.New("CIFilter" + step.filter.substr(2) + "QOR");
        if (!IsNil(image)) session.Set(filter, "inputImage", image);
        for (const auto& [key, parameter] : step.parameters) session.Set(filter, key, ValueOf(session, key, parameter));
        image = session.Get(filter, "outputImage");
    }
    return image;
}

golden::Picture PictureOf(Session& session, const host::Value& image, const golden::Case& reference, bool isMatching) {
    const double width = static_cast<double>(reference.width), height = static_cast<double>(reference.height);
    const host::Value rectangle = session.Rectangle(reference.originX, reference.originY, width, height);
    const host::Value cut = session.Call(image, "Crop", {rectangle});
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("golden-" + std::to_string(getpid()) + ".png");
    if (isMatching) {
        session.Call(cut, "Save", {host::TextValue(file.string())});
    } else {
        session.Call(cut, "SaveInWorkingSpace", {host::TextValue(file.string()), host::Value()});
    }
    const auto saved = golden::PictureOfFile(file.string());
    std::filesystem::remove(file);
    const host::Value extent = session.Get(cut, "Extent");
    const auto edge = [&](int index) {
        return std::get<double>(session.Call(extent, "ValueAt", {std::int32_t{index}}));
    };
    const auto left = static_cast<std::size_t>(edge(0) - reference.originX);
    const auto top = reference.height - static_cast<std::size_t>(edge(1) - reference.originY) - saved->height;
    golden::Picture picture{reference.width, reference.height, {}};
    picture.pixels.resize(4 * reference.width * reference.height);
    for (std::size_t row = 0; row < saved->height; ++row) {
        const auto* from = &saved->pixels[4 * row * saved->width];
        std::copy(from, from + 4 * saved->width, &picture.pixels[4 * ((top + row) * reference.width + left)]);
    }
    return picture;
}
