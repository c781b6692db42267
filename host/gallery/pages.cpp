// pages.cpp - writes the pages from the filters' descriptions and samples.

#include "host/gallery/pages.h"

#include <algorithm>
#include <cctype>
#include <set>

#include "host/description/class_description.h"
#include "host/gallery/html.h"

namespace {

// "ColorAdjustment" as "Color Adjustment".
std::string Spaced(const std::string& name) {
    std::string text;
    for (char c : name) {
        if (!text.empty() && std::isupper(static_cast<unsigned char>(c)) != 0) text += ' ';
        text += c;
    }
    return text;
}

// An entry of a filter's description that is a text.
std::string TextOf(const GalleryFilter& filter, const char* entry) { return filter.description[entry]; }

std::string Title(const GalleryFilter& filter) { return TextOf(filter, "displayName"); }

std::string CategoryOf(const GalleryFilter& filter) { return Spaced(TextOf(filter, "category")); }

bool TakesAnImage(const GalleryFilter& filter) {
    const Json& keys = filter.description["properties"];
    return std::any_of(keys.begin(), keys.end(), [](const Json& key) { return key["name"] == "inputImage"; });
}

// A page around its body; the script is added to what stands without it.
std::string Page(const std::string& title, const Html& body) {
    return Fill(R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<title>{}</title>
<link rel="icon" href="data:,">
<link rel="stylesheet" href="gallery.css">
<script src="gallery.js" defer></script>
</head>
<body>
{}</body>
</html>
)",
                {title, body})
        .text;
}

// A picture of a photo's folder; where it could not be made, the words for that.
Html Picture(const Gallery& gallery, const GalleryPhoto& photo, const std::string& file, const std::string& alt) {
    const std::string path = photo.folder + "/" + file;
    const auto reason = gallery.missing.find(path);
    if (reason != gallery.missing.end()) return Fill("<p class=\"missing\">No picture: {}.</p>", {reason->second});
    return Fill(R"(<img src="{}" alt="{}" width="{}" height="{}" loading="lazy">)",
                {path, alt, photo.width, photo.height});
}

std::string AltText(const GalleryFilter& filter, const Sample& sample, const GalleryPhoto& photo) {
    return photo.name + " through " + Title(filter) + ": " + sample.caption;
}

// The picture that stands for the filter: its first, and of a transition the one in the middle.
Html CardPicture(const Gallery& gallery, const GalleryFilter& filter) {
    const Sample& sample = filter.samples.front();
    const GalleryPhoto& photo = gallery.photos.front();
    return Picture(gallery, photo, sample.pictures[(sample.pictures.size() - 1) / 2], AltText(filter, sample, photo));
}

// A name of several words, with places where a line may break.
Html Wrapping(const std::string& name) {
    Html html;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto is = [&](int (*kind)(int), std::size_t place) {
            return kind(static_cast<unsigned char>(name[place])) != 0;
        };
        if (i > 0 && is(std::isupper, i) && is(std::islower, i - 1)) html += Html{"<wbr>"};
        html += Escaped(std::string(1, name[i]));
    }
    return html;
}

Html Card(const Gallery& gallery, const GalleryFilter& filter) {
    return Fill(R"(<li class="card"><a href="{}">{}
<h3>{}</h3>
<p class="class">{}</p>
<p>{}</p></a></li>
)",
                {PageName(filter), CardPicture(gallery, filter), Title(filter), Wrapping(TextOf(filter, "class")),
                 TextOf(filter, "description")});
}

// A transition: the photo, the times between, the second picture.
Html Strip(const Gallery& gallery, const GalleryFilter& filter, const Sample& sample, const GalleryPhoto& photo) {
    const std::vector<std::string> times = TransitionTimes();
    Html frames;
    for (std::size_t i = 0; i < times.size(); ++i) {
        const std::string alt = AltText(filter, sample, photo) + ", time " + times[i];
        frames += Fill("<li>{}<span>{}</span></li>\n",
                       {Picture(gallery, photo, sample.pictures[i], alt), "inputTime " + times[i]});
    }
    return Fill("<figure class=\"wide\"><ol class=\"strip\">\n{}</ol><figcaption>{}</figcaption></figure>\n",
                {frames, sample.caption});
}

// The photo before and after; gallery.js lays one over the other and adds the slider.
Html Comparison(const Gallery& gallery, const GalleryFilter& filter, const Sample& sample, const GalleryPhoto& photo) {
    return Fill(R"(<figure class="compare"><div class="pair">
<div class="before">{}<span>Before</span></div>
<div class="after">{}<span>After</span></div>
</div><figcaption>{}</figcaption></figure>
)",
                {Picture(gallery, photo, "photo.jpg", photo.name + " before the filter"),
                 Picture(gallery, photo, sample.pictures[0], AltText(filter, sample, photo)), sample.caption});
}

Html Single(const Gallery& gallery, const GalleryFilter& filter, const Sample& sample, const GalleryPhoto& photo) {
    return Fill("<figure>{}<figcaption>{}</figcaption></figure>\n",
                {Picture(gallery, photo, sample.pictures[0], AltText(filter, sample, photo)), sample.caption});
}

// The pictures that the samples read beside the photo, each once.
Html HelperPictures(const Gallery& gallery, const GalleryFilter& filter, const GalleryPhoto& photo) {
    Html figures;
    std::set<std::string> shown;
    for (const Sample& sample : filter.samples) {
        for (const HelperPicture& helper : sample.helpers) {
            if (!shown.insert(helper.file).second) continue;
            const Html code = Fill("<code>{}</code>", {helper.file});
            figures += Fill("<figure>{}<figcaption>{}: {}</figcaption></figure>\n",
                            {Picture(gallery, photo, helper.file, helper.about), code, helper.about});
        }
    }
    if (figures.text.empty()) return {};
    return Fill(R"(<h3>Pictures it reads</h3>
<div class="figures small">
{}</div>
<p class="note">Made of the photo by <a href="prepare.lua">prepare.lua</a>.</p>
)",
                {figures});
}

// All pictures of a photo.
Html PhotoSection(const Gallery& gallery, const GalleryFilter& filter, const GalleryPhoto& photo) {
    Html figures;
    for (const Sample& sample : filter.samples) {
        const bool isFirst = &sample == &filter.samples.front();
        const bool isTransition = sample.pictures.size() > 1;
        const bool isComparison = isFirst && TakesAnImage(filter);
        figures += (isTransition ? Strip : isComparison ? Comparison : Single)(gallery, filter, sample, photo);
    }
    const Html heading = gallery.photos.size() > 1 ? Fill("<h2>{}</h2>\n", {photo.name}) : Html();
    return Fill("<section>\n{}<div class=\"figures\">\n{}</div>\n{}</section>\n",
                {heading, figures, HelperPictures(gallery, filter, photo)});
}

// A list with spaces, so that a line may break in it.
std::string Breakable(const std::string& list) {
    std::string text;
    for (char c : list) text += c == ',' ? ", " : std::string(1, c);
    return text;
}

Html PropertyRow(const Json& property) {
    const auto cell = [](const char* label, const std::string& text) {
        return text.empty() ? Html{"<td class=\"empty\"></td>"} : Fill("<td data-label=\"{}\">{}</td>", {label, text});
    };
    const std::string access = property["readOnly"] ? " (read-only)" : "";
    return Fill("<tr><th scope=\"row\"><code>{}</code></th>{}{}{}{}</tr>\n",
                {std::string(property["name"]), cell("Type", std::string(property["type"]) + access),
                 cell("Default", Breakable(DefaultText(property))), cell("Range", RangeText(property)),
                 cell("", property["description"])});
}

Html Properties(const GalleryFilter& filter) {
    Html rows;
    for (const Json& property : filter.description["properties"]) rows += PropertyRow(property);
    return Fill(R"(<section><h2>Properties</h2>
<table>
<thead><tr><th scope="col">Name</th><th scope="col">Type</th><th scope="col">Default</th><th scope="col">Range</th><th scope="col">Description</th></tr></thead>
<tbody>
{}</tbody>
</table></section>
)",
                {rows});
}

// The programs; the first one open, the others behind their captions.
Html Programs(const GalleryFilter& filter) {
    Html programs;
    for (const Sample& sample : filter.samples) {
        const bool isFirst = &sample == &filter.samples.front();
        programs += Fill("<details{}><summary>{}</summary><pre tabindex=\"0\"><code>{}</code></pre></details>\n",
                         {Html{isFirst ? " open" : ""}, sample.caption, sample.text});
    }
    return Fill(R"(<section><h2>The program in Lua</h2>
<p class="note">This text made the picture: <code>zeva run</code> runs it in a folder with <code>photo.jpg</code>.</p>
{}</section>
)",
                {programs});
}

// Links to the overview and to the neighbors in its order.
Html Navigation(const Gallery& gallery, std::size_t number) {
    Html links = Fill("<a href=\"index.html\">All filters</a>", {});
    const auto link = [&](const char* relation, const char* text, std::size_t neighbor) {
        if (neighbor >= gallery.filters.size()) return;
        const GalleryFilter& filter = gallery.filters[neighbor];
        links += Fill("\n<a rel=\"{}\" href=\"{}\"><span>{}</span> {}</a>",
                      {relation, PageName(filter), text, Title(filter)});
    };
    link("prev", "Previous:", number - 1);  // of the first one, beyond the end
    link("next", "Next:", number + 1);
    return Fill("<nav aria-label=\"Filters\">{}</nav>\n", {links});
}

// "1 filter", "73 filters".
std::string Filters(std::size_t count) { return std::to_string(count) + (count == 1 ? " filter" : " filters"); }

}  // namespace

std::string PageName(const GalleryFilter& filter) { return TextOf(filter, "filter") + ".html"; }

std::string IndexPage(const Gallery& gallery) {
    Html sections, options;
    for (auto first = gallery.filters.begin(); first != gallery.filters.end();) {
        const std::string category = CategoryOf(*first);
        Html cards;
        for (; first != gallery.filters.end() && CategoryOf(*first) == category; ++first)
            cards += Card(gallery, *first);
        sections += Fill(
            "<section class=\"category\" data-category=\"{}\"><h2>{}</h2>\n<ul class=\"cards\">\n{}</ul></section>\n",
            {category, category, cards});
        options += Fill("<option>{}</option>", {category});
    }
    const std::string title = Filters(gallery.filters.size());
    return Page("Gallery of " + title, Fill(R"(<header><h1>{}</h1>
<p>Each a class of the module, shown on {} by the module itself.</p>
<form class="tools" role="search" hidden>
<label>Search <input type="search" id="search" autocomplete="off"></label>
<label>Category <select id="category"><option value="">All</option>{}</select></label>
<output id="count" for="search category"></output>
</form></header>
<main>
{}</main>
)",
                                            {title, gallery.photos.front().name, options, sections}));
}

std::string FilterPage(const Gallery& gallery, std::size_t number) {
    const GalleryFilter& filter = gallery.filters[number];
    Html sections;
    for (const GalleryPhoto& photo : gallery.photos) sections += PhotoSection(gallery, filter, photo);
    const Html navigation = Navigation(gallery, number);
    return Page(Title(filter),
                Fill(R"(<header>{}<h1>{}</h1>
<p><code>{}</code> · {}</p>
<p class="sentence">{}</p></header>
<main>
{}{}{}</main>
<footer>{}</footer>
)",
                     {navigation, Title(filter), TextOf(filter, "class"), CategoryOf(filter),
                      TextOf(filter, "description"), sections, Properties(filter), Programs(filter), navigation}));
}
