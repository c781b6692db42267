// html.h - pieces of a page. Text and markup have different types, so unescaped text cannot get into a page.

#pragma once

#include <initializer_list>
#include <string>

// Markup.
struct Html {
    std::string text;

    Html& operator+=(const Html& more) {
        text += more.text;
        return *this;
    }
};

// Returns text as markup, with the special characters escaped; safe inside attributes too.
[[nodiscard]] Html Escaped(const std::string& text);

// A part that can be put into markup: markup unchanged, text escaped.
struct HtmlPart {
    HtmlPart(const Html& markup) : html(markup) {}
    HtmlPart(const std::string& text) : html(Escaped(text)) {}
    HtmlPart(const char* text) : html(Escaped(text)) {}
    HtmlPart(int number) : html{std::to_string(number)} {}

    Html html;
};

// Returns markup with each {} replaced by the next part. There must be as many parts as {}.
[[nodiscard]] Html Fill(const char* markup, std::initializer_list<HtmlPart> parts);
