// layout.cpp - chooses and places the sections.

#include "tools/link_bundle/layout.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "host/macho/frame_descriptions.h"
#include "host/macho/object_error.h"
#include "tools/link_bundle/stubs.h"

namespace linker {

using host::macho::ObjectError;
using host::macho::ObjectFile;
using host::macho::Section;
namespace format = host::macho::format;

namespace {

constexpr const char* kCompactUnwind = "__LD,__compact_unwind";
constexpr std::uint32_t kCompactUnwindEntry = 20;

std::string SegmentOf(const std::string& section) { return section.substr(0, section.find(',')); }

}  // namespace

bool IsZeroFilled(const OutputSection& section) {
    return (section.flags & format::kSectionKindMask) == format::kZeroFilled;
}

Layout::Layout(const ObjectFile& object, std::uint32_t stubCount) : object_(object), targets_(object.sections.size()) {
    segments = {{.name = "__TEXT", .protection = format::kReadable | format::kExecutable},
                {.name = "__DATA", .protection = format::kReadable | format::kWritable},
                {.name = "__OBJC", .protection = format::kReadable | format::kWritable},
                {.name = "__LINKEDIT", .protection = format::kReadable}};
    // In this order within their segments. What is missing stays empty and is left out.
    const std::uint32_t code = format::kPureInstructions | format::kSomeInstructions;
    Add({.name = "__TEXT,__text", .flags = format::kRegular | code});
    Add({.name = kStubs, .flags = format::kSymbolStubs | code, .stubSize = kStubSize})
        .bytes.resize(stubCount * kStubSize);
    Add({.name = kStubHelpers, .flags = format::kRegular | code})
        .bytes.resize(stubCount != 0 ? kStubHelpersSize + stubCount * kStubHelperSize : 0);
    Add({.name = kPointers, .flags = format::kSymbolPointers});
    Add({.name = kLazyPointers, .flags = format::kLazySymbolPointers}).bytes.resize(stubCount * 4);
    Add({.name = kCache, .flags = format::kRegular}).bytes.resize(stubCount != 0 ? 4 : 0);

    for (std::uint32_t i = 0; i < object.sections.size(); ++i) {
        const Section& section = object.sections[i];
        if (section.name == kCompactUnwind) {
            CheckCompactUnwind(section);
            continue;
        }
        std::string name = section.kind == format::kSymbolPointers ? kPointers : section.name;
        const auto isOf = [&](const OutputSegment& segment) { return segment.name == SegmentOf(name); };
        if (std::none_of(segments.begin(), std::prev(segments.end()), isOf)) {
            throw ObjectError("section " + name, "bundles have no segment " + SegmentOf(name));
        }
        OutputSection& output = Add({.name = std::move(name), .flags = section.flags});
        output.isFromObject = true;
        output.alignment = std::max(output.alignment, section.alignment);
        output.size = RoundedUp(output.size, section.alignment);
        targets_[i] = {.output = static_cast<std::uint32_t>(&output - sections.data()), .offset = output.size};
        output.size += section.size;
        if (section.kind == format::kZeroFilled) continue;
        output.bytes.resize(targets_[i]->offset);
        output.bytes.insert(output.bytes.end(), section.bytes.begin(), section.bytes.end());
    }
    // The pointer to the stub binder comes after those of the object.
    if (stubCount != 0) Find(kPointers)->bytes.resize(Find(kPointers)->bytes.size() + 4);
    for (OutputSection& section : sections) {
        if (!IsZeroFilled(section)) section.size = static_cast<std::uint32_t>(section.bytes.size());
    }
}

// The section with this name, made if there is none.
OutputSection& Layout::Add(OutputSection section) {
    if (OutputSection* known = Find(section.name)) {
        if (known->flags != section.flags) {
            throw ObjectError("section " + section.name, "its kind or attributes are not supported");
        }
        return *known;
    }
    sections.push_back(std::move(section));
    return sections.back();
}

void Layout::CheckCompactUnwind(const Section& section) const {
    const Section* frames = object_.Find(host::macho::kFrameSection);
    std::uint32_t described = 0;
    if (frames != nullptr) {
        for (const auto& pointer : host::macho::ReadFrames(frames->bytes).pointers) {
            described += pointer.kind == host::macho::FramePointer::Kind::kFunction;
        }
    }
    const std::uint32_t functions = section.size / kCompactUnwindEntry;
    if (described >= functions) return;
    throw ObjectError("section " + section.name, std::to_string(functions - described) + " of its " +
                                                     std::to_string(functions) +
                                                     " functions have no frame description");
}

void Layout::Place(std::uint32_t otherCommandsSize) {
    std::uint32_t count = 0;
    for (OutputSegment& segment : segments) {
        for (std::uint32_t i = 0; i < sections.size(); ++i) {
            if (sections[i].size == 0 && !sections[i].isFromObject) continue;
            if (SegmentOf(sections[i].name) == segment.name) segment.sections.push_back(i);
        }
        // Zero-filled sections come last, because the file ends before them.
        std::stable_partition(segment.sections.begin(), segment.sections.end(),
                              [&](std::uint32_t i) { return !IsZeroFilled(sections[i]); });
        count += static_cast<std::uint32_t>(segment.sections.size());
    }
    // A segment without sections is left out, but for the one of the header and the one of the link information.
    std::erase_if(segments, [](const OutputSegment& one) {
        return one.sections.empty() && one.name != "__TEXT" && one.name != "__LINKEDIT";
    });
    const auto segmentCount = static_cast<std::uint32_t>(segments.size());
    const std::uint32_t commandsEnd = sizeof(format::Header) + segmentCount * sizeof(format::SegmentCommand) +
                                      count * sizeof(format::Section) + otherCommandsSize;
    std::uint32_t address = 0;
    std::uint32_t sectionNumber = 0;
    for (std::uint32_t number = 0; number < segments.size(); ++number) {
        OutputSegment& segment = segments[number];
        segment.address = address;
        std::uint32_t end = number == 0 ? commandsEnd : address;
        std::uint32_t fileEnd = end;
        for (const std::uint32_t i : segment.sections) {
            OutputSection& section = sections[i];
            section.number = ++sectionNumber;
            section.address = RoundedUp(end, section.alignment);
            end = section.End();
            if (!IsZeroFilled(section)) fileEnd = end;
        }
        segment.size = RoundedUp(end - address, format::kPageSize);
        segment.fileSize = RoundedUp(fileEnd - address, format::kPageSize);
        address += segment.size;
        if (number == 0) continue;
        segment.fileOffset = segments[number - 1].fileOffset + segments[number - 1].fileSize;
    }
}

std::uint32_t Layout::NewAddress(std::uint32_t section, std::uint32_t address) const {
    const auto& target = targets_[section];
    if (!target) {
        throw ObjectError("section " + object_.sections[section].name, "it is left out, but something refers to it");
    }
    return sections[target->output].address + target->offset + (address - object_.sections[section].address);
}

std::uint32_t Layout::SectionAt(std::uint32_t address) const {
    std::optional<std::uint32_t> before;
    for (std::uint32_t i = 0; i < object_.sections.size(); ++i) {
        const Section& section = object_.sections[i];
        if (section.address <= address && address < section.End()) return i;
        if (section.End() == address) before = i;
    }
    if (!before) throw ObjectError("address " + std::to_string(address), "it lies outside all sections");
    return *before;
}

OutputSection* Layout::OutputOf(std::uint32_t section) {
    return targets_[section] ? &sections[targets_[section]->output] : nullptr;
}

OutputSection* Layout::Find(const std::string& name) {
    const auto found =
        std::find_if(sections.begin(), sections.end(), [&](const OutputSection& one) { return one.name == name; });
    return found != sections.end() ? &*found : nullptr;
}

linker::Place Layout::PlaceOf(std::uint32_t address) const {
    for (std::uint32_t i = 0; i < segments.size(); ++i) {
        const OutputSegment& segment = segments[i];
        if (address - segment.address >= segment.size) continue;
        if ((segment.protection & format::kWritable) == 0) {
            throw ObjectError("segment " + segment.name, "it contains an address, at " + std::to_string(address) +
                                                             ", which a loader would have to write; code must not "
                                                             "depend on its address");
        }
        return {.segment = i, .offset = address - segment.address};
    }
    throw ObjectError("address " + std::to_string(address), "it lies outside the bundle");
}

namespace {

// The bytes of a section at an address.
template <typename Sections>
auto* BytesAt(Sections& sections, std::uint32_t address) {
    for (auto& section : sections) {
        const std::uint32_t offset = address - section.address;
        if (offset < section.size && offset + 4 <= section.bytes.size()) return &section.bytes[offset];
    }
    throw ObjectError("address " + std::to_string(address), "no section has four bytes there");
}

}  // namespace

std::uint32_t Layout::Word(std::uint32_t address) const {
    std::uint32_t word;
    std::memcpy(&word, BytesAt(sections, address), sizeof word);
    return word;
}

void Layout::SetWord(std::uint32_t address, std::uint32_t value) {
    std::memcpy(BytesAt(sections, address), &value, sizeof value);
}

}  // namespace linker
