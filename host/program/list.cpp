// list.cpp - "zeva list": lists the classes that the modules register.
//
// The filters of the built modules are listed from a table, without loading the modules.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/description/class_description.h"
#include "host/description/title_table.h"
#include "host/program/commands.h"
#include "host/runtime/errors.h"
#include "host/runtime/json.h"

namespace {

struct ListRequest {
    std::string category;
    bool all = false;
    bool json = false;
};

// One line of the list.
struct Row {
    std::string className;
    FilterTitle title;  // its fields are empty for a class that is not a filter
};

// The classes that the modules register: filters, all classes of added modules, and the others with --all only.
std::vector<Row> LoadedRows(const ProgramOptions& options, const ListRequest& request) {
    const auto host = MakeHost(options);
    const auto added = request.category.empty() ? ClassesOfAddedModules(*host) : std::set<const host::Class*>();
    std::vector<Row> rows;
    for (const host::Class* isa : host->Classes().All()) {
        host->Classes().Linked(isa->Name());
        const bool isFilter = IsFilter(*isa);
        if (isFilter || request.all || added.contains(isa))
            rows.push_back({isa->Name(), isFilter ? TitleOf(*host, *isa) : FilterTitle()});
    }
    return rows;
}

// The filters of the built module, without loading it.
std::vector<Row> BuiltRows() {
    std::vector<Row> rows;
    for (const BuiltTitle& title : kBuiltTitles) {
        rows.push_back({title.className, {title.name, title.displayName, title.category, {}}});
    }
    return rows;
}

// Whether the options leave no difference between what the modules register and the table of their filters.
bool IsBuilt(const ProgramOptions& options) {
    return options.module.empty() && AddedModules(options).empty() && options.trace.empty() &&
           options.hostVersion == ProgramOptions().hostVersion && HasBuiltModules();
}

// The rows of the list, sorted by category.
std::vector<Row> RowsOf(const ProgramOptions& options, const ListRequest& request) {
    std::vector<Row> rows = IsBuilt(options) && !request.all ? BuiltRows() : LoadedRows(options, request);
    if (!request.category.empty()) {
        std::erase_if(
            rows, [&](const Row& row) { return !row.title.name.empty() && row.title.category != request.category; });
    }
    const auto byCategory = [](const Row& a, const Row& b) { return a.title.category < b.title.category; };
    std::stable_sort(rows.begin(), rows.end(), byCategory);
    return rows;
}

void PrintRowsAsJson(const std::vector<Row>& rows) {
    host::Json list = host::Json::MakeArray();
    for (const auto& [className, title] : rows) {
        list.push_back({{"class", className},
                        {"filter", title.name},
                        {"displayName", title.displayName},
                        {"category", title.category}});
    }
    std::printf("%s\n", list.Dump(2).c_str());
}

void PrintRowsAsText(const std::vector<Row>& rows) {
    for (const auto& [className, title] : rows) {
        if (title.name.empty()) {
            std::printf("%s\n", className.c_str());
        } else {
            std::printf("%-30s  %-20s  %s\n", title.name.c_str(), title.category.c_str(), title.displayName.c_str());
        }
    }
}

int List(const ProgramOptions& options, const ListRequest& request) {
    const std::vector<Row> rows = RowsOf(options, request);
    if (rows.empty() && !request.category.empty()) {
        throw host::HostError("--category", "no filter has the category '" + request.category + "'");
    }
    (request.json ? PrintRowsAsJson : PrintRowsAsText)(rows);
    return kDone;
}

}  // namespace

Command ListCommand() {
    const auto request = std::make_shared<ListRequest>();
    return {
        .name = "list",
        .help = "Lists the filters: name, category, title.",
        .arguments =
            {
                {"--category", &request->category, "only the filters of one category, such as Blur"},
                {"--all", &request->all, "the other classes too"},
                {"--json", &request->json, "print JSON"},
            },
        .run = [request](const ProgramOptions& options) { return List(options, *request); },
    };
}
