// html.cpp - escapes text and fills markup.

#include "host/gallery/html.h"

#include <cassert>
#include <string_view>

Html Escaped(const std::string& text) {
    Html html;
    for (char c : text) {
        switch (c) {
            case '&':
                html.text += "&amp;";
                break;
            case '<':
                html.text += "&lt;";
                break;
            case '>':
                html.text += "&gt;";
                break;
            case '"':
                html.text += "&quot;";
                break;
            case '\'':
                html.text += "&#39;";
                break;
            default:
                html.text += c;
        }
    }
    return html;
}

Html Fill(const char* markup, std::initializer_list<HtmlPart> parts) {
    Html html;
    std::string_view rest = markup;
    for (const HtmlPart& part : parts) {
        const std::size_t place = rest.find("{}");
        assert(place != rest.npos && "more parts than {} in the markup");
        html.text += rest.substr(0, place);
        html += part.html;
        rest.remove_prefix(place + 2);
    }
    assert(rest.find("{}") == rest.npos && "fewer parts than {} in the markup");
    html.text += rest;
    return html;
}
