// list.cpp - "zeva list": lists the classes that the modules register.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "host/description/class_description.h"
#include "host/program/commands.h"
#include "host/runtime/errors.h"
#include "host/runtime/json.h"

namespace {

struct Request {
    std::string category;
    bool all = false;
    bool json = false;
};

// One line of the list.
struct Row {
    std::string className;
    FilterTitle title;  // its fields are empty for a class that is not a filter
};

// The filters, and with --all the other classes, sorted by category.
std::vector<Row> RowsOf(host::Host& host, const Request& request) {
    std::vector<Row> rows;
    for (const host::Class* isa : host.Classes().All()) {
        host.Classes().Linked(isa->Name());
        if (!IsFilter(*isa)) {
            if (request.all) rows.push_back({isa->Name(), {}});
            continue;
        }
        const FilterTitle title = TitleOf(host, *isa);
        if (request.category.empty() || request.category == title.category) rows.push_back({isa->Name(), title});
    }
    const auto byCategory = [](const Row& a, const Row& b) { return a.title.category < b.title.category; };
    std::stable_sort(rows.begin(), rows.end(), byCategory);
    return rows;
}

void PrintJson(const std::vector<Row>& rows) {
    host::Json list = host::Json::array();
    for (const auto& [className, title] : rows) {
        list.push_back({{"class", className},
                        {"filter", title.name},
                        {"displayName", title.displayName},
                        {"category", title.category}});
    }
    std::printf("%s\n", list.Dump(2).c_str());
}

void PrintText(const std::vector<Row>& rows) {
    for (const auto& [className, title] : rows) {
        if (title.name.empty()) {
            std::printf("%s\n", className.c_str());
        } else {
            std::printf("%-30s  %-20s  %s\n", title.name.c_str(), title.category.c_str(), title.displayName.c_str());
        }
    }
}

int List(const ProgramOptions& options, const Request& request) {
    const auto host = MakeHost(options);
    const std::vector<Row> rows = RowsOf(*host, request);
    if (rows.empty() && !request.category.empty()) {
        throw host::HostError("--category", "no filter has the category '" + request.category + "'");
    }
    (request.json ? PrintJson : PrintText)(rows);
    return kDone;
}

}  // namespace

Command ListCommand() {
    const auto request = std::make_shared<Request>();
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
