// class_description.h - what a class offers, as data: for the commands that describe classes and for the gallery's
// pages.
//
// Lifetime: a description is a copy; it does not refer to the host.
// Threads:  the host's thread.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/description/described_value.h"
#include "host/runtime/host.h"
#include "host/runtime/json.h"

// The names of a filter.
struct FilterTitle {
    std::string name;         // "GaussianBlur"
    std::string displayName;  // "Gaussian Blur"
    std::string category;     // "Blur"
    std::string categories;   // all of them, with the platform's names and commas
};

// What only filters have.
struct FilterDescription {
    FilterTitle title;
    std::string description;  // a sentence
};

// An attribute of a filter's key, such as "default" or "sliderMin".
struct AttributeDescription {
    std::string name;
    DescribedValue value;
};

struct PropertyDescription {
    std::string name;
    std::string type;
    bool isReadOnly = false;
    // Only a filter's properties have these.
    std::vector<AttributeDescription> attributes;
    std::string unit;  // "pixels"; empty when the type has no units
    std::string description;

    // Returns the value of an attribute; null when the property does not have it.
    [[nodiscard]] const DescribedValue* Find(const std::string& attribute) const;
};

struct ClassDescription {
    std::string name;
    std::string superclass;  // empty for a root class
    std::optional<FilterDescription> filter;
    std::vector<PropertyDescription> properties;
    std::vector<std::string> methods;  // "Crop(rectangle as CIVectorQOR) as CIImageQOR"
    std::vector<std::string> sharedMethods;
};

// Whether a class is the class of one filter.
[[nodiscard]] bool IsFilter(const host::Class& isa);

// Reads the names of a filter. Constructs a filter.
[[nodiscard]] FilterTitle TitleOf(host::Host& host, const host::Class& filterClass);

// Returns the unit of a filter's key: "pixels", "none" ...; empty when its type has none.
[[nodiscard]] std::string KeyUnit(const std::string& filter, const std::string& key);

// Whether the result of a filter consists of single pixels or depends on those that touch, so that it looks different
// when the picture is scaled first.
[[nodiscard]] bool WorksOnPixels(const std::string& filter);

// Describes a property of a filter's class; without attributes when there is no filter.
[[nodiscard]] PropertyDescription DescribeProperty(host::Host& host, const host::ObjectReference& filter,
                                                   const host::Member& member);

// Describes a class. Constructs a filter when it is the class of one.
[[nodiscard]] ClassDescription DescribeClass(host::Host& host, const host::Class& isa);

// Returns the description as a JSON object.
[[nodiscard]] host::Json ToJson(const ClassDescription& description);

// Returns the default of a property as people write it: "0,0,300,300"; empty when there is none.
[[nodiscard]] std::string DefaultText(const PropertyDescription& property);

// Returns the unit of a property: "pixels"; empty when it has none.
[[nodiscard]] std::string UnitText(const PropertyDescription& property);

// Returns the range of a property: "at least 0, mostly 0 to 100"; empty when there is none.
[[nodiscard]] std::string RangeText(const PropertyDescription& property);

// Returns all that is known of a property's values: "read-only, pixels, default 10, at least 0, mostly 0 to 100".
[[nodiscard]] std::string FactsText(const PropertyDescription& property);
