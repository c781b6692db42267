// catalogue_counts.cpp - finds an `expect` line.

#include "tests/support/catalogue_counts.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

std::size_t CatalogueCount(const std::string& what) {
    std::ifstream file(ZEVA_CATALOGUE);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string statement, name;
        std::size_t count = 0;
        if (words >> statement >> count >> name && statement == "expect" && name == what) return count;
    }
    throw std::runtime_error(ZEVA_CATALOGUE ": no line gives the expected number of " + what);
}
