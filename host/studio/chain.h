// chain.h - the chain of cards on the studio's page, and the image that it makes.
//
// A card is a filter with its settings as text, in the spelling of the command line (host/recipe/setting_value.h). The
// value of an image key is one of
//
//   -         the image of the card before; the photo for the first
//   $input    the photo
//   $c3       the image of an earlier card, by its name
//   #5        a file that the server knows under this number; so is the value of a key for a color table
//
// An image key that is not set and that nothing else fills takes the image of the card before if it is inputImage.
//
// At a reduced scale, pictures are smaller and every setting in pixels is scaled with them, so that the result looks
// like the full one scaled down. This does not hold for filters that work on the grid of pixels, and hardly for
// distances of a pixel or two: CanBeScaled tells.
//
// Failure: CardError names the card; other errors concern no card.
// Threads: the host's thread.

#pragma once

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/runtime/host.h"

namespace studio {

struct Card {
    std::string name;
    std::string filter;
    std::vector<std::pair<std::string, std::string>> settings;  // full keys and texts
};

class CardError : public std::runtime_error {
  public:
    CardError(std::string card, const std::string& message) : std::runtime_error(message), card_(std::move(card)) {}
    const std::string& CardName() const { return card_; }

  private:
    std::string card_;
};

// What a chain reads.
struct ChainSources {
    host::Value photo;                                            // at the scale
    std::function<host::Value(const std::string& number)> image;  // the picture with a number, at the scale
    std::function<std::string(const std::string& number)> path;   // of a file with a number
    double scale = 1;
};

// Below this distance, a reduced picture has too few pixels to show what a filter does.
inline constexpr double kLeastPreviewPixels = 2;

// Whether the result at a scale looks like the full one scaled down.
[[nodiscard]] bool CanBeScaled(host::Host& host, const std::vector<Card>& cards, double scale);

// Returns the image of the last card; the photo when there is no card.
[[nodiscard]] host::Value ImageOfChain(host::Host& host, const std::vector<Card>& cards, const ChainSources& sources);

}  // namespace studio
