// describe.cpp - "zeva describe": prints what classes offer.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "host/description/class_description.h"
#include "host/description/names.h"
#include "host/description/neutral_defaults.h"
#include "host/program/commands.h"
#include "host/runtime/errors.h"
#include "host/runtime/json.h"

namespace {

struct DescribeRequest {
    std::vector<std::string> names;
    bool json = false;
};

void PrintClass(const ClassDescription& description, bool changesNothing) {
    std::printf("%s", description.name.c_str());
    if (!description.superclass.empty()) std::printf(", a %s", description.superclass.c_str());
    if (description.filter) {
        std::printf(": %s\n%s\n", description.filter->title.displayName.c_str(),
                    description.filter->description.c_str());
        if (changesNothing) std::printf("Changes nothing until a key besides the image is set.\n");
    } else {
        std::printf("\n");
    }
    std::size_t width = 0;
    for (const PropertyDescription& property : description.properties) width = std::max(width, property.name.size());
    for (const PropertyDescription& property : description.properties) {
        const std::string facts = FactsText(property);
        std::printf("\n  %-*s  %s%s\n", static_cast<int>(width), property.name.c_str(), property.type.c_str(),
                    facts.empty() ? "" : (", " + facts).c_str());
        if (!description.filter) continue;
        std::printf("  %-*s  %s\n", static_cast<int>(width), "", property.description.c_str());
    }
    for (const std::string& method : description.methods) std::printf("\n  %s\n", method.c_str());
    for (const std::string& method : description.sharedMethods) {
        std::printf("\n  %s.%s\n", description.name.c_str(), method.c_str());
    }
}

host::Json JsonOf(const ClassDescription& description, bool changesNothing) {
    host::Json json = ToJson(description);
    if (description.filter) json["changesNothingByDefault"] = changesNothing;
    return json;
}

int Describe(const ProgramOptions& options, const DescribeRequest& request) {
    const auto host = MakeHost(options);
    std::vector<const host::Class*> classes;  // all of them, so that nothing is printed when one is unknown
    for (const std::string& name : request.names) classes.push_back(&ClassNamed(*host, name));
    host::Json list = host::Json::MakeArray();
    for (const host::Class* isa : classes) {
        const ClassDescription description = DescribeClass(*host, *isa);
        const bool changesNothing = description.filter && ChangesNothingByDefault(*host, *isa);
        if (request.json && classes.size() == 1) {
            list = JsonOf(description, changesNothing);
        } else if (request.json) {
            list.push_back(JsonOf(description, changesNothing));
        } else {
            if (isa != classes.front()) std::printf("\n");
            PrintClass(description, changesNothing);
        }
    }
    if (request.json) std::printf("%s\n", list.Dump(2).c_str());
    return kDone;
}

}  // namespace

Command DescribeCommand() {
    const auto request = std::make_shared<DescribeRequest>();
    return {
        .name = "describe",
        .help = "Describes classes: properties, defaults, ranges, methods.",
        .arguments =
            {
                {"CLASS", &request->names, "a filter in any of its spellings, or any class, such as CIImageQOR",
                 /*isRequired=*/true},
                {"--json", &request->json, "print JSON: an object, or a list of objects for several classes"},
            },
        .run = [request](const ProgramOptions& options) { return Describe(options, *request); },
    };
}
