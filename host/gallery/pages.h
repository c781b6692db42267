// pages.h - the gallery's pages: an overview, one page for each filter, and one for all recipes.
//
// They are in one folder with gallery.css, gallery.js and prepare.lua; the pictures of each photo are in
// pictures/<photo>/. Every page works without JavaScript; gallery.js adds the search, the choice of a category, and
// the slider.

#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "host/description/class_description.h"
#include "host/gallery/sample.h"

// A photo that the filters are applied to.
struct GalleryPhoto {
    std::string name;    // its file name
    std::string folder;  // the folder of its pictures, "pictures/grace_hopper"
    int width, height;   // the size at which it is shown, in pixels
};

// A filter and the programs that show what it does.
struct GalleryFilter {
    ClassDescription description;  // of a filter's class
    std::vector<Sample> samples;

    const FilterTitle& Title() const { return description.filter->title; }
};

// A recipe that comes with the program.
struct GalleryRecipe {
    std::string name;     // "warm-film.recipe"
    std::string file;     // its path
    std::string title;    // "Warm film: golden light ..."
    std::string text;     // the file
    std::string picture;  // the file that it writes in each photo's folder

    // The title without the part behind the colon.
    std::string ShortTitle() const { return title.substr(0, title.find(':')); }
};

// The content of the pages. Filters are sorted by category and title.
struct Gallery {
    std::vector<GalleryPhoto> photos;
    std::vector<GalleryFilter> filters;
    std::vector<GalleryRecipe> recipes;
    std::map<std::string, std::string> missing;  // pictures that are missing, by path, and the reason
};

// Returns the file name of a filter's page.
[[nodiscard]] std::string PageName(const GalleryFilter& filter);

// The file name of the page of recipes.
inline constexpr const char* kRecipesPage = "recipes.html";

// Returns the page of recipes: for each its text, and each photo before and after.
[[nodiscard]] std::string RecipesPage(const Gallery& gallery);

// Returns the overview: a card for each filter.
[[nodiscard]] std::string IndexPage(const Gallery& gallery);

// Returns the page of gallery.filters[index]: the photo before and after, further settings, properties, the programs.
[[nodiscard]] std::string FilterPage(const Gallery& gallery, std::size_t index);
