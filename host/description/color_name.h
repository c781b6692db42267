// color_name.h - the colors that people write: "orange", "#f80", "#ff8000" or "#ff800080".
//
// The names are those of CSS, in any case. Colors are in sRGB, with straight alpha.

#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Returns red, green, blue and alpha from 0 to 1; nothing for a text that is not a color.
[[nodiscard]] std::optional<std::array<double, 4>> FindColor(std::string_view text);

// Returns the names of all colors.
[[nodiscard]] std::vector<std::string> ColorNames();
