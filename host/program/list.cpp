// list.cpp - "zeva list": the classes that the modules register.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

#include "host/runtime/errors.h"
#include "host/description/class_description.h"
#include "host/program/commands.h"

namespace {

using host::Host;

// A class in a line of the list.
struct Row {
    std::string shortName;  // of a filter, else empty
    std::string className;
    std::string displayName;
    std::string category;
};

Row RowOf(Host& session, const host::Class& isa) {
    if (!IsFilter(isa)) return {{}, isa.Name(), {}, {}};
    const Json json = ClassJson(session, isa);
    return {json["filter"], isa.Name(), json["displayName"], json["category"]};
}

void List(const SessionOptions& options, const std::string& category, bool all, bool json) {
    const auto session = OpenSession(options);
    std::vector<Row> rows;
    for (const host::Class* isa : session->Classes().All()) {
        session->Classes().Linked(isa->Name());
        Row row = RowOf(*session, *isa);
        const bool isWanted = row.shortName.empty() ? all : category.empty() || row.category == category;
        if (isWanted) rows.push_back(std::move(row));
    }
    if (rows.empty() && !category.empty()) throw host::HostError("--category", "no filter is in '" + category + "'");
    std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.category < b.category; });
    if (json) {
        Json list = Json::array();
        for (const Row& row : rows) {
            list.push_back({{"class", row.className},
                            {"filter", row.shortName},
                            {"displayName", row.displayName},
                            {"category", row.category}});
        }
        std::printf("%s\n", list.dump(2).c_str());
        return;
    }
    for (const Row& row : rows) {
        const std::string& name = row.shortName.empty() ? row.className : row.shortName;
        if (row.category.empty()) {
            std::printf("%s\n", name.c_str());
        } else {
            std::printf("%-30s  %-20s  %s\n", name.c_str(), row.category.c_str(), row.displayName.c_str());
        }
    }
}

}  // namespace

void AddList(CLI::App& program, const SessionOptions& session) {
    CLI::App* list = program.add_subcommand("list", "Lists the filters: name, category, title.");
    const auto category = std::make_shared<std::string>();
    const auto all = std::make_shared<bool>(false);
    const auto json = std::make_shared<bool>(false);
    list->add_option("--category", *category, "only the filters of a category, such as Blur");
    list->add_flag("--all", *all, "the other classes too");
    list->add_flag("--json", *json, "as JSON");
    list->callback([=, &session] { List(session, *category, *all, *json); });
}
