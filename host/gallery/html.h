// html.h - pieces of a page. Text and markup are of different types, so a text cannot get into a page unescaped.

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

// Text as markup: the characters that mean something stand escaped, inside attributes too.
Html Escaped(const std::string& text);

// What can be put into markup: markup as it is, text escaped.
struct HtmlPart {
    HtmlPart(const Html& markup) : html(markup) {}
    HtmlPart(const std::string& text) : html(Escaped(text)) {}
    HtmlPart(const char* text) : html(Escaped(text)) {}
    HtmlPart(int number) : html{std::to_string(number)} {}

    Html html;
};

// Markup with each {} replaced by a part, in turn; the numbers of both are the same.
Html Fill(const char* markup, std::initializer_list<HtmlPart> parts);
