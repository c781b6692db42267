// worker.cpp - the calls of the worker.
//
// Adding a call: its function, its row in kCalls.

#include "host/studio/worker.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/description/class_description.h"
#include "host/description/names.h"
#include "host/recipe/prepared_recipe.h"
#include "host/recipe/setting_value.h"
#include "host/runtime/errors.h"
#include "host/runtime/memory_block.h"
#include "host/studio/chain.h"
#include "host/studio/message.h"
#include "host/studio/picture_cache.h"
#include "host/studio/preview.h"
#include "host/studio/texts.h"

namespace studio {
namespace {

using Json = nlohmann::ordered_json;
using host::Host;
using host::HostError;
using host::ObjectReference;
using host::Value;

struct Answer {
    Json json = Json::object();
    std::string bytes = {};
};

// What was rendered last. After a preview, the same picture is asked for with all its pixels.
struct Rendered {
    Json request;
    Json answer;
    Value pixels;  // null when there are none
    double milliseconds = 0;
};

// How far previews of a chain are reduced so that they follow the mouse: a picture with all its pixels tells how long
// the chain takes, and previews that are slow nevertheless halve the sides of those after them.
class Pace {
  public:
    int Reduction(const std::string& chain) const { return chain == chain_ ? reduction_ : 1; }

    void NoteResult(const std::string& chain, double milliseconds) {
        *this = {};
        chain_ = chain;
        // A quarter of the pixels takes a quarter of the time.
        for (; milliseconds > kLimit && reduction_ < kMostReduction; milliseconds /= 4) reduction_ *= 2;
    }

    void NotePreview(const std::string& chain, double milliseconds) {
        if (chain != chain_) NoteResult(chain, 0);
        slow_ = milliseconds > kLimit ? slow_ + 1 : 0;
        if (slow_ < kSlowInARow || reduction_ == kMostReduction) return;
        reduction_ *= 2;
        slow_ = 0;
    }

  private:
    static constexpr double kLimit = 13;  // leaves the rest of two frames to the preview's encoding and the browser
    static constexpr int kMostReduction = 4;
    static constexpr int kSlowInARow = 2;

    std::string chain_;
    int reduction_ = 1;
    int slow_ = 0;
};

struct Worker {
    Host& host;
    PictureCache pictures;
    Rendered last = {};
    Pace pace = {};
};

// What is asked for: the photo, the cards, and the files by their numbers.
class Request {
  public:
    Request(Worker& worker, const Json& json) : worker_(worker), json_(json) {}

    std::string Text(const char* name) const { return json_.value(name, std::string()); }
    const Json& operator[](const char* name) const { return json_.at(name); }
    const Json& All() const { return json_; }
    bool Is(const char* name) const { return json_.value(name, false); }

    // The path of a file with a number. Throws HostError for one that is not open.
    std::string Path(const std::string& number) const {
        const Json& files = json_.at("files");
        if (!files.contains(number)) throw HostError("#" + number, "no such file is open");
        return files.at(number).get<std::string>();
    }

    std::string PhotoPath() const { return Path(Text("photo")); }

    std::vector<Card> Cards() const {
        std::vector<Card> cards;
        for (const Json& each : json_.at("cards")) {
            Card card = {each.at("name"), each.at("filter"), {}};
            for (const auto& [key, text] : each.at("settings").items()) card.settings.emplace_back(key, text);
            cards.push_back(std::move(card));
        }
        return cards;
    }

    // The image of the cards at a scale.
    Value Image(const std::vector<Card>& cards, double scale) const {
        const auto open = [&](const std::string& path) { return worker_.pictures.At(path, scale); };
        return ImageOfChain(worker_.host, cards,
                            {.photo = open(PhotoPath()),
                             .image = [&](const std::string& number) { return open(Path(number)); },
                             .path = [&](const std::string& number) { return Path(number); },
                             .scale = scale});
    }

  private:
    Worker& worker_;
    const Json& json_;
};

Value Rectangle(Host& host, double x, double y, double width, double height) {
    const Value numbers[] = {x, y, width, height};
    return host.CallShared("CIVectorQOR", "Rectangle", numbers);
}

Value Call(Host& host, const Value& image, const char* method, const std::vector<Value>& arguments) {
    return host.Call(std::get<ObjectReference>(image).Get(), method, arguments);
}

// The bytes of a memory block.
const std::uint8_t* BytesOf(const Value& block) {
    const auto* held = reinterpret_cast<const ZEVAmemoryBlockStruct*>(std::get<ObjectReference>(block).Get());
    return reinterpret_cast<const std::uint8_t*>(held->bytes);
}

// ---- The calls

Answer Catalogue(Worker& worker, const Request&) {
    host::Json filters = host::Json::MakeArray();
    for (const std::string& name : FilterNames(worker.host)) {
        // An added module may have a class of such a name that is not a filter.
        const host::Class& isa = ClassNamed(worker.host, name);
        if (IsFilter(isa)) filters.push_back(ToJson(DescribeClass(worker.host, isa)));
    }
    // Steps of recipes that are methods of an image: a pasted chain may have them.
    host::Json methods = host::Json::MakeArray();
    for (const std::string& name : StepMethodNames(worker.host)) {
        host::Json keys = host::Json::MakeArray();
        for (const StepKey& key : KeysOf(StepNamed(worker.host, name))) {
            host::Json described = {{"name", key.name}, {"type", key.type.word}, {"isParameter", true}};
            if (key.type.word == "string") described["values"] = {"fit", "fill", "stretch"};
            keys.push_back(described);
        }
        methods.push_back({{"filter", name},
                           {"displayName", name},
                           {"category", "Image"},
                           {"description", "The method " + name + " of an image"},
                           {"properties", keys}});
    }
    host::Json spaces = host::Json::MakeArray();
    for (const std::string& name : KnownValues({.kind = {}, .word = "CGColorSpaceQOR"})) spaces.push_back(name);
    const host::Json catalogue = {{"filters", filters}, {"methods", methods}, {"colorSpaces", spaces}};
    Answer answer;
    answer.bytes = catalogue.Dump();
    return answer;
}

Answer Inspect(Worker& worker, const Request& request) {
    const std::string path = request.Text("path");
    if (path.ends_with(".cube")) {
        static_cast<void>(SettingValue(worker.host, {.kind = {}, .word = "memoryblock"}, path, path));
        return {{{"kind", "cube"}}};
    }
    const PictureSize size = worker.pictures.SizeOf(path);
    return {{{"kind", "picture"}, {"width", size.width}, {"height", size.height}}};
}

// The pictures directly in a folder.
Answer ListFolder(Worker& worker, const Request& request) {
    constexpr std::size_t kMost = 1000;
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(request.Text("path"))) {
        const std::string path = entry.path().string();
        const Value file[] = {host::TextValue(path)};
        if (!entry.is_regular_file() || found.size() == kMost) continue;
        if (std::get<bool>(worker.host.CallShared("CIImageQOR", "IsPicture", file))) found.push_back(path);
    }
    std::ranges::sort(found);
    return {{{"paths", found}}};
}

// A rectangle of whole pixels.
struct Area {
    double left, bottom, right, top;

    double Width() const { return right - left; }
    double Height() const { return top - bottom; }
};

// Renders the visible part of the result.
//
// "view" has the width of the whole photo on the screen, at most its own, and the visible part x, y, w, h in pixels of
// that scale, from the photo's upper left corner downward. The answer has its scale, which is reduced for some
// previews, and the part that the pixels show, in pixels of it; it is empty where the result is.
Rendered RenderView(Worker& worker, const Request& request, int reduction) {
    Host& host = worker.host;
    const std::vector<Card> cards = request.Cards();
    const PictureSize size = worker.pictures.SizeOf(request.PhotoPath());
    const Json& view = request["view"];
    const auto inView = [&](const char* name) { return view.at(name).get<double>() / reduction; };
    const double width = std::max(1.0, std::round(std::min(inView("width"), size.width / reduction)));
    const double scale = width / size.width;
    const double height = std::max(1.0, std::round(size.height * scale));
    const bool isScaled = scale < 1 && (reduction > 1 || CanBeScaled(host, cards, scale));
    const double used = isScaled ? scale : 1;
    const Value image = request.Image(cards, used);
    // The frame: the photo's own, or the extent of the result where it has one.
    Area frame = {0, 0, width, height};
    const auto [x, y, extentWidth, extentHeight] = ExtentOf(host, image);
    constexpr double kBeyondAnyImage = 1e9;
    const bool isFinite = extentWidth < kBeyondAnyImage && extentHeight < kBeyondAnyImage;
    const Area whole = {std::floor(x), std::floor(y), std::ceil(x + extentWidth), std::ceil(y + extentHeight)};
    const bool isVisible = isFinite && whole.Width() >= 1 && whole.Height() >= 1;
    const bool fits = isVisible && whole.Width() <= view.at("w") && whole.Height() <= view.at("h");
    if (request.Is("isThumbnail") && fits) {
        // Smaller, it would hardly be seen: an average is one pixel.
        const Value all = Rectangle(host, whole.left, whole.bottom, whole.Width(), whole.Height());
        return {{}, {{"part", {0, 0, whole.Width(), whole.Height()}}}, Call(host, image, "Pixels", {all})};
    }
    const double toView = isScaled ? 1 : scale;
    if (!request.Is("keepSize") && isFinite) {
        frame = {std::floor(x * toView), std::floor(y * toView), std::ceil((x + extentWidth) * toView),
                 std::ceil((y + extentHeight) * toView)};
    }
    const double left = inView("x");
    const double top = inView("y");
    const Area part = {
        std::max(frame.left, std::floor(left)), std::max(frame.bottom, height - std::ceil(top + inView("h"))),
        std::min(frame.right, std::ceil(left + inView("w"))), std::min(frame.top, height - std::floor(top))};
    Rendered rendered;
    Json& answer = rendered.answer;
    answer["frame"] = {frame.left, height - frame.top, frame.Width(), frame.Height()};
    answer["isFullSize"] = !isScaled;
    answer["scale"] = scale;
    if (part.Width() < 1 || part.Height() < 1) {
        answer["part"] = {0, 0, 0, 0};
        return rendered;
    }
    constexpr double kMostPixels = 64e6;
    if (part.Width() * part.Height() > kMostPixels) throw HostError("view", "the visible part is too large");
    Value shown = image;
    Value rectangle = Rectangle(host, part.left, part.bottom, part.Width(), part.Height());
    if (!isScaled && scale < 1) {
        const double back = size.width / width;
        const Value full =
            Rectangle(host, part.left * back, part.bottom * back, part.Width() * back, part.Height() * back);
        // What lies outside the result is transparent, and part of what is resized.
        const Value clear[] = {0.0, 0.0, 0.0, 0.0};
        const Value color[] = {host.CallShared("CIColorQOR", "RGBA", clear)};
        const Value nothing = host.CallShared("CIImageQOR", "FromColor", color);
        shown = Call(host, Call(host, image, "Over", {nothing}), "Crop", {full});
        shown = Call(host, shown, "Resized",
                     {static_cast<std::int32_t>(part.Width()), static_cast<std::int32_t>(part.Height()),
                      host::TextValue("stretch")});
        rectangle = Rectangle(host, 0, 0, part.Width(), part.Height());
    }
    rendered.pixels = Call(host, shown, "Pixels", {rectangle});
    answer["part"] = {part.left, height - part.top, part.Width(), part.Height()};
    return rendered;
}

// The visible part of the result as straight pixels. If "isQuick", they may be a preview instead (preview.h): then
// "stripes" has the first row, the height and the length of each JPEG; "clear" has the rectangles that are transparent;
// and "translucent" has those of which the alpha follows the JPEGs.
Answer Render(Worker& worker, const Request& request) {
    using Milliseconds = std::chrono::duration<double, std::milli>;
    const auto start = std::chrono::steady_clock::now();
    const bool isQuick = request.Is("isQuick");
    Json wanted = request.All();
    wanted.erase("isQuick");
    // The settings matter little for the time.
    std::string chain = request["view"].at("width").dump();
    for (const Card& card : request.Cards()) chain += ' ' + card.filter;
    const int reduction = isQuick ? worker.pace.Reduction(chain) : 1;
    if (isQuick || worker.last.request != wanted) {
        worker.last = {};
        worker.last = RenderView(worker, request, reduction);
        worker.last.milliseconds = Milliseconds(std::chrono::steady_clock::now() - start).count();
        if (isQuick) worker.pace.NotePreview(chain, worker.last.milliseconds);
        // Only a picture of the full scale can be asked for again.
        if (reduction == 1) worker.last.request = std::move(wanted);
    }
    // The photo itself is asked for beside a chain.
    if (!isQuick && !request["cards"].empty()) worker.pace.NoteResult(chain, worker.last.milliseconds);
    Answer answer = {worker.last.answer};
    if (std::holds_alternative<ObjectReference>(worker.last.pixels)) {
        const Json& part = worker.last.answer["part"];
        const ScreenPixels pixels = {BytesOf(worker.last.pixels), part[2], part[3]};
        const std::vector<Stripe> stripes = isQuick ? EncodePreview(pixels) : std::vector<Stripe>();
        if (stripes.empty()) {
            answer.bytes.assign(reinterpret_cast<const char*>(pixels.bytes), 4 * pixels.width * pixels.height);
        }
        for (const Stripe& stripe : stripes) {
            answer.bytes += stripe.jpeg;
            answer.json["stripes"].push_back({stripe.y, stripe.height, stripe.jpeg.size()});
        }
        for (const Stripe& stripe : stripes) {
            for (const Part& each : stripe.parts) {
                answer.json[each.isClear ? "clear" : "translucent"].push_back(
                    {each.x, each.y, each.width, each.height});
                if (!each.isClear) answer.bytes += AlphaOf(pixels, each);
            }
        }
    }
    answer.json["milliseconds"] = Milliseconds(std::chrono::steady_clock::now() - start).count();
    return answer;
}

// The options of a file (docs/companion.md, SaveLike) as the page may set them.
//
// Why not any text: some options can name a file, which the page must not.
std::string FileOptions(const Json& options) {
    static const std::map<std::string, std::vector<std::string>> kKnown = {
        {"quality", {}},  // a number
        {"compression", {"fast", "balanced", "small"}},
        {"depth", {"8", "16", "32"}},
        {"subsampling", {"444", "422", "420"}},
        {"strip", {"all", "gps"}},
        {"color-space", {"input", "sRGB", "Display P3"}},
        {"lossless", {""}},
        {"progressive", {""}},
    };
    std::string text;
    for (const auto& [name, value] : options.items()) {
        const std::string wanted = value.get<std::string>();
        const auto known = kKnown.find(name);
        if (known == kKnown.end()) throw HostError(name, "no such option");
        const bool isNumber = !wanted.empty() && wanted.find_first_not_of("0123456789.") == std::string::npos;
        const bool isKnown = known->second.empty() ? isNumber : std::ranges::count(known->second, wanted) > 0;
        if (!isKnown) throw HostError(name, "'" + wanted + "' is not a value of this option");
        text += name + (wanted.empty() ? "" : "=") + wanted + ";";
    }
    return text;
}

// What the chain of a request is about.
ChainContext ContextOf(Worker& worker, const Request& request) {
    const PictureSize size = worker.pictures.SizeOf(request.PhotoPath());
    return {.photo = request.PhotoPath(),
            .width = size.width,
            .height = size.height,
            .keepsSize = request.Is("keepSize"),
            .folder = request.Text("folder"),
            .path = [&request](const std::string& number) { return request.Path(number); }};
}

// Writes the result at full size to "path": what an apply command with the copied recipe does.
Answer Save(Worker& worker, const Request& request) {
    Host& host = worker.host;
    const ChainContext context = ContextOf(worker, request);
    const ChainRecipe chain = RecipeOfChain(host, request.Cards(), context);
    const PreparedRecipe prepared = PrepareRecipe(host, chain.recipe, chain.hasInput);
    const Value photo = chain.hasInput ? worker.pictures.Open(context.photo) : Value();
    Value image = RunRecipe(host, prepared, photo);
    if (context.keepsSize) {
        image = Call(host, image, "Crop", {Rectangle(host, 0, 0, context.width, context.height)});
    }
    Call(host, image, "SaveLike",
         {host::TextValue(request.Text("path")), photo, host::TextValue(FileOptions(request["options"]))});
    const auto extent = ExtentOf(host, image);
    return {{{"width", extent[2]}, {"height", extent[3]}}};
}

Answer Copy(Worker& worker, const Request& request) {
    const ChainTexts texts = TextsOfChain(worker.host, request.Cards(), ContextOf(worker, request));
    Answer answer = {{{"command", texts.command}, {"lua", texts.lua}, {"recipe", texts.recipe}, {"link", texts.link}}};
    if (!texts.folderCommand.empty()) answer.json["folder"] = texts.folderCommand;
    return answer;
}

Answer Paste(Worker& worker, const Request& request) {
    std::array<double, 2> frame = {};
    if (!request.Text("photo").empty()) {
        const PictureSize size = worker.pictures.SizeOf(request.PhotoPath());
        frame = {size.width, size.height};
    }
    const ReadChain chain = ReadChainText(worker.host, request.Text("text"), request.Text("shared"), frame);
    Answer answer = {{{"cards", Json::array()}, {"keepSize", chain.keepsSize}, {"notes", chain.notes}}};
    if (!chain.photo.empty()) answer.json["photoPath"] = chain.photo;
    for (const Card& card : chain.cards) {
        Json settings = Json::object();
        for (const auto& [key, text] : card.settings) settings[key] = text;
        answer.json["cards"].push_back({{"name", card.name}, {"filter", card.filter}, {"settings", settings}});
    }
    return answer;
}

constexpr struct {
    const char* name;
    Answer (*run)(Worker& worker, const Request& request);
} kCalls[] = {
    {"catalogue", Catalogue}, {"copy", Copy},     {"inspect", Inspect}, {"list", ListFolder},
    {"paste", Paste},         {"render", Render}, {"save", Save},
};

Answer Answered(Worker& worker, const std::string& text) {
    try {
        const Json json = Json::parse(text);
        const std::string name = json.at("call");
        const auto call = std::ranges::find_if(kCalls, [&](const auto& each) { return each.name == name; });
        if (call == std::end(kCalls)) throw HostError("call", "'" + name + "' is unknown");
        return call->run(worker, Request(worker, json));
    } catch (const CardError& error) {
        return {{{"error", error.what()}, {"card", error.CardName()}}};
    } catch (const host::HostException& error) {
        return {{{"error", error.Message()}}};
    } catch (const std::exception& error) {
        return {{{"error", error.what()}}};
    }
}

}  // namespace

void RunWorker(Host& host, worker::Channel& channel) {
    Worker worker = {host, PictureCache(host)};
    while (const std::optional<std::string> request = channel.Receive()) {
        Answer answer = Answered(worker, *request);
        const std::string json = answer.json.dump(-1, ' ', false, Json::error_handler_t::replace);
        if (!Send(channel, {json, std::move(answer.bytes)})) return;
    }
}

}  // namespace studio
