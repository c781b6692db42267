// waiver.h - known failures: a file that says which checks may fail, until when and why.
//
//   # check             until       reason
//   ownership.reads     2027-03-31  the cache of fonts keeps one string; fixed in 2.1
//   faults.without-*    2027-06-30  the module needs every service of its host
//
// The check is a name, a group or a pattern. A check that fails or crashes under a waiver is waived, through the day
// that it names (UTC). From the next day on the waiver itself is a failure of its checks, whatever they do, so that
// nobody forgets it.
//
// Failure: HostError with the file and the line.
// Threads: any; nothing is shared.

#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace checker {

struct CheckResult;

struct Waiver {
    std::string check;
    std::string until;  // "2027-03-31"
    std::string reason;
};

// Reads a file of waivers. Throws HostError for a line that is not one, and for a name that selects no check.
[[nodiscard]] std::vector<Waiver> ReadWaivers(const std::filesystem::path& file);

// Today's date.
[[nodiscard]] std::string Today();

// Changes the result of a check by the first waiver that names it. The result of a skipped check stays.
void ApplyWaivers(const std::vector<Waiver>& waivers, const std::string& today, CheckResult& result);

}  // namespace checker
