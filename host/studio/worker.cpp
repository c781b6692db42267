// worker.cpp - the calls of the worker.
//
// Adding a call: its function, its row in kCalls.

#include "host/studio/worker.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
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
#include "host/studio/texts.h"

namespace studio {
namespace {

using Json = nlohmann::ordered_json;
using host::Host;
using host::HostError;
using host::ObjectReference;
using host::Value;

struct Worker {
    Host& host;
    PictureCache pictures;
};

struct Answer {
    Json json = Json::object();
    std::string bytes = {};
};

// What is asked for: the photo, the cards, and the files by their numbers.
class Request {
  public:
    Request(Worker& worker, const Json& json) : worker_(worker), json_(json) {}

    std::string Text(const char* name) const { return json_.value(name, std::string()); }
    const Json& operator[](const char* name) const { return json_.at(name); }
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
std::string BytesOf(const Value& block) {
    const auto* held = reinterpret_cast<const ZEVAmemoryBlockStruct*>(std::get<ObjectReference>(block).Get());
    return {reinterpret_cast<const char*>(held->bytes), static_cast<std::size_t>(held->size)};
}

// Divides the colors of translucent pixels by their alpha, which is how a page's canvas takes them.
void MakeStraight(std::string& pixels) {
    for (std::size_t i = 0; i < pixels.size(); i += 4) {
        const unsigned alpha = static_cast<unsigned char>(pixels[i + 3]);
        if (alpha == 255 || alpha == 0) continue;
        for (std::size_t c = i; c < i + 3; ++c) {
            const unsigned component = (static_cast<unsigned char>(pixels[c]) * 255 + alpha / 2) / alpha;
            pixels[c] = static_cast<char>(std::min(component, 255U));
        }
    }
}

// ---- The calls

Answer Catalogue(Worker& worker, const Request&) {
    host::Json filters = host::Json::MakeArray();
    for (const std::string& name : FilterNames(worker.host)) {
        filters.push_back(ToJson(DescribeClass(worker.host, ClassNamed(worker.host, name))));
    }
    // Steps of recipes that are methods of an image: a pasted chain may have them.
    host::Json methods = host::Json::MakeArray();
    for (const std::string& name : StepMethodNames(worker.host)) {
        host::Json keys = host::Json::MakeArray();
        for (const StepKey& key : KeysOf(StepNamed(worker.host, name))) {
            const bool isRequired = key.name != "inputImage";
            keys.push_back({{"name", key.name}, {"type", key.type.word}, {"isRequired", isRequired}});
        }
        methods.push_back({{"filter", name}, {"displayName", name}, {"category", "Image"}, {"properties", keys}});
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

// The visible part of the result as pixels.
//
// "view" has the width of the whole photo on the screen, at most its own, and the visible part x, y, w, h in pixels of
// that scale, from the photo's upper left corner downward. The answer has the part that the pixels show, in the same
// coordinates; it is empty where the result is.
Answer Render(Worker& worker, const Request& request) {
    const auto start = std::chrono::steady_clock::now();
    Host& host = worker.host;
    const std::vector<Card> cards = request.Cards();
    const PictureSize size = worker.pictures.SizeOf(request.PhotoPath());
    const Json& view = request["view"];
    const double width = std::clamp(view.at("width").get<double>(), 1.0, size.width);
    const double scale = width / size.width;
    const double height = std::max(1.0, std::round(size.height * scale));
    const bool isScaled = scale < 1 && CanBeScaled(host, cards, scale);
    const double used = isScaled ? scale : 1;
    const Value image = request.Image(cards, used);
    // The frame: the photo's own, or the extent of the result where it has one.
    Area frame = {0, 0, width, height};
    const auto [x, y, extentWidth, extentHeight] = ExtentOf(host, image);
    constexpr double kBeyondAnyImage = 1e9;
    const bool isFinite = extentWidth < kBeyondAnyImage && extentHeight < kBeyondAnyImage;
    const double toView = isScaled ? 1 : scale;
    if (!request.Is("keepSize") && isFinite) {
        frame = {std::floor(x * toView), std::floor(y * toView), std::ceil((x + extentWidth) * toView),
                 std::ceil((y + extentHeight) * toView)};
    }
    const double left = view.at("x");
    const double top = view.at("y");
    const Area part = {std::max(frame.left, std::floor(left)),
                       std::max(frame.bottom, height - std::ceil(top + view.at("h").get<double>())),
                       std::min(frame.right, std::ceil(left + view.at("w").get<double>())),
                       std::min(frame.top, height - std::floor(top))};
    Answer answer;
    answer.json["frame"] = {frame.left, height - frame.top, frame.Width(), frame.Height()};
    answer.json["isFullSize"] = !isScaled;
    if (part.Width() < 1 || part.Height() < 1) {
        answer.json["part"] = {0, 0, 0, 0};
        return answer;
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
    answer.bytes = BytesOf(Call(host, shown, "ScreenPixels", {rectangle}));
    MakeStraight(answer.bytes);
    answer.json["part"] = {part.left, height - part.top, part.Width(), part.Height()};
    const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - start;
    answer.json["milliseconds"] = elapsed.count();
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
    return {{{"command", texts.command}, {"lua", texts.lua}, {"recipe", texts.recipe}, {"link", texts.link}}};
}

Answer Paste(Worker& worker, const Request& request) {
    const ReadChain chain = ReadChainText(worker.host, request.Text("text"), request.Text("shared"));
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

void RunWorker(Host& host, int socket) {
    Worker worker = {host, PictureCache(host)};
    Message message;
    while (Receive(socket, message)) {
        Answer answer = Answered(worker, message.json);
        message = {answer.json.dump(-1, ' ', false, Json::error_handler_t::replace), std::move(answer.bytes)};
        if (!Send(socket, message)) return;
    }
}

}  // namespace studio
