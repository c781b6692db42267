// catalogue.h - the module's catalogue as the tests read it, on their own: filters/catalogue.txt.

#pragma once

#include <map>
#include <string>
#include <vector>

struct CatalogueProperty {
    std::string key;
    std::string typeWord;
};

struct CatalogueFilter {
    std::string name;  // "Bloom"
    std::vector<CatalogueProperty> properties;

    std::string ClassName() const { return "CIFilter" + name + "QOR"; }

    // The declarations of the class's methods, in order.
    std::vector<std::string> Declarations() const;
};

// The filters in the order of the file.
const std::vector<CatalogueFilter>& Catalogue();
