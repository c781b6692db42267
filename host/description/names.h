// names.h - finds filters, classes and keys by the names that people write, and lists the names.
//
// Command line, recipes, completion and Python all come here. Case does not matter. A filter has three spellings:
// GaussianBlur, CIGaussianBlur and CIFilterGaussianBlurQOR. A key may leave out its "input": radius for inputRadius.
//
// Programs in languages that write names with underscores have short names: gaussian_blur, save_with_quality.
//
// Failure: HostError for an unknown name, with a suggestion in the short spelling where one is likely.
// Threads: the host's thread.

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/runtime/host.h"

// The keys that connect the filters of a chain, and the one that follows from the data of a color cube.
inline constexpr const char* kImageKey = "inputImage";
inline constexpr const char* kOutputKey = "outputImage";
inline constexpr const char* kCubeDimensionKey = "inputCubeDimension";

// Returns the short name of a filter class, "GaussianBlur"; empty for any other class.
[[nodiscard]] std::string FilterShortName(std::string_view className);

// Returns the class of a filter.
[[nodiscard]] const host::Class& FilterNamed(host::Host& host, const std::string& name);

// Returns a class: a filter in any spelling, or any class by its own name.
[[nodiscard]] const host::Class& ClassNamed(host::Host& host, const std::string& name);

// A step of a recipe: a filter, or a method of CIImageQOR that returns an image.
struct StepClass {
    const host::Class* isa;
    const host::Member* method;  // null for a filter

    // The full name.
    [[nodiscard]] const std::string& Name() const { return method != nullptr ? method->declaration.name : isa->Name(); }
};

// A key of a step and the type of its values.
struct StepKey {
    std::string name;
    host::Type type;
};

// Returns the step with a name: a filter, or else a method.
[[nodiscard]] StepClass StepNamed(host::Host& host, const std::string& name);

// Returns the keys of a step: the input keys of a filter, or the parameters of a method and inputImage, the image that
// it is called on.
[[nodiscard]] std::vector<StepKey> KeysOf(const StepClass& step);

// Returns the key of a step that a setting sets. `setting` is the whole KEY=VALUE, for messages.
[[nodiscard]] StepKey StepKeyNamed(const StepClass& step, const std::string& name, const std::string& setting);

// Returns the names of the methods that can be steps.
[[nodiscard]] std::vector<std::string> StepMethodNames(host::Host& host);

// Returns the short names of all filters.
[[nodiscard]] std::vector<std::string> FilterNames(host::Host& host);

// Returns the names of all classes, those of filters in the short spelling.
[[nodiscard]] std::vector<std::string> ClassNames(host::Host& host);

// Returns the full names of the input keys of a filter.
[[nodiscard]] std::vector<std::string> KeyNames(const host::Class& filter);

// Returns the short name of a filter's class, "gaussian_blur"; empty for any other class.
[[nodiscard]] std::string ClassShortName(std::string_view className);

// Returns the short name of a member: "radius" for inputRadius, "attribute_radius" for AttributeinputRadius, "to_png"
// for ToPNG.
[[nodiscard]] std::string MemberShortName(std::string_view name);

// Returns a class by its name, or a filter's class by another spelling or its short name. Case matters.
//
// Fails: HostError for an unknown name, for a name that several classes have, which the message lists, and for a class
//        without its superclass.
[[nodiscard]] const host::Class& ClassSpelled(host::Host& host, const std::string& name);

// A member and the class that declares it.
struct DeclaredMember {
    const host::Class* isa;
    const host::Member* member;
};

// Returns a member by its name or its short name, of the class or of its superclasses. `membersOf` tells which members.
//
// Fails: HostError for an unknown name, and for a short name that several members have, which the message lists.
[[nodiscard]] DeclaredMember MemberSpelled(const host::Class& isa, const std::string& name,
                                           const std::vector<host::Member>& (host::Class::*membersOf)() const);
