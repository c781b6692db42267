// calls.cpp - passes calls on to the workers. Paths never come from the page: it names files by their numbers.

#include "host/studio/calls.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <set>
#include <string_view>
#include <system_error>

#include "host/runtime/part_file.h"
#include "host/studio/gate.h"

namespace studio {
namespace {

namespace fs = std::filesystem;

void Answer(const Deliver& deliver, const Json& json) { deliver({TextOf(json)}); }

// A name that every form of a recipe can hold without quotes.
std::string PlainName(std::string name) {
    for (char& character : name) {
        const bool isPlain = std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '.';
        if (!isPlain) character = '_';
    }
    return name;
}

// Returns a function that changes an answer of a worker, unless it is an error, and delivers it.
template <typename Change>
Deliver Changed(const Deliver& deliver, Change change) {
    return [deliver, change](const Message& answer) {
        Json json = Json::parse(answer.json);
        if (!json.contains("error")) json = change(std::move(json));
        Answer(deliver, json);
    };
}

}  // namespace

Calls::Calls(const StudioOptions& options)
    : options_(options),
      files_(options.folder),
      presets_(options.sharedRecipes, options.ownRecipes),
      live_(options.workerSetup),
      background_(options.workerSetup) {}

// ---- The calls

const Calls::Row Calls::kCalls[] = {
    {"before", &Calls::RenderBefore},
    {"copy", &Calls::Copy},
    {"files", &Calls::ListFiles},
    {"paste", &Calls::Paste},
    {"preset", &Calls::UsePreset},
    {"preset-delete", &Calls::DeletePreset},
    {"preset-keep", &Calls::KeepPreset},
    {"presets", &Calls::ListPresets},
    {"render", &Calls::Render},
    {"save", &Calls::Save},
    {"thumbnail", &Calls::RenderThumbnail},
};

bool Calls::Take(const std::shared_ptr<Socket>& socket, const std::string& text) {
    const Json json = Json::parse(text, nullptr, /*allow_exceptions=*/false);
    if (!json.is_object() || !json.contains("id") || !json["id"].is_number_integer()) return false;
    const Call call = {json, socket->Number(),
                       [socket, id = json["id"]](const Message& answer) { socket->Send(id, answer); }};
    try {
        const std::string name = json.value("call", "");
        const auto row = std::ranges::find_if(kCalls, [&](const Row& each) { return each.name == name; });
        if (row == std::end(kCalls)) {
            Answer(call.deliver, {{"error", "the call '" + name + "' is unknown"}});
        } else if (!(this->*row->run)(call)) {
            Answer(call.deliver, {{"error", "too many requests wait"}});
        }
    } catch (const Json::exception&) {
        Answer(call.deliver, {{"error", "a member of the call has another type than expected"}});
    }
    return true;
}

bool Calls::ListFiles(const Call& call) {
    Answer(call.deliver, {{"files", Files()}, {"folder", files_.Folder().filename().string()}});
    return true;
}

bool Calls::Render(const Call& call) {
    live_.SetNewest(call.sender, RenderRequest(call.json), call.deliver);
    return true;
}

bool Calls::RenderBefore(const Call& call) { return live_.Add(RenderRequest(call.json), call.deliver); }

bool Calls::RenderThumbnail(const Call& call) {
    return background_.Add(RenderRequest(call.json, {{"isThumbnail", true}}), call.deliver);
}

bool Calls::Copy(const Call& call) {
    return live_.Add(CopyRequest(call.json),
                     Changed(call.deliver, [this](Json texts) { return Completed(std::move(texts)); }));
}

bool Calls::Paste(const Call& call) { return PasteText(call, call.json.value("text", "")); }

bool Calls::ListPresets(const Call& call) {
    Answer(call.deliver, {{"presets", presets_.List()}});
    return true;
}

bool Calls::UsePreset(const Call& call) {
    return PasteText(call, presets_.Read(call.json.value("name", ""), call.json.value("isOwn", false)));
}

bool Calls::KeepPreset(const Call& call) {
    return live_.Add(CopyRequest(call.json),
                     Changed(call.deliver, [this, name = call.json.value("name", "")](const Json& texts) -> Json {
                         const std::string problem = presets_.Keep(name, texts.at("recipe"));
                         if (!problem.empty()) return {{"error", problem}};
                         return {{"presets", presets_.List()}};
                     }));
}

bool Calls::DeletePreset(const Call& call) {
    presets_.Delete(call.json.value("name", ""));
    return ListPresets(call);
}

// Saves to the folder of the command line, or for a download.
bool Calls::Save(const Call& call) {
    const std::string format = call.json.value("format", "png");
    static const std::set<std::string> kFormats = {"png", "jpg", "webp", "tiff", "heic", "avif"};
    if (!kFormats.contains(format)) {
        Answer(call.deliver, {{"error", "no such format"}});
        return true;
    }
    const std::string name = SafeName(call.json.value("name", "picture"));
    const bool toFolder = call.json.value("toFolder", false) && !files_.Folder().empty();
    const fs::path path = toFolder ? files_.NewResult(name, format) : files_.NewPath("." + format);
    const std::string shown = toFolder ? path.filename().string() : fs::path(name).stem().string() + "." + format;
    const auto finish = [=, this](Json json) {
        json["name"] = shown;
        if (toFolder) return json;
        const std::string secret = RandomName();
        const std::scoped_lock lock(mutex_);
        results_[secret] = {path, shown};
        json["download"] = "/download/" + secret;
        return json;
    };
    // Reports how much is written; a file has another name until it is complete (platform/ImageIO/files.h).
    const fs::path part = host::PartFileOf(path.string());
    const auto report = [part, deliver = call.deliver] {
        std::error_code error;
        const auto size = fs::file_size(part, error);
        Answer(deliver, {{"written", error ? 0 : size}});
    };
    return background_.Add(
        Forwarded(call.json, "save", {"photo", "cards", "keepSize", "options"}, {{"path", path.string()}}),
        Changed(call.deliver, finish), report);
}

// ---- Requests of the workers

// A request with the members of a call that it may have, and the paths of the open files.
std::string Calls::Forwarded(const Json& call, const char* name, std::initializer_list<const char*> members,
                             const Json& more) const {
    Json request = more;
    request["call"] = name;
    for (const char* member : members) {
        if (call.contains(member)) request[member] = call[member];
    }
    for (const auto& [number, file] : files_.All()) request["files"][std::to_string(number)] = file.path.string();
    return TextOf(request);
}

std::string Calls::RenderRequest(const Json& call, const Json& more) const {
    return Forwarded(call, "render", {"photo", "cards", "keepSize", "view", "isQuick"}, more);
}

std::string Calls::CopyRequest(const Json& call) const {
    return Forwarded(call, "copy", {"photo", "cards", "keepSize"}, {{"folder", FolderOf(call.value("photo", ""))}});
}

// The folder that a chain is applied to: that of the command line, or that of the photo.
std::string Calls::FolderOf(const std::string& photo) const {
    if (!files_.Folder().empty()) return files_.Folder().string();
    for (const auto& [number, file] : files_.All()) {
        if (std::to_string(number) == photo && !file.isDropped) return file.path.parent_path().string();
    }
    return "photos";
}

// Reads a text, and numbers the files that it names.
bool Calls::PasteText(const Call& call, const std::string& text) {
    // Runs on the thread of the background worker; files are opened by the other one.
    return background_.Add(
        Forwarded(call.json, "paste", {"photo"}, {{"text", text}, {"shared", options_.sharedRecipes}}),
        Changed(call.deliver, [this](Json read) { return WithNumbers(std::move(read)); }));
}

// The texts of a chain. Files that were dropped have lost their place; their names stand for it.
Json Calls::Completed(Json texts) const {
    std::set<std::string> dropped;
    for (const char* form : {"command", "folder", "lua", "recipe"}) {
        if (!texts.contains(form)) continue;
        std::string text = texts[form];
        for (const auto& [number, file] : files_.All()) {
            const std::string path = file.path.string();
            std::size_t at = file.isDropped ? text.find(path) : std::string::npos;
            for (; at != std::string::npos; at = text.find(path, at)) {
                text.replace(at, path.size(), PlainName(file.name));
                dropped.insert(file.name);
            }
        }
        texts[form] = text;
    }
    for (const std::string& name : dropped) {
        texts["notes"].push_back(name + " was dropped on the page; the texts name it without its folder");
    }
    return texts;
}

// Replaces the paths in a chain that was read by the numbers of open files.
Json Calls::WithNumbers(Json read) {
    std::string problem;
    constexpr std::string_view kFile = "file:";
    for (Json& card : read["cards"]) {
        for (auto& [key, value] : card["settings"].items()) {
            const std::string text = value;
            if (!text.starts_with(kFile)) continue;
            const int number = NumberOf(text.substr(kFile.size()), problem);
            if (number != 0) value = "#" + std::to_string(number);
        }
    }
    if (!problem.empty()) return {{"error", problem}};
    if (read.contains("photoPath")) {
        const int number = NumberOf(read["photoPath"], problem);
        if (number != 0) read["photo"] = number;
        if (number == 0) read["notes"].push_back("the photo stays: " + problem);
        read.erase("photoPath");
    }
    read["files"] = Files();
    return read;
}

// Returns the number of a file that a text names; 0, and what is wrong, for one that may not be read.
int Calls::NumberOf(const std::string& path, std::string& problem) {
    if (const int number = files_.Find(path); number != 0) return number;
    for (const auto& [number, file] : files_.All()) {
        if (file.isDropped && PlainName(file.name) == path) return number;
    }
    const bool isOfProgram = IsBelow(options_.sharedRecipes, path);
    if (!isOfProgram && !files_.IsBelowFolder(path)) {
        problem = path + ": not open, and not below the folder that --folder names";
        return 0;
    }
    const auto [number, reason] = OpenPath(path, fs::path(path).filename().string(), /*isDropped=*/false);
    if (number == 0) problem = reason;
    return number;
}

// ---- Files

void Calls::OpenPhotos() {
    for (const std::string& path : options_.photos) {
        const std::string problem = OpenPath(path, fs::path(path).filename().string(), /*isDropped=*/false).second;
        if (!problem.empty()) throw PhotoFailure(problem);
    }
    if (options_.folder.empty()) return;
    const Json answer = Json::parse(live_.Ask(TextOf({{"call", "list"}, {"path", files_.Folder().string()}})).json);
    for (const std::string path : answer.value("paths", Json::array())) {
        // A symbolic link may lead out of the folder.
        if (files_.IsBelowFolder(path)) OpenPath(path, fs::path(path).filename().string(), /*isDropped=*/false);
    }
}

Json Calls::Files() const {
    Json list = Json::array();
    for (const auto& [number, file] : files_.All()) {
        list.push_back({{"number", number},
                        {"name", file.name},
                        {"kind", file.kind},
                        {"width", file.width},
                        {"height", file.height}});
    }
    return list;
}

// Returns the number of a file, or 0 and what is wrong.
std::pair<int, std::string> Calls::OpenPath(const fs::path& path, const std::string& name, bool isDropped) {
    const Json answer = Json::parse(live_.Ask(TextOf({{"call", "inspect"}, {"path", path.string()}})).json);
    if (answer.contains("error")) return {0, answer["error"].get<std::string>()};
    const int number = files_.Add({.name = name,
                                   .path = path,
                                   .kind = answer["kind"],
                                   .width = answer.value("width", 0.0),
                                   .height = answer.value("height", 0.0),
                                   .isDropped = isDropped});
    return {number, number == 0 ? "too many files are open" : ""};
}

fs::path Calls::PathForDrop(const std::string& name) const {
    return files_.NewPath(fs::path(name).extension() == ".cube" ? ".cube" : ".picture");
}

Json Calls::OpenDropped(const fs::path& path, const std::string& name) {
    const auto [number, problem] = OpenPath(path, name, /*isDropped=*/true);
    if (number != 0) return {{"number", number}, {"files", Files()}};
    std::error_code error;
    fs::remove(path, error);
    return {{"error", problem}};
}

std::pair<fs::path, std::string> Calls::TakeResult(const std::string& secret) {
    const std::scoped_lock lock(mutex_);
    const auto found = results_.extract(secret);
    return found.empty() ? std::pair<fs::path, std::string>() : found.mapped();
}

const std::string& Calls::Catalogue() {
    const std::scoped_lock lock(catalogueMutex_);
    if (catalogue_.empty()) catalogue_ = live_.Ask(R"({"call": "catalogue"})").bytes;
    return catalogue_;
}

}  // namespace studio
