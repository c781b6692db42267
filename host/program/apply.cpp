// apply.cpp - "zeva apply", one filter on one picture: opens it, sets up the filter, writes its output: all through the host, as any program would.

#include <CLI/CLI.hpp>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "host/errors.h"
#include "host/program/commands.h"
#include "host/program/filter_name.h"
#include "host/program/session.h"
#include "host/suggestion.h"

namespace {

using host::Host;
using host::HostError;
using host::ObjectReference;
using host::Value;

// What the command line asks for.
struct Request {
    std::string filter;                 // in any of its spellings
    std::vector<std::string> settings;  // KEY=VALUE, numbers only
    std::string input;
    std::string output;
    bool keepSize = false;  // crop the result to the input's extent
};

// Prints one step with the time since the one before.
class Steps {
  public:
    void Done(const char* step, const std::string& what) {
        const auto now = std::chrono::steady_clock::now();
        const std::chrono::duration<double, std::milli> elapsed = now - last_;
        std::printf("%-7s%9.1f ms  %s\n", step, elapsed.count(), what.c_str());
        std::fflush(stdout);
        last_ = now;
    }

  private:
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

// The object in a value; empty for nil.
ObjectReference ObjectIn(const Value& value) {
    const auto* object = std::get_if<ObjectReference>(&value);
    return object != nullptr ? *object : ObjectReference();
}

// An image's extent as text: "512 x 600", with its corner unless that is 0, 0.
std::string ExtentText(Host& session, const ObjectReference& image) {
    const ObjectReference extent = ObjectIn(session.Get(image.Get(), "Extent"));
    double numbers[4];
    for (std::int32_t i = 0; i < 4; ++i) {
        const Value index[] = {i};
        numbers[i] = std::get<double>(session.Call(extent.Get(), "ValueAt", index));
    }
    const auto [x, y, width, height] = numbers;
    // An infinite extent is written as numbers that nobody wants to read.
    constexpr double kBeyondAnyImage = 1e30;
    if (width > kBeyondAnyImage || height > kBeyondAnyImage) return "without end";
    std::string text = host::NumberText(width) + " x " + host::NumberText(height);
    if (x != 0 || y != 0) text += " at " + host::NumberText(x) + ", " + host::NumberText(y);
    return text;
}

// A number on the command line.
double NumberIn(const std::string& setting, std::string_view text) {
    double number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || !std::isfinite(number)) {
        throw HostError(setting, "'" + std::string(text) + "' is not a number");
    }
    return number;
}

// The keys of a filter that take a number, for somebody who named another one.
std::string NumberKeys(const host::Class& isa) {
    std::string keys;
    for (const host::Member& member : isa.Members()) {
        if (member.setter == nullptr || member.declaration.result.kind != host::TypeKind::kDouble) continue;
        keys += (keys.empty() ? "" : ", ") + member.declaration.name;
    }
    return keys.empty() ? "it takes no numbers" : "it takes " + keys;
}

// Sets one key of the filter from KEY=VALUE.
void ApplySetting(Host& session, const ObjectReference& filter, const std::string& setting) {
    const std::size_t sign = setting.find('=');
    if (sign == std::string::npos || sign == 0) throw HostError(setting, "expected KEY=VALUE");
    const std::string key = setting.substr(0, sign);
    const host::Member* member = filter->isa->FindMember(key);
    if (member == nullptr) {
        throw HostError(setting, filter->isa->Name() + " has no key " + key + ", " + NumberKeys(*filter->isa));
    }
    if (member->declaration.result.kind != host::TypeKind::kDouble) {
        throw HostError(setting, key + " is a " + member->declaration.result.word + ", only numbers can be given here");
    }
    session.Set(filter.Get(), key, NumberIn(setting, std::string_view(setting).substr(sign + 1)));
}

// A new filter object; an unknown name gets an answer in the user's own spelling.
ObjectReference NewFilter(Host& session, const std::string& name) {
    const std::string className = FilterClassName(name);
    if (session.Classes().Find(className) == nullptr) {
        std::vector<std::string> known;
        for (const host::Class* each : session.Classes().All()) {
            if (std::string shortName = FilterShortName(each->Name()); !shortName.empty()) known.push_back(shortName);
        }
        if (known.empty()) {
            throw HostError("filter " + name, "for host version " + host::NumberText(session.Version()) +
                                                  " the module registers no filters");
        }
        const std::string wanted = FilterShortName(className);
        throw HostError("filter " + name, "there is no such filter" + host::Suggestion(wanted, known));
    }
    return session.Construct(className);
}

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += " " + word;
    return text;
}

// Help that begins with a usage line of our own.
// Why: the library would write the positional words of "apply" as one list, though they differ in meaning.
class UsageFormatter : public CLI::Formatter {
  public:
    explicit UsageFormatter(std::string usage) : usage_(std::move(usage)) {}

    std::string make_usage(const CLI::App*, std::string) const override { return usage_ + "\n"; }

  private:
    std::string usage_;
};

// Does it and prints a line per step. Throws HostError and HostException; the output file is then as it was.
void Apply(const SessionOptions& options, const Request& request) {
    Steps steps;
    const auto session = OpenSession(options);
    steps.Done("load", std::to_string(session->Modules().size()) + " modules, " +
                           std::to_string(session->Classes().All().size()) + " classes, host version " +
                           host::NumberText(options.hostVersion));

    const ObjectReference filter = NewFilter(*session, request.filter);
    for (const std::string& setting : request.settings) ApplySetting(*session, filter, setting);
    if (filter->isa->FindMember("inputImage") == nullptr) {
        throw HostError("filter " + request.filter, "it takes no image");
    }

    const Value path[] = {host::TextValue(request.input)};
    const Value input = session->CallShared("CIImageQOR", "Open", path);
    steps.Done("open", request.input + ", " + ExtentText(*session, ObjectIn(input)));

    session->Set(filter.Get(), "inputImage", input);
    Value output = session->Get(filter.Get(), "outputImage");
    if (!ObjectIn(output)) {
        throw HostError("filter " + request.filter, "it gives no image from these inputs, nothing is written");
    }
    if (request.keepSize) {
        const Value extent[] = {session->Get(ObjectIn(input).Get(), "Extent")};
        output = session->Call(ObjectIn(output).Get(), "Crop", extent);
    }
    const ObjectReference image = ObjectIn(output);
    const std::string size = ExtentText(*session, image);
    steps.Done("filter", filter->isa->Name() + Joined(request.settings) + ", " + size);

    const Value target[] = {host::TextValue(request.output)};
    session->Call(image.Get(), "Save", target);
    steps.Done("write", request.output + ", " + size);
}

}  // namespace

void AddApply(CLI::App& program, const SessionOptions& session) {
    CLI::App* apply = program.add_subcommand("apply", "Applies a filter to a picture.");
    apply->formatter(
        std::make_shared<UsageFormatter>("Usage: zeva apply FILTER [KEY=VALUE ...] IN -o OUT [--keep-size]"));
    const auto request = std::make_shared<Request>();
    apply->add_option("FILTER", request->filter, "GaussianBlur, CIGaussianBlur or CIFilterGaussianBlurQOR")->required();
    apply->add_option("IN", request->settings, "numbers for the filter's keys (inputRadius=10), then a PNG or JPEG")
        ->required()
        ->expected(1, -1);
    apply->add_option("-o,--output", request->output, "picture to write; its suffix says PNG or JPEG")->required();
    apply->add_flag("--keep-size", request->keepSize, "crop the result to the extent of the input");
    apply->callback([request, &session] {
        request->input = request->settings.back();
        request->settings.pop_back();
        Apply(session, *request);
    });
}
