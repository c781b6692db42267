// waiver.cpp - reads waivers and applies them. Dates are compared as texts, which their form allows.

#include "host/checker/waiver.h"

#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "host/checker/runner.h"
#include "host/runtime/errors.h"

namespace checker {

namespace {

bool IsDate(const std::string& text) {
    int year = 0, month = 0, day = 0, end = 0;
    if (text.size() != 10 || std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &year, &month, &day, &end) != 3 || end != 10) {
        return false;
    }
    return std::chrono::year_month_day(std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                       std::chrono::day(static_cast<unsigned>(day)))
        .ok();
}

Waiver WaiverIn(const std::string& line, const std::string& place) {
    Waiver waiver;
    std::istringstream words(line);
    words >> waiver.check >> waiver.until >> std::ws;
    std::getline(words, waiver.reason);
    waiver.reason.erase(waiver.reason.find_last_not_of(" \t\r") + 1);
    if (!IsDate(waiver.until)) {
        throw host::HostError(place, "'" + waiver.until +
                                         "' is not a date, expected a check, a date such as "
                                         "2027-03-31 and a reason; nothing was checked");
    }
    if (waiver.reason.empty()) throw host::HostError(place, "it gives no reason; nothing was checked");
    try {
        static_cast<void>(SelectedChecks({waiver.check}));
    } catch (const host::HostError& error) {
        throw host::HostError(place, std::string(error.what()) + "; nothing was checked");
    }
    return waiver;
}

}  // namespace

std::vector<Waiver> ReadWaivers(const std::filesystem::path& file) {
    std::ifstream stream(file);
    if (!stream) throw host::HostError(file.string(), "it cannot be read; nothing was checked");
    std::vector<Waiver> waivers;
    int number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        const std::size_t begin = line.find_first_not_of(" \t\r");
        if (begin == std::string::npos || line[begin] == '#') continue;
        waivers.push_back(WaiverIn(line, file.string() + ":" + std::to_string(number)));
    }
    return waivers;
}

std::string Today() {
    const std::chrono::year_month_day today(std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now()));
    char text[16];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(today.year()),
                  static_cast<unsigned>(today.month()), static_cast<unsigned>(today.day()));
    return text;
}

void ApplyWaivers(const std::vector<Waiver>& waivers, const std::string& today, CheckResult& result) {
    if (result.verdict == Verdict::kSkipped) return;
    for (const Waiver& waiver : waivers) {
        if (!IsSelectedBy(waiver.check, result.group, *result.check)) continue;
        if (waiver.until < today) {
            if (result.verdict != Verdict::kCrashed) result.verdict = Verdict::kFailed;
            result.findings.insert(result.findings.begin(), {"", "no waiver that has expired",
                                                             "one until " + waiver.until + ": " + waiver.reason});
        } else if (IsBad(result.verdict)) {
            result.verdict = Verdict::kWaived;
            result.reason = "until " + waiver.until + ": " + waiver.reason;
        }
        return;
    }
}

}  // namespace checker
