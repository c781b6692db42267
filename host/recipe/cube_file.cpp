// cube_file.cpp - parses the file line by line.

#include "host/recipe/cube_file.h"

#include <cerrno>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "host/runtime/errors.h"
#include "host/runtime/text.h"

namespace {

class CubeReader {
  public:
    explicit CubeReader(const std::filesystem::path& path) : path_(path), file_(path) {
        if (!file_) throw host::HostError(path.string(), "cannot be read (" + host::SystemReason(errno) + ")");
    }

    std::vector<float> Read() {
        std::string line;
        while (NextLine(&line)) {
            if (const std::size_t end = line.find_last_not_of(" \t\r"); end != std::string::npos && line[0] != '#') {
                ReadLine(line.substr(0, end + 1));
            }
        }
        if (file_.bad()) throw host::HostError(path_.string(), "cannot be read (" + host::SystemReason(errno) + ")");
        const std::size_t entries = table_.size() / 4;
        if (size_ == 0) Refuse("LUT_3D_SIZE is missing");
        if (entries != Wanted()) {
            Refuse("the table ends after " + std::to_string(entries) + " of " + std::to_string(Wanted()) + " colors");
        }
        return std::move(table_);
    }

  private:
    // Reads the next line without its end. Returns false at the end of the file.
    bool NextLine(std::string* line) {
        constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
        char buffer[kLongestCubeLine + 1];  // with a zero byte
        file_.getline(buffer, sizeof buffer);
        if (file_.gcount() == 0) return false;
        ++lineNumber_;
        if (file_.fail()) {
            Refuse("the line has more than " + std::to_string(kLongestCubeLine) + " bytes, this is not a .cube file");
        }
        *line = buffer;
        if (lineNumber_ == 1 && line->starts_with(kByteOrderMark)) line->erase(0, kByteOrderMark.size());
        return true;
    }

    // A line as a message quotes it.
    static std::string Quoted(const std::string& line) {
        constexpr std::size_t kShownBytes = 60;
        const std::string_view shown = host::Beginning(line, kShownBytes);
        return "\"" + std::string(shown) + (shown.size() < line.size() ? "...\": " : "\": ");
    }

    [[noreturn]] void Refuse(const std::string& problem) const {
        throw host::HostError(path_.string() + ":" + std::to_string(lineNumber_), problem);
    }

    std::size_t Wanted() const { return static_cast<std::size_t>(size_) * static_cast<std::size_t>(size_ * size_); }

    void ReadLine(const std::string& line) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (word == "TITLE") return;
        if (word == "LUT_1D_SIZE") Refuse("a one-dimensional table is not a cube");
        if (word == "LUT_3D_SIZE") {
            if (size_ != 0) Refuse("LUT_3D_SIZE stands in the file twice");
            if (!(words >> size_) || size_ < 2 || size_ > kLargestCubeSize) {
                Refuse(Quoted(line) + "expected a size from 2 to " + std::to_string(kLargestCubeSize));
            }
        } else if (word == "DOMAIN_MIN" || word == "DOMAIN_MAX") {
            const float wanted = word == "DOMAIN_MAX" ? 1 : 0;
            for (int i = 0; i < 3; ++i) {
                float bound = NAN;
                if (!(words >> bound) || bound != wanted) Refuse(Quoted(line) + "only the domain 0...1 is supported");
            }
        } else {
            ReadColor(line);
        }
    }

    void ReadColor(const std::string& line) {
        std::istringstream numbers(line);
        float red, green, blue;
        std::string rest;
        if (!(numbers >> red >> green >> blue) || numbers >> rest) Refuse(Quoted(line) + "expected three numbers");
        if (size_ == 0) Refuse("LUT_3D_SIZE must stand before the colors");
        if (table_.size() / 4 == Wanted()) Refuse("more than the " + std::to_string(Wanted()) + " colors of the table");
        table_.insert(table_.end(), {red, green, blue, 1});
    }

    const std::filesystem::path& path_;
    std::ifstream file_;
    int lineNumber_ = 0;
    int size_ = 0;
    std::vector<float> table_;
};

}  // namespace

std::vector<float> ReadCubeFile(const std::filesystem::path& path) { return CubeReader(path).Read(); }
