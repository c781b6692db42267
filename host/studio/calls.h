// calls.h - what the page asks for over its web socket, and the files that it opens.
//
// A call is a JSON object with the members "id", which its answer repeats, and "call", which selects a function in
// calls.cpp. While a result is saved, answers with the member "written", in bytes, come before the last one. Calls
// about pictures go to one of two workers: one for what is on the screen, and one for what can wait.
//
// Adding a call: its function, its row in kCalls.
//
// Failure: an answer with the member "error".
// Threads: any.

#pragma once

#include <filesystem>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

#include "host/studio/dispatcher.h"
#include "host/studio/http.h"
#include "host/studio/open_files.h"
#include "host/studio/presets.h"
#include "host/studio/server.h"
#include "host/studio/sockets.h"

namespace studio {

// A photo of the command line cannot be opened.
class PhotoFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class Calls {
  public:
    // Throws std::filesystem::filesystem_error when the folder of the options does not exist.
    explicit Calls(const StudioOptions& options);

    // Opens the photos and the folder of the options. Throws PhotoFailure for a photo that cannot be opened.
    void OpenPhotos();

    // Answers a message from a page: a JSON object with an integer "id". Returns false for anything else.
    [[nodiscard]] bool Take(const std::shared_ptr<Socket>& socket, const std::string& text);

    // Forgets what waits of a socket.
    void Forget(const Socket& socket) { live_.Forget(socket.Number()); }

    // The filters and their keys, as JSON.
    [[nodiscard]] const std::string& Catalogue();

    // Returns a path for a file that is dropped on the page, and opens the file that was written there.
    [[nodiscard]] std::filesystem::path PathForDrop(const std::string& name) const;
    [[nodiscard]] Json OpenDropped(const std::filesystem::path& path, const std::string& name);

    // Returns the path and the name of a result, once; empty for an unknown one.
    [[nodiscard]] std::pair<std::filesystem::path, std::string> TakeResult(const std::string& secret);

  private:
    struct Call {
        const Json& json;
        int sender;
        Deliver deliver;
    };
    struct Row {
        const char* name;
        bool (Calls::*run)(const Call& call);  // returns false when too many requests wait
    };
    static const Row kCalls[];

    bool ListFiles(const Call& call);
    bool Render(const Call& call);
    bool RenderBefore(const Call& call);
    bool RenderThumbnail(const Call& call);
    bool Copy(const Call& call);
    bool Paste(const Call& call);
    bool ListPresets(const Call& call);
    bool UsePreset(const Call& call);
    bool KeepPreset(const Call& call);
    bool DeletePreset(const Call& call);
    bool Save(const Call& call);

    [[nodiscard]] std::string Forwarded(const Json& call, const char* name, std::initializer_list<const char*> members,
                                        const Json& more = Json::object()) const;
    [[nodiscard]] std::string RenderRequest(const Json& call, const Json& more = Json::object()) const;
    [[nodiscard]] std::string CopyRequest(const Json& call) const;
    [[nodiscard]] std::string FolderOf(const std::string& photo) const;
    [[nodiscard]] bool PasteText(const Call& call, const std::string& text);
    [[nodiscard]] Json Completed(Json texts) const;
    [[nodiscard]] Json WithNumbers(Json read);
    int NumberOf(const std::string& path, std::string& problem);
    [[nodiscard]] Json Files() const;
    std::pair<int, std::string> OpenPath(const std::filesystem::path& path, const std::string& name, bool isDropped);

    const StudioOptions& options_;
    OpenFiles files_;
    Presets presets_;
    std::mutex mutex_;  // guards the results
    std::map<std::string, std::pair<std::filesystem::path, std::string>> results_;
    std::mutex catalogueMutex_;
    std::string catalogue_;
    Dispatcher live_;  // these two last: their threads use the others
    Dispatcher background_;
};

}  // namespace studio
