// apply_inputs.cpp - finds the pictures that the words of "zeva apply" name.

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "host/batch/shared_array.h"
#include "host/program/apply.h"
#include "host/program/apply_worker.h"
#include "host/program/picture_folder.h"

namespace {

using host::Value;

std::vector<InputPicture> Numbered(std::vector<InputPicture> pictures) {
    for (std::size_t i = 0; i < pictures.size(); ++i) pictures[i].number = i + 1;
    return pictures;
}

}  // namespace

std::vector<InputPicture> PicturesOf(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe) {
    std::vector<InputPicture> pictures;
    std::vector<std::size_t> found;  // the indices of files that may be pictures or not
    for (const std::string& input : recipe.inputs) {
        std::error_code error;
        if (!request.isRecursive || !std::filesystem::is_directory(input, error)) {
            pictures.push_back({input});
            continue;
        }
        for (InputPicture& file : FilesBelow(input, request.output)) {
            found.push_back(pictures.size());
            pictures.push_back(std::move(file));
        }
    }
    if (found.empty()) return Numbered(std::move(pictures));
    SharedArray<bool> isPicture(pictures.size());
    RunInWorker([&] {
        const auto host = MakeHost(options);
        for (const std::size_t i : found) {
            const Value file[] = {host::TextValue(pictures[i].path)};
            isPicture[i] = std::get<bool>(host->CallShared("CIImageQOR", "IsPicture", file));
        }
    });
    std::vector<InputPicture> chosen;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        if (isPicture[i] || !std::ranges::binary_search(found, i)) chosen.push_back(std::move(pictures[i]));
    }
    return Numbered(std::move(chosen));
}
