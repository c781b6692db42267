// pages.cpp - builds the pages from the filters' descriptions and samples.

#include "host/gallery/pages.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <string_view>

#include "host/description/class_description.h"
#include "host/gallery/fidelity_table.h"
#include "host/gallery/html.h"
#include "host/gallery/sample_table.h"

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

std::string CategoryOf(const GalleryFilter& filter) { return Spaced(filter.Title().category); }

bool TakesAnImage(const GalleryFilter& filter) {
    const auto& properties = filter.description.properties;
    return std::any_of(properties.begin(), properties.end(),
                       [](const PropertyDescription& property) { return property.name == "inputImage"; });
}

// A whole page around a body.
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

// A picture from a photo's folder, or the reason why it is missing.
Html Picture(const Gallery& gallery, const GalleryPhoto& photo, const std::string& file, const std::string& alt) {
    const std::string path = photo.folder + "/" + file;
    const auto reason = gallery.missing.find(path);
    if (reason != gallery.missing.end()) return Fill("<p class=\"missing\">No picture: {}.</p>", {reason->second});
    return Fill(R"(<img src="{}" alt="{}" width="{}" height="{}" loading="lazy">)",
                {path, alt, photo.width, photo.height});
}

std::string AltText(const GalleryFilter& filter, const Sample& sample, const GalleryPhoto& photo) {
    return photo.name + " through " + filter.Title().displayName + ": " + sample.caption;
}

// The picture on the filter's card: its first one, or the middle one of a transition.
Html CardPicture(const Gallery& gallery, const GalleryFilter& filter) {
    const Sample& sample = filter.samples.front();
    const GalleryPhoto& photo = gallery.photos.front();
    return Picture(gallery, photo, sample.pictures[(sample.pictures.size() - 1) / 2], AltText(filter, sample, photo));
}

// A name of several joined words, with optional line breaks between them.
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
                {PageName(filter), CardPicture(gallery, filter), filter.Title().displayName,
                 Wrapping(filter.description.name), filter.description.filter->description});
}

// A transition as one picture per time.
Html Strip(const Gallery& gallery, const GalleryFilter& filter, const Sample& sample, const GalleryPhoto& photo) {
    Html frames;
    for (std::size_t i = 0; i < sample.pictures.size(); ++i) {
        const std::string time = kTransitionTimes[i];
        const std::string alt = AltText(filter, sample, photo) + ", time " + time;
        frames += Fill("<li>{}<span>{}</span></li>\n",
                       {Picture(gallery, photo, sample.pictures[i], alt), "inputTime " + time});
    }
    return Fill("<figure class=\"wide\"><ol class=\"strip\">\n{}</ol><figcaption>{}</figcaption></figure>\n",
                {frames, sample.caption});
}

// The photo before and after. gallery.js puts one over the other and adds the slider.
Html BeforeAndAfter(const Gallery& gallery, const GalleryPhoto& photo, const std::string& picture,
                    const std::string& alt, const std::string& caption) {
    return Fill(R"(<figure class="compare"><div class="pair">
<div class="before">{}<span>Before</span></div>
<div class="after">{}<span>After</span></div>
</div><figcaption>{}</figcaption></figure>
)",
                {Picture(gallery, photo, "photo.jpg", photo.name + " as it is"), Picture(gallery, photo, picture, alt),
                 caption});
}

Html Comparison(const Gallery& gallery, const GalleryFilter& filter, const Sample& sample, const GalleryPhoto& photo) {
    return BeforeAndAfter(gallery, photo, sample.pictures[0], AltText(filter, sample, photo), sample.caption);
}

// A recipe with its pictures and its text.
Html RecipeSection(const Gallery& gallery, const GalleryRecipe& recipe) {
    Html figures;
    for (const GalleryPhoto& photo : gallery.photos) {
        const std::string alt = photo.name + " through " + recipe.name;
        const std::string command = "zeva apply " + recipe.name + " " + photo.name;
        figures += BeforeAndAfter(gallery, photo, recipe.picture, alt, command);
    }
    return Fill(R"(<section><h2>{}</h2>
<p class="sentence">{}</p>
<div class="figures">
{}</div>
<details><summary>{}</summary><pre tabindex="0"><code>{}</code></pre></details></section>
)",
                {recipe.ShortTitle(), recipe.title, figures, recipe.name, recipe.text});
}

// The link to the recipes; none without recipes.
Html RecipesLink(const Gallery& gallery) {
    if (gallery.recipes.empty()) return {};
    return Fill("<nav aria-label=\"Recipes\"><a href=\"{}\">{} recipes, made of these filters</a></nav>\n",
                {kRecipesPage, static_cast<int>(gallery.recipes.size())});
}

Html Single(const Gallery& gallery, const GalleryFilter& filter, const Sample& sample, const GalleryPhoto& photo) {
    return Fill("<figure>{}<figcaption>{}</figcaption></figure>\n",
                {Picture(gallery, photo, sample.pictures[0], AltText(filter, sample, photo)), sample.caption});
}

// The pictures that the samples read beside the photo, each of them once.
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
    return Fill(R"(<h3>Other input pictures</h3>
<div class="figures small">
{}</div>
<p class="note"><a href="prepare.lua">prepare.lua</a> makes them from the photo.</p>
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

// A list with a space after each comma, so that its line can break.
std::string Breakable(const std::string& list) {
    std::string text;
    for (char c : list) text += c == ',' ? ", " : std::string(1, c);
    return text;
}

Html PropertyRow(const PropertyDescription& property) {
    const auto cell = [](const char* label, const std::string& text) {
        return text.empty() ? Html{"<td class=\"empty\"></td>"} : Fill("<td data-label=\"{}\">{}</td>", {label, text});
    };
    const std::string access = property.isReadOnly ? " (read-only)" : "";
    return Fill("<tr><th scope=\"row\"><code>{}</code></th>{}{}{}{}</tr>\n",
                {property.name, cell("Type", property.type + access), cell("Default", Breakable(DefaultText(property))),
                 cell("Range", RangeText(property)), cell("", property.description)});
}

Html Properties(const GalleryFilter& filter) {
    Html rows;
    for (const PropertyDescription& property : filter.description.properties) rows += PropertyRow(property);
    return Fill(R"(<section><h2>Properties</h2>
<table>
<thead><tr><th scope="col">Name</th><th scope="col">Type</th><th scope="col">Default</th><th scope="col">Range</th>
<th scope="col">Description</th></tr></thead>
<tbody>
{}</tbody>
</table></section>
)",
                {rows});
}

// The programs. The first one is open, the others are folded under their captions.
Html Programs(const GalleryFilter& filter) {
    Html programs;
    for (const Sample& sample : filter.samples) {
        const bool isFirst = &sample == &filter.samples.front();
        programs += Fill("<details{}><summary>{}</summary><pre tabindex=\"0\"><code>{}</code></pre></details>\n",
                         {Html{isFirst ? " open" : ""}, sample.caption, sample.text});
    }
    return Fill(R"(<section><h2>The program in Lua</h2>
<p class="note">This program made the picture. <code>zeva run</code> runs it in a folder with
<code>photo.jpg</code>.</p>
{}</section>
)",
                {programs});
}

// How close the filter is to the platform's. Nothing for a filter of another module.
Html Fidelity(const GalleryFilter& filter) {
    for (const FidelityRow& row : kFidelity) {
        if (row.filter != filter.Title().name) continue;
        const auto entry = [](const char* term, const char* text) {
            if (std::string_view(text) == "-") return Html{};
            return Fill("<div><dt>{}</dt><dd>{}</dd></div>\n", {term, text});
        };
        return Fill("<section><h2>Fidelity</h2>\n<p>{}</p>\n<dl>\n{}{}{}{}</dl></section>\n",
                    {row.certainty, entry("Checked against", row.checkedAgainst), entry("Platform", row.platform),
                     entry("Differs by, in levels of 8 bits", row.differsBy), entry("Bound", row.bound)});
    }
    return {};
}

// Links to the overview and to the previous and next filter.
Html Navigation(const Gallery& gallery, std::size_t index) {
    Html links = Fill("<a href=\"index.html\">All filters</a>", {});
    const auto link = [&](const char* relation, const char* text, std::size_t neighbor) {
        if (neighbor >= gallery.filters.size()) return;
        const GalleryFilter& filter = gallery.filters[neighbor];
        links += Fill("\n<a rel=\"{}\" href=\"{}\"><span>{}</span> {}</a>",
                      {relation, PageName(filter), text, filter.Title().displayName});
    };
    link("prev", "Previous:", index - 1);  // beyond the end for the first filter
    link("next", "Next:", index + 1);
    return Fill("<nav aria-label=\"Filters\">{}</nav>\n", {links});
}

// "1 filter", "73 filters".
std::string Filters(std::size_t count) { return std::to_string(count) + (count == 1 ? " filter" : " filters"); }

}  // namespace

std::string PageName(const GalleryFilter& filter) { return filter.Title().name + ".html"; }

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
    return Page("Gallery of " + title,
                Fill(R"(<header><h1>{}</h1>
<p>Each filter is a class of the module. The module itself made the pictures of {}.</p>
{}<form class="tools" role="search" hidden>
<label>Search <input type="search" id="search" autocomplete="off"></label>
<label>Category <select id="category"><option value="">All</option>{}</select></label>
<output id="count" for="search category"></output>
</form></header>
<main>
{}</main>
)",
                     {title, gallery.photos.front().name, RecipesLink(gallery), options, sections}));
}

std::string RecipesPage(const Gallery& gallery) {
    Html sections;
    for (const GalleryRecipe& recipe : gallery.recipes) sections += RecipeSection(gallery, recipe);
    return Page("Recipes", Fill(R"(<header><nav aria-label="Filters"><a href="index.html">All filters</a></nav>
<h1>Recipes</h1>
<p>A recipe is a file of filters and settings. These come with the program; docs/recipes.md explains them.</p></header>
<main>
{}</main>
)",
                                {sections}));
}

std::string FilterPage(const Gallery& gallery, std::size_t index) {
    const GalleryFilter& filter = gallery.filters[index];
    Html sections;
    for (const GalleryPhoto& photo : gallery.photos) sections += PhotoSection(gallery, filter, photo);
    const Html navigation = Navigation(gallery, index);
    return Page(filter.Title().displayName, Fill(R"(<header>{}<h1>{}</h1>
<p><code>{}</code> · {}</p>
<p class="sentence">{}</p></header>
<main>
{}{}{}{}</main>
<footer>{}</footer>
)",
                                                 {navigation, filter.Title().displayName, filter.description.name,
                                                  CategoryOf(filter), filter.description.filter->description, sections,
                                                  Properties(filter), Fidelity(filter), Programs(filter), navigation}));
}
