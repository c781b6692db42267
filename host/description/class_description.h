// class_description.h - what a class offers, as data: for the commands that tell of classes and for the gallery's pages.

#pragma once

#include <string>

#include "host/description/value_json.h"

// Whether a class is one filter's.
bool IsFilter(const host::Class& isa);

// A class: its name, superclass, properties and methods. Of a filter also its titles, categories and sentences, and of each
// key what its attributes say. Constructs a filter for that.
Json ClassJson(host::Host& session, const host::Class& isa);

// A property's default in the spelling of the command line, "0,0,300,300"; empty when there is none.
std::string DefaultText(const Json& property);

// A property's unit, "pixels"; empty when it has none.
std::string UnitText(const Json& property);

// A property's range, "at least 0, mostly 0 to 100"; empty when there is none.
std::string RangeText(const Json& property);
