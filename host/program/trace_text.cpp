// trace_text.cpp - "zeva trace": a trace file as text, one line per call, indented by depth.
//
//        0.213 ms   0.002 ms    get CIVectorQOR.Count() = 4
//        when       how long    what, with arguments and result; a call to the host begins with <

#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "host/runtime/errors.h"
#include "host/program/commands.h"
#include "host/description/value_json.h"
#include "host/runtime/trace.h"

namespace {

// A call, as its two events tell of it.
struct Call {
    std::size_t depth;
    std::string text;
    double begin;
    double end = -1;  // negative when it never returned
};

// The events of a file. One that was never ended, since its process crashed, is as good.
Json ReadEvents(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw host::HostError(path, "it cannot be read");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    for (const std::string& candidate : {text, text + "]"}) {
        Json events = Json::parse(candidate, nullptr, /*allow_exceptions=*/false);
        if (events.is_array()) return events;
    }
    throw host::HostError(path, "it holds no list of trace events");
}

std::string CallText(const Json& event) {
    std::string text = event.value("cat", "") == host::kToHost ? "< " : "";
    text += event.value("name", "?");
    const Json arguments = event.contains("args") ? event["args"] : Json::object();
    if (arguments.contains("arguments")) {
        std::string list;
        for (const Json& argument : arguments["arguments"]) list += (list.empty() ? "" : ", ") + argument.dump();
        if (!list.empty() || !text.starts_with("get ")) text += "(" + list + ")";
    }
    if (arguments.contains("object") && !arguments["object"].is_null()) {
        text += " of " + std::string(arguments["object"]);
    }
    return text;
}

std::string OutcomeText(const Json& event) {
    const Json outcome = event.contains("args") ? event["args"] : Json::object();
    if (outcome.contains("raised")) return " raised " + std::string(outcome["raised"]);
    return outcome.contains("result") ? " = " + outcome["result"].dump() : "";
}

// Brings beginnings and ends together, in the order in which the calls began.
std::vector<Call> CallsOf(const Json& events) {
    std::vector<Call> calls;
    std::vector<std::size_t> open;
    for (const Json& event : events) {
        const std::string phase = event.value("ph", "");
        if (phase == "B") {
            calls.push_back({open.size(), CallText(event), event.value("ts", 0.0)});
            open.push_back(calls.size() - 1);
        } else if (phase == "E" && !open.empty()) {
            Call& call = calls[open.back()];
            call.end = event.value("ts", 0.0);
            call.text += OutcomeText(event);
            open.pop_back();
        }
    }
    return calls;
}

void PrintTrace(const std::string& path) {
    for (const Call& call : CallsOf(ReadEvents(path))) {
        std::printf("%11.3f ms ", call.begin / 1000);
        if (call.end >= 0) {
            std::printf("%9.3f ms", (call.end - call.begin) / 1000);
        } else {
            std::printf("%12s", "never ended");
        }
        std::printf("  %*s%s\n", static_cast<int>(2 * call.depth), "", call.text.c_str());
    }
}

}  // namespace

void AddTrace(CLI::App& program, const SessionOptions&) {
    CLI::App* trace = program.add_subcommand("trace", "Prints what --trace wrote, as text.");
    const auto file = std::make_shared<std::string>();
    trace->add_option("FILE", *file, "a file that --trace wrote")->required();
    trace->callback([file] { PrintTrace(*file); });
}
