// catalogue.h - the module's catalogue (filters/catalogue.txt), as the tests parse it independently.

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
    [[nodiscard]] std::vector<std::string> Declarations() const;
};

// The filters in the order of the file.
const std::vector<CatalogueFilter>& Catalogue();
