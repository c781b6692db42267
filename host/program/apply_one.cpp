// apply_one.cpp - one picture, or none, in this process, with a line on standard error for each step.

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "host/program/apply.h"
#include "host/program/apply_picture.h"
#include "host/program/apply_targets.h"
#include "host/program/exit_status.h"
#include "host/runtime/text.h"

namespace {

using host::Value;

// Prints each step with the time since the previous one, on standard error.
class StepPrinter {
  public:
    void operator()(const char* step, const std::string& result) {
        const auto now = std::chrono::steady_clock::now();
        const std::chrono::duration<double, std::milli> elapsed = now - last_;
        std::fprintf(stderr, "%-7s%9.1f ms  %s\n", step, elapsed.count(), host::PrintableText(result).c_str());
        last_ = now;
    }

  private:
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

}  // namespace

void ApplyToOne(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe,
                const OutputNames& names, const std::vector<InputPicture>& pictures) {
    StepReport report = [](auto&&...) {};
    if (!options.isQuiet) report = StepPrinter();
    const InputPicture picture = pictures.empty() ? InputPicture{} : pictures[0];
    const std::vector<std::string> others = OtherFiles(options, request, recipe);
    // Returns whether there is something to do.
    const auto isWanted = [&](const std::string& target) {
        ProtectInputs(request, others, {{picture, target}});
        if (!IsKept(request, target)) return true;
        report("skip", target + ", which exists");
        return false;
    };
    std::string target = names.Of(picture, {});
    std::vector<std::string> files = others;
    if (!names.HasSizes()) {
        if (!isWanted(target)) return;
        files.push_back(target);
    }
    if (!pictures.empty()) files.push_back(picture.path);
    const auto host = MakeHost(options, files);
    report("load", std::to_string(host->Modules().size()) + " modules, " +
                       std::to_string(host->Classes().All().size()) + " classes, host version " +
                       host::NumberText(host->Version()));
    const Plan plan = WithStatus(kWrongUsage, [&] { return PreparePlan(*host, request, recipe, target); });
    SaveRecipe(*host, request, recipe);
    const Value opened = WithStatus(kFailed, [&] { return Opened(*host, picture.path, report); });
    // Without a picture, only the settings can be the cause of a failure.
    const auto image = WithStatus(pictures.empty() ? kWrongUsage : kFailed,
                                  [&] { return Filtered(*host, request, plan, opened, report); });
    if (names.HasSizes()) {
        target = names.Of(picture, SizeOf(*host, image));
        if (!isWanted(target)) return;
    }
    if (names.IsPerPicture()) CreateFolder(FolderOf(target));
    WithStatus(kWrongUsage, [&] { Save(*host, request, opened, image, target, report); });
}
