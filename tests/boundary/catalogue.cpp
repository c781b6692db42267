// catalogue.cpp - a second parser of the catalogue, independent of the generator.

#include "tests/boundary/catalogue.h"

#include <fstream>
#include <sstream>

std::vector<std::string> CatalogueFilter::Declarations() const {
    std::vector<std::string> declarations;
    for (const CatalogueProperty& property : properties) {
        declarations.push_back(property.key + " as " + property.typeWord);
        declarations.push_back("Attribute" + property.key + " as CIAttributeQOR");
    }
    declarations.push_back("Constructor");
    return declarations;
}

const std::vector<CatalogueFilter>& Catalogue() {
    static const std::vector<CatalogueFilter> filters = [] {
        std::map<std::string, std::string> types;
        std::vector<CatalogueFilter> read;
        std::ifstream file(ZEVA_CATALOGUE);
        std::string statement, subject;
        for (std::string line; std::getline(file, line);) {
            std::istringstream words(line.substr(0, line.find('#')));
            const bool begins = !line.empty() && line[0] != ' ' && words >> statement >> subject;
            if (begins && statement == "filter") read.push_back({subject, {}});
            for (std::string word; words >> word;) {
                if (statement == "keys") types[word] = subject;
                if (statement == "filter") read.back().properties.push_back({word, types.at(word)});
            }
        }
        return read;
    }();
    return filters;
}
