// pages.h - the gallery's pages: an overview, and one for each filter.
//
// They stand in one folder with gallery.css, gallery.js and prepare.lua; the pictures of each photo are in pictures/<photo>/.
// Everything can be read and looked at without a script; gallery.js adds search, the filter by category, and the slider.

#pragma once

#include <map>
#include <string>
#include <vector>

#include "host/gallery/sample.h"

// A photo that the filters were applied to.
struct GalleryPhoto {
    std::string name;    // its file's name
    std::string folder;  // "pictures/grace_hopper", where its pictures are
    int width, height;   // as it is shown
};

// A filter and the programs that show what it does.
struct GalleryFilter {
    Json description;  // as ClassJson makes it
    std::vector<Sample> samples;
};

// All that the pages tell of. Filters stand by category, and by title within it.
struct Gallery {
    std::vector<GalleryPhoto> photos;
    std::vector<GalleryFilter> filters;
    std::map<std::string, std::string> missing;  // pictures that could not be made, with their folders, and why
};

// The file of a filter's page.
std::string PageName(const GalleryFilter& filter);

// The overview: a card for each filter.
std::string IndexPage(const Gallery& gallery);

// The page of a filter: before and after, further settings, properties, the programs.
std::string FilterPage(const Gallery& gallery, std::size_t number);
