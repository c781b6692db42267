// server.cpp - the requests of the page.
//
//   GET  /?token=...      exchanges the token of a link for the cookie
//   GET  /                the page, which contains its secret
//   GET  /studio.css ...  the files of the page, and /catalogue.json
//   POST /drop?name=...   a file that was dropped on the page
//   GET  /download/NAME   a result, once
//   GET  /live            the web socket
//
// On the web socket, a text message is a call with an "id", which its answer repeats. An answer with pixels is a binary
// message: the length of its JSON in 4 bytes, the JSON, the pixels.

#include "host/studio/server.h"

#include <civetweb.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <spawn.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <utility>

#include "host/studio/dispatcher.h"
#include "host/studio/gate.h"
#include "host/studio/open_files.h"
#include "host/studio/pages.h"
#include "host/studio/presets.h"

extern char** environ;

namespace studio {
namespace {

using Json = nlohmann::ordered_json;
namespace fs = std::filesystem;

constexpr long long kMostDroppedBytes = 256LL << 20;
constexpr std::size_t kMostMessageBytes = 4 << 20;
constexpr int kMostSockets = 8;
constexpr std::chrono::minutes kLongestDrop{5};

// Every answer has these. The page loads nothing from elsewhere, runs no script of a text, and stays out of frames.
constexpr const char* kHeaders =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
    "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Cross-Origin-Opener-Policy: same-origin\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Cache-Control: no-store\r\n";

// Text for a header: quotes and what is not printable ASCII become underscores.
std::string HeaderText(std::string text) {
    for (char& character : text) {
        if (character < ' ' || character > '~' || character == '"' || character == '\\') character = '_';
    }
    return text;
}

int Reply(mg_connection* connection, int status, const char* type, std::string_view body,
          const std::string& headers = {}) {
    mg_printf(connection, "HTTP/1.1 %d %s\r\nContent-Type: %s\r\nContent-Length: %llu\r\n%s%s\r\n", status,
              mg_get_response_code_text(connection, status), type, static_cast<unsigned long long>(body.size()),
              kHeaders, headers.c_str());
    const bool hasBody = std::strcmp(mg_get_request_info(connection)->request_method, "HEAD") != 0;
    if (hasBody && !body.empty()) mg_write(connection, body.data(), body.size());
    return status;
}

// Ends a connection on which more may come than anybody wants to read. The web server would read it all before it
// closes, and tells no one the socket; so the socket is found by its other end.
void HangUp(const mg_connection* connection) {
    const int port = mg_get_request_info(connection)->remote_port;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd", error)) {
        sockaddr_storage peer = {};
        socklen_t size = sizeof peer;
        const int socket = std::atoi(entry.path().filename().c_str());
        if (getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) != 0) continue;
        // The port stands at the same place in the addresses of both versions.
        const bool isInternet = peer.ss_family == AF_INET || peer.ss_family == AF_INET6;
        if (isInternet && ntohs(reinterpret_cast<const sockaddr_in*>(&peer)->sin_port) == port) {
            // The web server goes on with a socket from which nothing comes.
            const int nobody = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            dup3(nobody, socket, O_CLOEXEC);
            close(nobody);
        }
    }
}

int Refuse(mg_connection* connection, int status, const char* reason) {
    Reply(connection, status, "text/plain; charset=utf-8", std::string(reason) + "\n", "Connection: close\r\n");
    const bool hasBody = mg_get_header(connection, "Content-Length") != nullptr ||
                         mg_get_header(connection, "Transfer-Encoding") != nullptr;
    if (hasBody) HangUp(connection);
    return status;
}

int Answer(mg_connection* connection, const Json& json) {
    return Reply(connection, 200, "application/json", json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

// The value of a name in the query; empty when it is missing.
std::string Query(const mg_connection* connection, const char* name) {
    const char* query = mg_get_request_info(connection)->query_string;
    char value[1024];
    if (query == nullptr) return "";
    const int length = mg_get_var(query, std::strlen(query), name, value, sizeof value);
    return length > 0 ? std::string(value, static_cast<std::size_t>(length)) : "";
}

// A name that every form of a recipe can hold without quotes.
std::string PlainName(std::string name) {
    for (char& character : name) {
        const bool isPlain = std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '.';
        if (!isPlain) character = '_';
    }
    return name;
}

// A page that is connected by its web socket.
struct Page {
    int number = 0;
    std::mutex mutex;                     // guards the connection, and keeps messages apart
    mg_connection* connection = nullptr;  // null when it is closed
    std::string text;                     // the parts of a message so far; used by the connection's thread
    int opcode = 0;
};

// Puts the id of a call in front of an answer's members.
std::string WithId(const Json& id, const std::string& answer) {
    const bool isEmpty = answer == "{}";
    return "{\"id\":" + id.dump() + (isEmpty ? "" : ",") + answer.substr(1);
}

void SendTo(Page& page, const Json& id, const Message& answer) {
    const std::string json = WithId(id, answer.json);
    const std::scoped_lock lock(page.mutex);
    if (page.connection == nullptr) return;
    if (answer.bytes.empty()) {
        mg_websocket_write(page.connection, MG_WEBSOCKET_OPCODE_TEXT, json.data(), json.size());
        return;
    }
    std::string message;
    message.reserve(4 + json.size() + answer.bytes.size());
    for (int shift = 0; shift < 32; shift += 8) message += static_cast<char>(json.size() >> shift & 0xff);
    message += json;
    message += answer.bytes;
    mg_websocket_write(page.connection, MG_WEBSOCKET_OPCODE_BINARY, message.data(), message.size());
}

// A photo of the command line cannot be opened.
class PhotoFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class Server {
  public:
    explicit Server(const StudioOptions& options)
        : options_(options),
          files_(options.folder),
          presets_(options.sharedRecipes, options.ownRecipes),
          live_(options.workerCommand),
          background_(options.workerCommand) {}

    ~Server() {
        for (mg_context* context : contexts_) mg_stop(context);
        if (isLibraryReady_) mg_exit_library();
    }

    // Starts to listen. Throws std::runtime_error.
    void Listen() {
        mg_init_library(MG_FEATURES_DEFAULT);
        isLibraryReady_ = true;
        mg_context* context = StartAt("127.0.0.1:" + std::to_string(options_.port));
        if (context == nullptr) {
            throw std::runtime_error("--port " + std::to_string(options_.port) + ": the port is not free");
        }
        contexts_.push_back(context);
        mg_server_port ports[4] = {};
        if (mg_get_server_ports(context, 4, ports) < 1) throw std::runtime_error("the port is unknown");
        port_ = ports[0].port;
        gate_.SetPort(port_);
        // The name localhost may lead here first.
        if (mg_context* second = StartAt("[::1]:" + std::to_string(port_))) contexts_.push_back(second);
        isReady_ = true;
    }

    // Opens the photos and the folder. Throws PhotoFailure for a photo that cannot be opened.
    void OpenPhotos() {
        for (const std::string& path : options_.photos) {
            const std::string problem = OpenPath(path, fs::path(path).filename().string(), /*isDropped=*/false).second;
            if (!problem.empty()) throw PhotoFailure(problem);
        }
        if (!options_.folder.empty()) {
            const Json answer = Json::parse(Ask(live_, {{"call", "list"}, {"path", files_.Folder().string()}}));
            if (answer.contains("paths")) {
                for (const Json& path : answer["paths"]) {
                    // A symbolic link may lead out of the folder.
                    const std::string file = path;
                    if (files_.IsBelowFolder(file)) OpenPath(file, fs::path(file).filename().string(), false);
                }
            }
        }
    }

    std::string NewLink() {
        return "http://127.0.0.1:" + std::to_string(port_) + "/?token=" + gate_.NewToken(Gate::Clock::now());
    }

  private:
    // ---- Connections

    mg_context* StartAt(const std::string& address) {
        const char* const settings[] = {"listening_ports",
                                        address.c_str(),  //
                                        "num_threads",
                                        "40",  //
                                        "connection_queue",
                                        "64",  //
                                        "listen_backlog",
                                        "128",  //
                                        "request_timeout_ms",
                                        "4000",  //
                                        "enable_keep_alive",
                                        "yes",  //
                                        "keep_alive_timeout_ms",
                                        "1500",  //
                                        "enable_websocket_ping_pong",
                                        "yes",  //
                                        "websocket_timeout_ms",
                                        "20000",  //
                                        "tcp_nodelay",
                                        "1",  //
                                        "max_request_size",
                                        "16384",  //
                                        "enable_directory_listing",
                                        "no",
                                        nullptr};
        mg_callbacks callbacks = {};
        callbacks.begin_request = [](mg_connection* connection) { return Self(connection)->Handle(connection); };
        // Nothing is written anywhere: a request may contain a token.
        callbacks.log_message = [](const mg_connection*, const char*) { return 1; };
        callbacks.log_access = [](const mg_connection*, const char*) { return 1; };
        mg_context* context = mg_start(&callbacks, this, const_cast<const char**>(settings));
        if (context == nullptr) return nullptr;
        mg_set_websocket_handler(
            context, "/live",
            // Handle has admitted it.
            [](const mg_connection*, void*) { return 0; },
            [](mg_connection* connection, void* self) { static_cast<Server*>(self)->Opened(connection); },
            [](mg_connection* connection, int bits, char* data, std::size_t size, void* self) {
                return static_cast<Server*>(self)->Received(connection, bits, {data, size}) ? 1 : 0;
            },
            [](const mg_connection* connection, void* self) { static_cast<Server*>(self)->Closed(connection); }, this);
        return context;
    }

    static Server* Self(const mg_connection* connection) {
        return static_cast<Server*>(mg_get_user_context_data(connection));
    }

    void Opened(mg_connection* connection) {
        const auto page = std::make_shared<Page>();
        page->connection = connection;
        const std::scoped_lock lock(mutex_);
        page->number = nextPage_++;
        pages_[connection] = page;
    }

    std::shared_ptr<Page> PageOf(const mg_connection* connection) {
        const std::scoped_lock lock(mutex_);
        const auto found = pages_.find(connection);
        return found != pages_.end() ? found->second : nullptr;
    }

    void Closed(const mg_connection* connection) {
        const std::shared_ptr<Page> page = PageOf(connection);
        if (page == nullptr) return;
        {
            const std::scoped_lock lock(page->mutex);
            page->connection = nullptr;
        }
        live_.Forget(page->number);
        const std::scoped_lock lock(mutex_);
        pages_.erase(connection);
    }

    // Returns whether the connection goes on.
    bool Received(mg_connection* connection, int bits, std::string_view data) {
        const std::shared_ptr<Page> page = PageOf(connection);
        if (page == nullptr) return false;
        constexpr int kIsLast = 0x80;
        constexpr int kOpcode = 0x0f;
        constexpr int kReserved = 0x70;
        if ((bits & kReserved) != 0) return false;
        switch (bits & kOpcode) {
            case MG_WEBSOCKET_OPCODE_PING:
            case MG_WEBSOCKET_OPCODE_PONG:
                return true;
            case MG_WEBSOCKET_OPCODE_CONTINUATION:
                if (page->opcode == 0) return false;
                break;
            case MG_WEBSOCKET_OPCODE_TEXT:
                if (page->opcode != 0) return false;
                page->opcode = MG_WEBSOCKET_OPCODE_TEXT;
                page->text.clear();
                break;
            default:
                return false;
        }
        if (page->text.size() + data.size() > kMostMessageBytes) return false;
        page->text += data;
        if ((bits & kIsLast) == 0) return true;
        page->opcode = 0;
        return Called(page, page->text);
    }

    // ---- Requests

    int Handle(mg_connection* connection) {
        const mg_request_info& request = *mg_get_request_info(connection);
        const auto header = [&](const char* name) { return mg_get_header(connection, name); };
        if (!isReady_) return Refuse(connection, 503, "the studio is starting");
        if (!gate_.AdmitsHost(header("Host"))) return Refuse(connection, 403, "this is not a name of the studio");
        const std::string_view method = request.request_method;
        const std::string path = request.local_uri;
        const char* origin = header("Origin");
        if (origin != nullptr && !gate_.AdmitsOrigin(origin)) {
            return Refuse(connection, 403, "another site may not use the studio");
        }
        const std::string token = Query(connection, "token");
        if (path == "/" && method == "GET" && !token.empty()) return Enter(connection, token);
        if (!gate_.AdmitsCookie(header("Cookie"))) {
            return Refuse(connection, 403,
                          "The studio opens with the link that zeva studio prints. A link works once and for a minute: "
                          "press Enter in the terminal for a new one.");
        }
        if (path == "/live") return EnterLive(connection, origin);
        if (method == "POST") {
            if (origin == nullptr || !gate_.AdmitsSecret(header("X-Zeva-Secret"))) {
                return Refuse(connection, 403, "the request does not come from the studio's page");
            }
            return path == "/drop" ? Drop(connection) : Refuse(connection, 404, "there is no such page");
        }
        if (method != "GET" && method != "HEAD") return Refuse(connection, 405, "GET and POST only");
        if (path == "/catalogue.json") {
            return Reply(connection, 200, "application/json", Catalogue());
        }
        constexpr std::string_view kDownload = "/download/";
        if (path.starts_with(kDownload)) return Download(connection, path.substr(kDownload.size()));
        return File(connection, path);
    }

    int Enter(mg_connection* connection, const std::string& token) {
        if (!gate_.UseToken(token, Gate::Clock::now())) {
            // A reloaded link of somebody who is in already does no harm.
            if (!gate_.AdmitsCookie(mg_get_header(connection, "Cookie"))) {
                return Refuse(
                    connection, 403,
                    "This link was used or is older than a minute. Press Enter in the terminal for a new one.");
            }
            return Reply(connection, 303, "text/plain", "", "Location: /\r\n");
        }
        return Reply(connection, 303, "text/plain", "",
                     "Location: /\r\nSet-Cookie: " + gate_.CookieName() + "=" + gate_.Cookie() +
                         "; Path=/; HttpOnly; SameSite=Strict\r\n");
    }

    // Returns 0 to let the web socket begin.
    int EnterLive(mg_connection* connection, const char* origin) {
        if (origin == nullptr || !gate_.AdmitsSecret(Query(connection, "secret").c_str())) {
            return Refuse(connection, 403, "the web socket does not come from the studio's page");
        }
        const std::scoped_lock lock(mutex_);
        if (pages_.size() >= kMostSockets) return Refuse(connection, 503, "too many pages are open");
        return 0;
    }

    int File(mg_connection* connection, const std::string& path) {
        for (const PageFile& file : PageFiles()) {
            if (path != file.path) continue;
            std::string text = file.text;
            constexpr std::string_view kPlace = "{{secret}}";
            const std::size_t place = path == "/" ? text.find(kPlace) : std::string::npos;
            if (place != std::string::npos) text.replace(place, kPlace.size(), gate_.Secret());
            return Reply(connection, 200, file.type, text);
        }
        return Refuse(connection, 404, "there is no such page");
    }

    const std::string& Catalogue() {
        const std::scoped_lock lock(catalogueMutex_);
        if (catalogue_.empty()) catalogue_ = live_.Ask(R"({"call": "catalogue"})").bytes;
        return catalogue_;
    }

    // Stores the body of a request in a private file and opens it.
    int Drop(mg_connection* connection) {
        const std::string name = SafeName(Query(connection, "name"));
        const long long announced = mg_get_request_info(connection)->content_length;
        if (announced < 0) return Refuse(connection, 411, "the size of the file is missing");
        if (announced > kMostDroppedBytes) return Refuse(connection, 413, "the file is larger than 256 MB");
        const bool isCube = fs::path(name).extension() == ".cube";
        const fs::path path = files_.NewPath(isCube ? ".cube" : ".picture");
        const auto end = std::chrono::steady_clock::now() + kLongestDrop;
        std::ofstream file(path, std::ios::binary);
        long long size = 0;
        char buffer[1 << 16];
        while (size < announced && std::chrono::steady_clock::now() < end) {
            const int count = mg_read(connection, buffer, sizeof buffer);
            if (count <= 0) break;
            size += count;
            file.write(buffer, count);
        }
        file.close();
        std::error_code error;
        if (size == 0 || size != announced || !file) {
            fs::remove(path, error);
            return Refuse(connection, 400, "the file did not arrive as a whole");
        }
        const auto [number, problem] = OpenPath(path.string(), name, /*isDropped=*/true);
        if (number == 0) fs::remove(path, error);
        if (number == 0) return Answer(connection, {{"error", problem}});
        return Answer(connection, {{"number", number}, {"files", Files()}});
    }

    int Download(mg_connection* connection, const std::string& name) {
        std::pair<fs::path, std::string> result;
        {
            const std::scoped_lock lock(mutex_);
            const auto found = downloads_.find(name);
            if (found == downloads_.end()) return Refuse(connection, 404, "there is no such result");
            result = found->second;
            downloads_.erase(found);
        }
        std::ifstream file(result.first, std::ios::binary);
        std::error_code error;
        const auto size = fs::file_size(result.first, error);
        mg_printf(connection,
                  "HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nContent-Length: %llu\r\n"
                  "Content-Disposition: attachment; filename=\"%s\"\r\n%s\r\n",
                  static_cast<unsigned long long>(size), HeaderText(result.second).c_str(), kHeaders);
        char buffer[1 << 16];
        while (file.read(buffer, sizeof buffer) || file.gcount() > 0) {
            if (mg_write(connection, buffer, static_cast<std::size_t>(file.gcount())) <= 0) break;
        }
        fs::remove(result.first, error);
        return 200;
    }

    // ---- Calls of the web socket

    // Returns whether the connection goes on: a message that is not a call ends it.
    bool Called(const std::shared_ptr<Page>& page, const std::string& text) {
        const Json call = Json::parse(text, nullptr, /*allow_exceptions=*/false);
        if (!call.is_object() || !call.contains("id") || !call["id"].is_number_integer()) return false;
        const Json id = call["id"];
        const auto deliver = [page, id](const Message& answer) { SendTo(*page, id, answer); };
        const auto answer = [&](const Json& json) {
            deliver({json.dump(-1, ' ', false, Json::error_handler_t::replace), ""});
        };
        const std::string name =
            call.contains("call") && call["call"].is_string() ? call["call"].get<std::string>() : "";
        bool isTaken = true;
        if (name == "files") {
            answer({{"files", Files()}, {"folder", files_.Folder().filename().string()}});
        } else if (name == "render") {
            live_.SetNewest(page->number, Forwarded(call, "render", {"photo", "cards", "keepSize", "view"}), deliver);
        } else if (name == "before") {
            isTaken = live_.Add(Forwarded(call, "render", {"photo", "cards", "keepSize", "view"}), deliver);
        } else if (name == "thumbnail") {
            isTaken = background_.Add(Forwarded(call, "render", {"photo", "cards", "keepSize", "view"}), deliver);
        } else if (name == "copy") {
            isTaken = live_.Add(Forwarded(call, "copy", {"photo", "cards", "keepSize"}),
                                [this, deliver](const Message& texts) {
                                    deliver({Completed(texts.json), ""});
                                });
        } else if (name == "paste") {
            isTaken = Paste(call.value("text", ""), deliver);
        } else if (name == "presets") {
            answer({{"presets", presets_.List()}});
        } else if (name == "preset") {
            isTaken = Paste(presets_.Read(call.value("name", ""), call.value("isOwn", false)), deliver);
        } else if (name == "preset-keep") {
            isTaken = live_.Add(Forwarded(call, "copy", {"photo", "cards", "keepSize"}),
                                [this, deliver, title = call.value("name", "")](const Message& texts) {
                                    deliver({Kept(texts.json, title), ""});
                                });
        } else if (name == "preset-delete") {
            presets_.Delete(call.value("name", ""));
            answer({{"presets", presets_.List()}});
        } else if (name == "save") {
            isTaken = Save(call, deliver);
        } else {
            answer({{"error", "the call '" + name + "' is unknown"}});
        }
        if (!isTaken) answer({{"error", "too many requests wait"}});
        return true;
    }

    // A request for a worker with the members of a call that it may have, and the paths of the open files.
    std::string Forwarded(const Json& call, const char* name, std::initializer_list<const char*> members,
                          const Json& more = Json::object()) {
        Json request = more;
        request["call"] = name;
        for (const char* member : members) {
            if (call.contains(member)) request[member] = call[member];
        }
        for (const auto& [number, file] : files_.All()) request["files"][std::to_string(number)] = file.path.string();
        return request.dump(-1, ' ', false, Json::error_handler_t::replace);
    }

    // Saves to the folder of the command line, or for a download.
    bool Save(const Json& call, const Deliver& deliver) {
        const std::string format = call.value("format", "png");
        static const std::set<std::string> kFormats = {"png", "jpg", "webp", "tiff", "heic", "avif"};
        if (!kFormats.contains(format)) {
            deliver({R"({"error": "no such format"})", ""});
            return true;
        }
        const std::string name = SafeName(call.value("name", "picture"));
        const bool toFolder = call.value("toFolder", false) && !files_.Folder().empty();
        const fs::path path = toFolder ? files_.NewResult(name, format) : files_.NewPath("." + format);
        const std::string shown = toFolder ? path.filename().string() : fs::path(name).stem().string() + "." + format;
        const auto finish = [=, this](const Message& answer) {
            Json json = Json::parse(answer.json);
            if (!json.contains("error")) {
                json["name"] = shown;
                if (!toFolder) {
                    const std::string secret = RandomName();
                    const std::scoped_lock lock(mutex_);
                    downloads_[secret] = {path, shown};
                    json["download"] = "/download/" + secret;
                }
            }
            deliver({json.dump(-1, ' ', false, Json::error_handler_t::replace), ""});
        };
        return background_.Add(
            Forwarded(call, "save", {"photo", "cards", "keepSize", "options"}, {{"path", path.string()}}), finish);
    }

    // The texts of a chain. Files that were dropped have lost their place; their names stand for it.
    std::string Completed(const std::string& texts) const {
        Json json = Json::parse(texts);
        if (json.contains("error")) return texts;
        std::set<std::string> dropped;
        for (const char* form : {"command", "lua", "recipe"}) {
            std::string text = json[form];
            for (const auto& [number, file] : files_.All()) {
                const std::string path = file.path.string();
                std::size_t at = file.isDropped ? text.find(path) : std::string::npos;
                for (; at != std::string::npos; at = text.find(path, at)) {
                    text.replace(at, path.size(), PlainName(file.name));
                    dropped.insert(file.name);
                }
            }
            json[form] = text;
        }
        for (const std::string& name : dropped) {
            json["notes"].push_back(name + " was dropped on the page; the texts name it without its folder");
        }
        return json.dump(-1, ' ', false, Json::error_handler_t::replace);
    }

    // Keeps the recipe of a chain as a preset. Returns the answer.
    std::string Kept(const std::string& texts, const std::string& name) {
        const Json json = Json::parse(texts);
        if (json.contains("error")) return texts;
        const std::string problem = presets_.Keep(name, json["recipe"]);
        const Json answer = problem.empty() ? Json{{"presets", presets_.List()}} : Json{{"error", problem}};
        return answer.dump(-1, ' ', false, Json::error_handler_t::replace);
    }

    // Reads a text, and numbers the files that it names.
    bool Paste(const std::string& text, const Deliver& deliver) {
        const Json request = {{"call", "paste"}, {"text", text}, {"shared", options_.sharedRecipes}};
        return background_.Add(request.dump(-1, ' ', false, Json::error_handler_t::replace),
                               [this, deliver](const Message& read) {
                                   deliver({WithNumbers(read.json), ""});
                               });
    }

    // Replaces the paths in a chain that was read by the numbers of open files. Runs on the thread of the background
    // worker; files are opened by the other one.
    std::string WithNumbers(const std::string& read) {
        Json json = Json::parse(read);
        if (json.contains("error")) return read;
        std::string problem;
        constexpr std::string_view kFile = "file:";
        for (Json& card : json["cards"]) {
            for (auto& [key, value] : card["settings"].items()) {
                const std::string text = value;
                if (!text.starts_with(kFile)) continue;
                const int number = NumberOf(text.substr(kFile.size()), problem);
                if (number != 0) value = "#" + std::to_string(number);
            }
        }
        if (!problem.empty()) return Json{{"error", problem}}.dump(-1, ' ', false, Json::error_handler_t::replace);
        if (json.contains("photoPath")) {
            const int number = NumberOf(json["photoPath"], problem);
            if (number != 0) json["photo"] = number;
            if (number == 0) json["notes"].push_back("the photo stays: " + problem);
            json.erase("photoPath");
        }
        json["files"] = Files();
        return json.dump(-1, ' ', false, Json::error_handler_t::replace);
    }

    // Returns the number of a file that a text names; 0, and what is wrong, for one that may not be read.
    int NumberOf(const std::string& path, std::string& problem) {
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

    Json Files() const {
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

    static std::string Ask(Dispatcher& dispatcher, const Json& request) {
        return dispatcher.Ask(request.dump(-1, ' ', false, Json::error_handler_t::replace)).json;
    }

    // Returns the number of a file, or 0 and what is wrong.
    std::pair<int, std::string> OpenPath(const std::string& path, const std::string& name, bool isDropped) {
        const Json answer = Json::parse(Ask(live_, {{"call", "inspect"}, {"path", path}}));
        if (answer.contains("error")) return {0, answer["error"].get<std::string>()};
        const int number = files_.Add({.name = name,
                                       .path = path,
                                       .kind = answer["kind"],
                                       .width = answer.value("width", 0.0),
                                       .height = answer.value("height", 0.0),
                                       .isDropped = isDropped});
        return {number, number == 0 ? "too many files are open" : ""};
    }

    const StudioOptions& options_;
    Gate gate_;
    int port_ = 0;
    std::atomic<bool> isReady_ = false;
    bool isLibraryReady_ = false;
    std::mutex mutex_;  // guards the next four
    std::map<const mg_connection*, std::shared_ptr<Page>> pages_;
    int nextPage_ = 1;
    std::map<std::string, std::pair<fs::path, std::string>> downloads_;
    std::mutex catalogueMutex_;
    std::string catalogue_;
    OpenFiles files_;
    Presets presets_;
    Dispatcher live_;
    Dispatcher background_;
    std::vector<mg_context*> contexts_;
};

// Opens a link in the browser of a desktop. Without a desktop, nothing happens.
void OpenBrowser(const std::string& link) {
    if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr) return;
    std::string program = "xdg-open";
    std::string argument = link;
    char* const words[] = {program.data(), argument.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
    }
    pid_t process = 0;
    posix_spawnp(&process, words[0], &actions, nullptr, words, environ);
    posix_spawn_file_actions_destroy(&actions);
}

void Print(const std::string& line) {
    std::printf("%s\n", line.c_str());
    if (std::fflush(stdout) != 0) throw std::system_error(errno, std::generic_category(), "standard output");
}

// Prints a new link for each Enter until a signal comes. Returns the signal.
int WaitForSignal(Server& server, int signals) {
    pollfd inputs[] = {{signals, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    for (;;) {
        if (poll(inputs, 2, -1) < 0) continue;
        if (inputs[0].revents != 0) {
            signalfd_siginfo info = {};
            if (read(signals, &info, sizeof info) == sizeof info) return static_cast<int>(info.ssi_signo);
        }
        if (inputs[1].revents != 0) {
            char typed[256];
            const ssize_t count = read(STDIN_FILENO, typed, sizeof typed);
            if (count <= 0) inputs[1].fd = -1;
            if (count > 0) Print(server.NewLink());
        }
    }
}

}  // namespace
}  // namespace studio

void RunZevaStudio(const studio::StudioOptions& options, studio::StudioResult& result) {
    using namespace studio;
    // Blocked before any thread starts, so that only this function receives them.
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&ending, signal);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    const int signals = signalfd(-1, &ending, SFD_CLOEXEC);
    try {
        Server server(options);
        server.Listen();
        server.OpenPhotos();
        const std::string link = server.NewLink();
        Print(link);
        if (!options.isQuiet) std::fputs("Enter prints a new link, Ctrl-C ends the studio.\n", stderr);
        if (options.opensBrowser) OpenBrowser(link);
        result.signal = WaitForSignal(server, signals);
    } catch (const PhotoFailure& error) {
        result = {0, error.what(), false};
    } catch (const std::filesystem::filesystem_error& error) {
        result = {0, "--folder: " + error.path1().string() + ": " + error.code().message(), true};
    } catch (const std::exception& error) {
        result = {0, error.what(), true};
    }
    close(signals);
}
