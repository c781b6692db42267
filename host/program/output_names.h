// output_names.h - where the results of "zeva apply" go: one file, files in a folder, files named by a pattern, or the
// pictures themselves.
//
// A pattern is a path with names in braces:
//
//   out/{dir}/{name}-{width}.webp
//
//   {name}    the picture's name without folder and suffix     {width}   the width of the result
//   {ext}     the picture's suffix without the point           {height}  the height of the result
//   {dir}     the picture's folder within the folder given     {index}   the picture's number, from 1
//   {{        a brace
//
// Names of files are bytes, and are kept as they are.
//
// Threads: immutable.

#pragma once

#include <cstddef>
#include <string>
#include <vector>

// A picture to process.
struct InputPicture {
    std::string path;
    std::string folder = ".";  // within the folder that was given; "." for the folder itself and for a single file
    std::size_t number = 1;    // among all pictures
};

// The size of a result.
struct ResultSize {
    double width = 0, height = 0;
};

// Returns the folder that has all results of an output, as far as a pattern tells; empty for the current one.
[[nodiscard]] std::string FolderOfResults(const std::string& output);

class OutputNames {
  public:
    // Results that replace their pictures.
    OutputNames() : parts_{{Part::kPath, ""}} {}

    // The results of a number of pictures at a path or in a folder, which may be a pattern. The pictures of a series, a
    // list or a folder, are named alike however many there are. Throws UsageError for an unknown name in braces, and
    // for a series or several pictures with one file for their results.
    OutputNames(const std::string& output, std::size_t pictures, bool isSeries);

    // Whether there is a file for each picture, in a folder that may have to be created.
    bool IsPerPicture() const { return isPerPicture_; }

    // Whether all names end alike, so that the path tells the format of every result.
    bool NamesFormat() const { return parts_.back().kind == Part::kText; }

    // Whether the names contain sizes.
    bool HasSizes() const;

    // The file for the result of a picture.
    std::string Of(const InputPicture& picture, const ResultSize& size) const;

  private:
    // What a part of the path stands for: text, a name in braces, the file name of the picture, or its whole path.
    struct Part {
        enum Kind { kText, kName, kExt, kDir, kWidth, kHeight, kIndex, kFile, kPath } kind;
        std::string text;
    };

    std::vector<Part> parts_;
    bool isPerPicture_ = false;
};
