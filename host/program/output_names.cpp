// output_names.cpp - reads patterns and puts names into them.

#include "host/program/output_names.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <system_error>

#include "host/program/exit_status.h"
#include "host/runtime/suggestion.h"

namespace {

using std::filesystem::path;

bool IsFolder(const std::string& output) {
    std::error_code error;
    return output.ends_with('/') || std::filesystem::is_directory(output, error);
}

}  // namespace

std::string FolderOfResults(const std::string& output) {
    std::size_t brace = output.find('{');
    while (brace != std::string::npos && output.compare(brace, 2, "{{") == 0) brace = output.find('{', brace + 2);
    return brace == std::string::npos ? output : output.substr(0, output.rfind('/', brace) + 1);
}

OutputNames::OutputNames(const std::string& output, std::size_t pictures, bool isSeries) {
    static const std::vector<std::string> kNames = {"name", "ext", "dir", "width", "height", "index"};
    static constexpr Part::Kind kKinds[] = {Part::kName,  Part::kExt,    Part::kDir,
                                            Part::kWidth, Part::kHeight, Part::kIndex};
    std::string text;
    const auto endText = [&] {
        if (!text.empty()) parts_.push_back({Part::kText, text});
        text.clear();
    };
    for (std::size_t at = 0; at < output.size(); ++at) {
        if (output[at] != '{') {
            text += output[at];
        } else if (output.compare(at, 2, "{{") == 0) {
            text += '{';
            ++at;
        } else {
            const std::size_t end = output.find('}', at);
            const std::string name = output.substr(at + 1, end == std::string::npos ? end : end - at - 1);
            const auto found = std::find(kNames.begin(), kNames.end(), name);
            if (found == kNames.end() || end == std::string::npos) {
                throw UsageError("--output: '" + output.substr(at, name.size() + 2) + "' is not a name in a pattern" +
                                 host::Suggestion(name, kNames) +
                                 "; expected {name}, {ext}, {dir}, {width}, {height} or {index}, and {{ for a brace");
            }
            endText();
            parts_.push_back({kKinds[found - kNames.begin()], ""});
            isPerPicture_ = true;
            at = end;
        }
    }
    const std::string ending = text;
    endText();
    if (isPerPicture_) {
        if (ending.ends_with('/')) parts_.push_back({Part::kFile, ""});
        return;
    }
    const bool isSingle = pictures <= 1 && !isSeries;
    if (isSingle && (pictures == 0 || !IsFolder(ending))) return;
    if (!IsFolder(ending) && path(ending).has_extension()) {
        const std::string inputs =
            pictures > 1 ? std::to_string(pictures) + " inputs need" : "the inputs of a list or a folder need";
        throw UsageError(output + ": " + inputs + " an output folder");
    }
    isPerPicture_ = true;
    if (!ending.ends_with('/')) parts_.push_back({Part::kText, "/"});
    parts_.insert(parts_.end(), {{Part::kDir, ""}, {Part::kText, "/"}, {Part::kFile, ""}});
}

bool OutputNames::HasSizes() const {
    return std::any_of(parts_.begin(), parts_.end(),
                       [](const Part& part) { return part.kind == Part::kWidth || part.kind == Part::kHeight; });
}

std::string OutputNames::Of(const InputPicture& picture, const ResultSize& size) const {
    const path file = path(picture.path).filename();
    std::string result;
    bool isFolderOmitted = false;  // "." is left out together with the slash behind it
    for (const Part& part : parts_) {
        switch (part.kind) {
            case Part::kText:
                result += isFolderOmitted && part.text.starts_with('/') ? part.text.substr(1) : part.text;
                break;
            case Part::kName:
                result += file.stem().string();
                break;
            case Part::kExt:
                result += file.extension().string().erase(0, 1);
                break;
            case Part::kDir:
                if (picture.folder != ".") result += picture.folder;
                break;
            case Part::kWidth:
                result += std::to_string(static_cast<long long>(size.width));
                break;
            case Part::kHeight:
                result += std::to_string(static_cast<long long>(size.height));
                break;
            case Part::kIndex:
                result += std::to_string(picture.number);
                break;
            case Part::kFile:
                result += file.string();
                break;
            case Part::kPath:
                result += picture.path;
                break;
        }
        isFolderOmitted = part.kind == Part::kDir && picture.folder == ".";
    }
    return result;
}
