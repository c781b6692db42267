// web_server.cpp - routes requests.

#include "host/studio/web_server.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/studio/http.h"
#include "host/studio/open_files.h"
#include "host/studio/pages.h"

namespace studio {
namespace {

namespace fs = std::filesystem;

constexpr long long kMostDroppedBytes = 256LL << 20;
constexpr std::chrono::minutes kLongestDrop{5};

}  // namespace

Server::~Server() {
    for (mg_context* context : contexts_) mg_stop(context);
    if (isLibraryReady_) mg_exit_library();
}

void Server::Listen() {
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

std::string Server::NewLink() {
    return "http://127.0.0.1:" + std::to_string(port_) + "/?token=" + gate_.NewToken(Gate::Clock::now());
}

mg_context* Server::StartAt(const std::string& address) {
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
    callbacks.begin_request = [](mg_connection* connection) {
        return static_cast<Server*>(mg_get_user_context_data(connection))->Handle(connection);
    };
    // Nothing is written anywhere: a request may contain a token.
    callbacks.log_message = [](const mg_connection*, const char*) { return 1; };
    callbacks.log_access = [](const mg_connection*, const char*) { return 1; };
    mg_context* context = mg_start(&callbacks, this, const_cast<const char**>(settings));
    if (context == nullptr) return nullptr;
    mg_set_websocket_handler(
        context, "/live",
        // Handle has admitted it.
        [](const mg_connection*, void*) { return 0; },
        [](mg_connection* connection, void* self) { static_cast<Server*>(self)->sockets_.Add(connection); },
        [](mg_connection* connection, int bits, char* data, std::size_t size, void* self) {
            return static_cast<Server*>(self)->Received(connection, bits, {data, size}) ? 1 : 0;
        },
        [](const mg_connection* connection, void* self) { static_cast<Server*>(self)->Closed(connection); }, this);
    return context;
}

// ---- Requests

int Server::Handle(mg_connection* connection) {
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
        return Reply(connection, 200, "application/json", calls_.Catalogue());
    }
    constexpr std::string_view kDownload = "/download/";
    if (path.starts_with(kDownload)) return Download(connection, path.substr(kDownload.size()));
    return File(connection, path);
}

int Server::Enter(mg_connection* connection, const std::string& token) {
    if (!gate_.UseToken(token, Gate::Clock::now())) {
        // A reloaded link of somebody who is in already does no harm.
        if (!gate_.AdmitsCookie(mg_get_header(connection, "Cookie"))) {
            return Refuse(connection, 403,
                          "This link was used or is older than a minute. Press Enter in the terminal for a new one.");
        }
        return Reply(connection, 303, "text/plain", "", "Location: /\r\n");
    }
    return Reply(connection, 303, "text/plain", "",
                 "Location: /\r\nSet-Cookie: " + gate_.CookieName() + "=" + gate_.Cookie() +
                     "; Path=/; HttpOnly; SameSite=Strict\r\n");
}

// Returns 0 to let the web socket begin.
int Server::EnterLive(mg_connection* connection, const char* origin) {
    if (origin == nullptr || !gate_.AdmitsSecret(Query(connection, "secret").c_str())) {
        return Refuse(connection, 403, "the web socket does not come from the studio's page");
    }
    if (sockets_.IsFull()) return Refuse(connection, 503, "too many pages are open");
    return 0;
}

int Server::File(mg_connection* connection, const std::string& path) {
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

// Stores the body of a request in a private file and opens it.
int Server::Drop(mg_connection* connection) {
    const std::string name = SafeName(Query(connection, "name"));
    const long long announced = mg_get_request_info(connection)->content_length;
    if (announced < 0) return Refuse(connection, 411, "the size of the file is missing");
    if (announced > kMostDroppedBytes) return Refuse(connection, 413, "the file is larger than 256 MB");
    const fs::path path = calls_.PathForDrop(name);
    const auto end = std::chrono::steady_clock::now() + kLongestDrop;
    std::ofstream file(path, std::ios::binary);
    long long size = 0;
    std::vector<char> buffer(kTransferBytes);
    while (size < announced && std::chrono::steady_clock::now() < end) {
        const int count = mg_read(connection, buffer.data(), buffer.size());
        if (count <= 0) break;
        size += count;
        file.write(buffer.data(), count);
    }
    file.close();
    std::error_code error;
    if (size == 0 || size != announced || !file) {
        fs::remove(path, error);
        return Refuse(connection, 400, "the file did not arrive as a whole");
    }
    return Answer(connection, calls_.OpenDropped(path, name));
}

int Server::Download(mg_connection* connection, const std::string& name) {
    const auto [path, shown] = calls_.TakeResult(name);
    if (path.empty()) return Refuse(connection, 404, "there is no such result");
    const int status = SendFile(connection, path.string(), shown);
    std::error_code error;
    fs::remove(path, error);
    return status;
}

// ---- The web socket

// Returns whether the connection goes on.
bool Server::Received(mg_connection* connection, int bits, std::string_view data) {
    const std::shared_ptr<Socket> socket = sockets_.Find(connection);
    bool isComplete = false;
    if (socket == nullptr || !socket->Take(bits, data, isComplete)) return false;
    return !isComplete || calls_.Take(socket, socket->Text());
}

void Server::Closed(const mg_connection* connection) {
    const std::shared_ptr<Socket> socket = sockets_.Find(connection);
    if (socket != nullptr) calls_.Forget(*socket);
    sockets_.Remove(connection);
}

}  // namespace studio
