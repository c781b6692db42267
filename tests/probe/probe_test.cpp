// probe_test.cpp - the probe finds nothing in our host, and in each faulty host the one fault that it has.
//
// Every test runs the program judge_host.lua and reads the report from the file, which no fault can change. Each has a
// process of its own, because a module is loaded once per process.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "host/runtime/module.h"
#include "host/script/script.h"
#include "tests/probe/faults.h"
#include "tests/probe/faulty_host.h"
#include "tests/support/path_from_environment.h"

namespace {

namespace fs = std::filesystem;

using Names = std::vector<std::string>;

// The checks of the list: names, and the words of the interface that they judge.
struct Listed {
    std::string name;
    std::string header;
    std::string words;
};
const Listed listed[] = {
#define CHECK(function, name, rule, header, words, needs) {name, header, words},
#include "probe/checks.def"
};

std::string TextOf(const fs::path& path) {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// A host of a version that the probe has judged, with the faults that are installed.
class Judged {
  public:
    explicit Judged(double version = kNewestHostVersion, int loads = 1) {
        setenv("ZEVA_PROBE_REPORT", file_.c_str(), /*overwrite=*/1);
        host::Host host({.version = version, .report = [](const std::string&) {}});
        const fs::path module = PathFromEnvironment("ZEVA_PROBE_MODULE", ZEVA_PROBE_MODULE);
        if (loads == 1) {
            host.LoadModule(module, faulty::Resolve);
        } else {
            const host::EntryPoint load = host::LoadEntryPoint(module);
            for (int i = 0; i < loads; ++i) load(faulty::Resolve);
        }
        faulty::isLoaded = true;
        RunProgram(host);
        ReadReport(host);
        json_ = nlohmann::json::parse(TextOf(file_), nullptr, /*allow_exceptions=*/false);
        fs::remove(file_);
    }

    bool HasReport() const { return json_.is_object(); }

    // How the program failed; empty if it ended with status 0.
    const std::string& Error() const { return error_; }

    // The names of the checks with a verdict.
    Names With(const std::string& verdict) const {
        Names names;
        for (const auto& check : json_["checks"]) {
            if (check["verdict"] == verdict) names.push_back(check["name"]);
        }
        return names;
    }

  private:
    // The program prints nothing here, and does not end the process. A faulty host may not run it to its end.
    void RunProgram(host::Host& host) {
        host::script::Script script(host);
        script.RunText("function io.write() end  function os.exit(ok) assert(ok, 'status 1') end", "test");
        try {
            script.RunFile(ZEVA_JUDGE_PROGRAM);
        } catch (const host::script::ScriptError& error) {
            error_ = error.what();
        }
    }

    // Reading a property of a report runs the checks.
    static void ReadReport(host::Host& host) {
        if (host.Classes().Find("ProbeReportQOR") == nullptr) return;
        const host::ObjectReference report = host.Construct("ProbeReportQOR");
        static_cast<void>(host.Get(report.Get(), "Failed"));
    }

    const fs::path file_ = fs::path(testing::TempDir()) / ("probe_report_" + std::to_string(getpid()));
    nlohmann::json json_;
    std::string error_;
};

// The name of a test for a check or a service.
std::string TestName(std::string name) {
    for (char& c : name) {
        if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
    }
    return name;
}

class RecordVersionTest : public testing::TestWithParam<std::pair<double, std::string>> {};

TEST_P(RecordVersionTest, OurHostPassesEveryCheckButThoseOfOtherVersions) {
    const auto& [hostVersion, own] = GetParam();
    const Judged judged(hostVersion);
    EXPECT_EQ(judged.Error(), "");
    EXPECT_EQ(judged.With("failed"), Names());
    Names others = {"records.version-9", "records.version-10", "records.version-11", "records.version-12"};
    std::erase(others, own);
    EXPECT_EQ(judged.With("skipped"), others);
    EXPECT_EQ(judged.With("passed").size(), std::size(listed) - others.size());
}

INSTANTIATE_TEST_SUITE_P(Each, RecordVersionTest,
                         testing::Values(std::pair(2011.0, "records.version-9"),
                                         std::pair(2012.5, "records.version-10"),
                                         std::pair(2013.02, "records.version-11"),
                                         std::pair(2013.03, "records.version-12")),
                         [](const auto& test) { return TestName(test.param.second); });

// All faults by the names of their checks.
const std::map<std::string, faulty::Fault>& Faults() {
    static const auto* const faults = [] {
        auto* all = new std::map<std::string, faulty::Fault>;
        for (const auto& list : {faulty::kLoadFaults, faulty::kStringFaults, faulty::kObjectFaults,
                                 faulty::kBlockFaults, faulty::kProgramFaults}) {
            for (const faulty::Fault& fault : list) EXPECT_TRUE(all->emplace(fault.check, fault).second) << fault.check;
        }
        return all;
    }();
    return *faults;
}

Names NamesOfChecks() {
    Names names;
    for (const Listed& check : listed) names.push_back(check.name);
    return names;
}

class FaultyHostTest : public testing::TestWithParam<std::string> {};

TEST_P(FaultyHostTest, OnlyTheCheckOfThisNameFails) {
    const std::string& check = GetParam();
    const faulty::Fault& fault = Faults().at(check);
    fault.install();
    const Judged judged(fault.version, check == "load.called-once" ? 2 : 1);
    ASSERT_TRUE(judged.HasReport());
    EXPECT_EQ(judged.With("failed"), Names{check});
    EXPECT_NE(judged.Error(), "");
}

INSTANTIATE_TEST_SUITE_P(Each, FaultyHostTest, testing::ValuesIn(NamesOfChecks()),
                         [](const auto& test) { return TestName(test.param); });

Names NamesOfServices() {
    Names names;
    for (const host::Service& service : host::Services()) names.emplace_back(service.name);
    return names;
}

class MissingServiceTest : public testing::TestWithParam<std::string> {};

TEST_P(MissingServiceTest, SkipsChecksAndFailsNone) {
    const std::string& missing = GetParam();
    faulty::replacedResolver = [=](const char* name) { return name == missing ? nullptr : faulty::FindService(name); };
    const Judged judged;
    // Without classes there is no report.
    ASSERT_EQ(judged.HasReport(), missing != "PluginRegisterClass");
    if (!judged.HasReport()) return;
    EXPECT_EQ(judged.With("failed"), missing == "RegisterPluginVersion" ? Names{"load.can-announce"} : Names());
}

INSTANTIATE_TEST_SUITE_P(Each, MissingServiceTest, testing::ValuesIn(NamesOfServices()),
                         [](const auto& test) { return test.param; });

class FailingServiceTest : public testing::TestWithParam<std::tuple<std::string, int>> {};

// A host that returns null must not be asked to work with it.
TEST_P(FailingServiceTest, FindsFailuresAndPassesNoNullHandles) {
    std::tie(faulty::failing, faulty::callsBeforeFailing) = GetParam();
    const Judged judged;
    ASSERT_TRUE(judged.HasReport());
    EXPECT_NE(judged.With("failed"), Names());
    EXPECT_EQ(faulty::calledWithNull, std::set<std::string>());
}

Names NamesOfServicesThatCanFail() {
    Names names;
    for (const host::Service& service : host::Services()) {
        if (service.failure == service::Failure::kCanFail) names.emplace_back(service.name);
    }
    return names;
}

INSTANTIATE_TEST_SUITE_P(Each, FailingServiceTest,
                         testing::Combine(testing::ValuesIn(NamesOfServicesThatCanFail()), testing::Values(0, 3, 20)),
                         [](const auto& test) {
                             return std::get<0>(test.param) + "_" + std::to_string(std::get<1>(test.param));
                         });

TEST(Probe, HasNoClassesInSkippedHosts) { EXPECT_FALSE(Judged(2007.010).HasReport()); }

TEST(Checks, EachHasAUniqueNameAndEachFaultACheck) {
    const Names names = NamesOfChecks();
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
    EXPECT_EQ(Faults().size(), names.size());
    EXPECT_GE(names.size(), 40u);
}

TEST(Checks, EachQuotesTheInterface) {
    for (const Listed& check : listed) {
        std::string text = TextOf(fs::path(ZEVA_INTERFACE) / check.header);
        text = std::regex_replace(text, std::regex("\\n *//"), " ");
        text = std::regex_replace(text, std::regex(" +"), " ");
        EXPECT_NE(text.find(check.words), std::string::npos) << check.name << ": " << check.words;
    }
}

}  // namespace
