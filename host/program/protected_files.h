// protected_files.h - the files of a command, which none of its outputs may overwrite.
//
// Files are compared, not names: a link, and another way to write a path, is the same file.

#pragma once

#include <filesystem>
#include <map>
#include <string>

class ProtectedFiles {
  public:
    // Protects a file, which need not exist yet. Ignores a pipe or a device, which cannot be overwritten.
    void Add(const std::filesystem::path& file);

    // Throws UsageError when an output would overwrite a protected file: "<file>: <output> would overwrite it;
    // <consequence>". Then protects the output too.
    void AddOutput(const std::filesystem::path& file, const char* output, const char* consequence);

  private:
    std::map<std::string, std::filesystem::path> files_;  // by identity
};
