// apply_inputs.cpp - finds the pictures that the words and the list of "zeva apply" name.

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "host/program/apply.h"
#include "host/program/apply_worker.h"
#include "host/program/picture_folder.h"
#include "host/program/picture_list.h"

namespace {

std::vector<InputPicture> Numbered(std::vector<InputPicture> pictures) {
    for (std::size_t i = 0; i < pictures.size(); ++i) pictures[i].number = i + 1;
    return pictures;
}

}  // namespace

std::vector<InputPicture> PicturesOf(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe) {
    std::vector<InputPicture> pictures;
    std::vector<std::size_t> found;  // the indices of files that may be pictures or not
    std::vector<std::string> inputs = recipe.inputs;
    if (!request.batch.list.empty()) {
        std::vector<std::string> listed = NamesInList(request.batch.list);
        std::ranges::move(listed, std::back_inserter(inputs));
    }
    for (const std::string& input : inputs) {
        std::error_code error;
        if (!request.isRecursive || !std::filesystem::is_directory(input, error)) {
            pictures.push_back({input});
            continue;
        }
        for (InputPicture& file : FilesBelow(input, FolderOfResults(request.output))) {
            found.push_back(pictures.size());
            pictures.push_back(std::move(file));
        }
    }
    if (found.empty()) return Numbered(std::move(pictures));
    std::vector<std::string> files;
    for (const std::size_t i : found) files.push_back(pictures[i].path);
    const std::string isPicture = RunTask(options, request, apply_task::FindPictures(files));
    // The indices of files that are not pictures. A file that cannot be read may be one, and opening it says why.
    std::set<std::size_t> others;
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (isPicture.at(i) == '0' && IsReadable(files[i])) others.insert(found[i]);
    }
    std::vector<InputPicture> chosen;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        if (!others.contains(i)) chosen.push_back(std::move(pictures[i]));
    }
    return Numbered(std::move(chosen));
}
