// trace_text.cpp - "zeva trace": prints a trace file as text, one line per call, indented by depth.
//
//        0.213 ms   0.002 ms    get CIVectorQOR.Count() = 4
//        start      duration    the call with its arguments and result; a call to the host begins with <

#include <cstdio>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "host/program/commands.h"
#include "host/runtime/errors.h"
#include "host/runtime/text.h"
#include "host/runtime/trace.h"

namespace {

// Keeps the order of the members, because whole values are printed.
using Event = nlohmann::ordered_json;

// A call, made of the two events for its begin and its end.
struct Call {
    std::size_t depth;
    std::string text;
    double begin;
    double end = -1;  // negative when the call did not return
};

// The events of a file. The closing bracket may be missing: the file of a crashed process ends without it.
Event ReadEvents(const std::string& path) {
    std::ifstream file(path);
    std::ostringstream content;
    if (!file || !(content << file.rdbuf())) throw host::HostError(path, "cannot be read");
    const std::string text = content.str();
    for (const std::string& candidate : {text, text + "]"}) {
        Event events = Event::parse(candidate, nullptr, /*allow_exceptions=*/false);
        if (events.is_array()) return events;
    }
    throw host::HostError(path, "not a list of trace events");
}

std::string CallText(const Event& event) {
    std::string text = event.value("cat", "") == host::kToHost ? "< " : "";
    text += event.value("name", "?");
    const Event arguments = event.contains("args") ? event["args"] : Event::object();
    if (arguments.contains("arguments")) {
        std::string list;
        for (const Event& argument : arguments["arguments"]) list += (list.empty() ? "" : ", ") + argument.dump();
        if (!list.empty() || !text.starts_with("get ")) text += "(" + list + ")";
    }
    if (arguments.contains("object") && !arguments["object"].is_null()) {
        text += " of " + std::string(arguments["object"]);
    }
    return text;
}

std::string OutcomeText(const Event& event) {
    const Event outcome = event.contains("args") ? event["args"] : Event::object();
    if (outcome.contains("raised")) return " raised " + std::string(outcome["raised"]);
    return outcome.contains("result") ? " = " + outcome["result"].dump() : "";
}

// Joins the begin and the end of each call. The calls are in the order in which they began.
std::vector<Call> CallsOf(const Event& events) {
    std::vector<Call> calls;
    std::vector<std::size_t> open;
    for (const Event& event : events) {
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

// Reads the calls. An event without the members of ours is as bad as a file of another kind.
std::vector<Call> ReadCalls(const std::string& path) {
    try {
        return CallsOf(ReadEvents(path));
    } catch (const nlohmann::json::exception&) {
        throw host::HostError(path, "not a list of trace events");
    }
}

int PrintTrace(const std::string& path) {
    for (const Call& call : ReadCalls(path)) {
        std::printf("%11.3f ms ", call.begin / 1000);
        if (call.end >= 0) {
            std::printf("%9.3f ms", (call.end - call.begin) / 1000);
        } else {
            std::printf("%12s", "never ended");
        }
        std::printf("  %*s%s\n", static_cast<int>(2 * call.depth), "", host::PrintableText(call.text).c_str());
    }
    return kDone;
}

}  // namespace

Command TraceCommand() {
    const auto file = std::make_shared<std::string>();
    return {
        .name = "trace",
        .help = "Prints a file that --trace wrote, as text.",
        .arguments = {{"FILE", file.get(), "a file that --trace wrote", /*isRequired=*/true}},
        .run = [file](const ProgramOptions&) { return PrintTrace(*file); },
    };
}
