// web_server.h - the requests of the page over HTTP, and who may make them.
//
//   GET  /?token=...      exchanges the token of a link for the cookie
//   GET  /                the page, which contains its secret
//   GET  /studio.css ...  the files of the page, and /catalogue.json
//   POST /drop?name=...   a file that was dropped on the page
//   GET  /download/NAME   a result, once
//   GET  /live            the web socket (sockets.h)
//
// Every request passes the gate (gate.h) before anything is done for it.
//
// Lifetime: serves from Listen to the destructor.
// Threads:  the web server has threads of its own, which call the private members.

#pragma once

#include <civetweb.h>

#include <atomic>
#include <string>
#include <vector>

#include "host/studio/calls.h"
#include "host/studio/gate.h"
#include "host/studio/server.h"
#include "host/studio/sockets.h"

namespace studio {

class Server {
  public:
    explicit Server(const StudioOptions& options) : options_(options), calls_(options) {}
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Starts to listen. Throws std::runtime_error.
    void Listen();

    // Opens the photos and the folder. Throws PhotoFailure for a photo that cannot be opened.
    void OpenPhotos() { calls_.OpenPhotos(); }

    // Returns a link with a new token.
    [[nodiscard]] std::string NewLink();

  private:
    mg_context* StartAt(const std::string& address);
    int Handle(mg_connection* connection);
    int Enter(mg_connection* connection, const std::string& token);
    int EnterLive(mg_connection* connection, const char* origin);
    int File(mg_connection* connection, const std::string& path);
    int Drop(mg_connection* connection);
    int Download(mg_connection* connection, const std::string& name);
    bool Received(mg_connection* connection, int bits, std::string_view data);
    void Closed(const mg_connection* connection);

    const StudioOptions& options_;
    Gate gate_;
    int port_ = 0;
    std::atomic<bool> isReady_ = false;
    bool isLibraryReady_ = false;
    Sockets sockets_;
    Calls calls_;
    std::vector<mg_context*> contexts_;
};

}  // namespace studio
