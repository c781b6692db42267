// report_reader.cpp - reads the lines of reports with the JSON library, which takes long to compile.

#include <nlohmann/json.hpp>

#include "host/batch/report.h"
#include "host/runtime/text.h"

namespace {

using Members = nlohmann::json;

// The bytes of a name: those of its second member if the name is not text (Json::SetName).
std::string NameIn(const Members& members, const std::string& name) {
    const auto exact = members.find(name + "Base64");
    if (exact == members.end()) return members.at(name).get<std::string>();
    return host::BytesOfBase64(exact->get<std::string>());
}

FileFacts FactsIn(const Members& members, const std::string& name) {
    FileFacts facts;
    facts.size = members.value(name + "Size", std::int64_t{-1});
    facts.time = members.value(name + "Time", std::int64_t{0});
    facts.hash = members.value(name + "Hash", std::string());
    return facts;
}

}  // namespace

std::optional<ReportLine> ReadReportLine(const std::string& text) {
    try {
        const Members members = Members::parse(text);
        ReportLine line;
        line.input = NameIn(members, "input");
        line.output = NameIn(members, "output");
        line.outcome = members.at("outcome").get<std::string>();
        line.error = members.value("error", std::string());
        line.inputFacts = FactsIn(members, "input");
        line.outputFacts = FactsIn(members, "output");
        line.seconds = members.value("seconds", 0.0);
        line.ended = members.value("ended", std::string());
        line.run = {members.value("recipe", std::string()), members.value("build", std::string()),
                    members.value("instructionSet", std::string())};
        return line;
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}
