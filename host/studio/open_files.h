// open_files.h - the pictures and color tables that the studio's page can use, by number.
//
// The page never sends a path. A file gets a number when it is named on the command line, when it lies below the
// folder that is named there, or when it was dropped on the page. What is dropped is kept in a private folder, which is
// removed at the end.
//
// Symbolic links are resolved before a path is compared with the folder.
//
// Threads: any.

#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace studio {

struct OpenFile {
    std::string name;            // for people
    std::filesystem::path path;  // without symbolic links
    std::string kind;            // "picture" or "cube"
    double width = 0, height = 0;
    bool isDropped = false;
};

class OpenFiles {
  public:
    // `folder` may be empty. Throws std::filesystem::filesystem_error when it does not exist, or when no private folder
    // can be made.
    explicit OpenFiles(const std::filesystem::path& folder);
    ~OpenFiles();
    OpenFiles(const OpenFiles&) = delete;
    OpenFiles& operator=(const OpenFiles&) = delete;

    // The folder of the command line without symbolic links; empty if there is none.
    const std::filesystem::path& Folder() const { return folder_; }

    // Returns a path in the private folder, at which nothing exists.
    [[nodiscard]] std::filesystem::path NewPath(const std::string& suffix) const;

    // Adds a file and returns its number; that of the same file if it is there already. Returns 0 when there are too
    // many.
    [[nodiscard]] int Add(OpenFile file);

    // Returns the number under which a path is open, or 0.
    [[nodiscard]] int Find(const std::filesystem::path& path) const;

    // Whether a path, without its symbolic links, lies below the folder.
    [[nodiscard]] bool IsBelowFolder(const std::filesystem::path& path) const;

    [[nodiscard]] std::map<int, OpenFile> All() const;

    // Returns a path in the folder for a result. The name is reduced to a file name with the suffix, and changed when a
    // file of that name exists.
    [[nodiscard]] std::filesystem::path NewResult(const std::string& name, const std::string& suffix) const;

  private:
    std::filesystem::path folder_;
    std::filesystem::path privateFolder_;
    mutable std::mutex mutex_;
    std::map<int, OpenFile> files_;
};

// Whether a path lies below a folder, when the symbolic links of both are resolved.
[[nodiscard]] bool IsBelow(const std::filesystem::path& folder, const std::filesystem::path& path);

// Returns a file name without folders, control characters and a point in front; "picture" when nothing remains.
[[nodiscard]] std::string SafeName(const std::string& name);

}  // namespace studio
