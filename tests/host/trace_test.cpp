// trace_test.cpp - the events that a trace records for calls across the boundary. There is no trace by default.

#include "host/runtime/trace.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/runtime/services.h"
#include "interface/services.h"
#include "tests/host/box_class.h"
#include "tests/host/host_test.h"
#include "tests/support/read_file.h"

namespace {

using host::Value;

class TraceTest : public testing::Test {
  protected:
    TraceTest() {
        host = std::make_unique<host::Host>(host::HostOptions{.report = [](const std::string&) {}, .trace = file});
        host->Classes().Register(&kBoxClass.record);
    }
    ~TraceTest() override { std::filesystem::remove(file); }

    // The events as text: "B set Box.Number [2.0]", "E 3.0", "E". While the host runs, the list in the file is not
    // closed.
    std::vector<std::string> Events(bool hasEnded = false) {
        const std::string text = ReadFile(file);
        std::vector<std::string> lines;
        double before = 0;
        for (const nlohmann::json& event : nlohmann::json::parse(hasEnded ? text : text + "]")) {
            EXPECT_GE(event["ts"].get<double>(), before);
            before = event["ts"];
            EXPECT_EQ(event["pid"], getpid());
            std::string line = event["ph"];
            if (event.contains("name")) line += " " + event["name"].get<std::string>();
            const nlohmann::json arguments = event.value("args", nlohmann::json::object());
            for (const char* key : {"arguments", "result", "raised"}) {
                if (arguments.contains(key)) line += " " + arguments[key].dump();
            }
            lines.push_back(line);
        }
        return lines;
    }

    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("trace-" + std::to_string(getpid()) + ".json");
    std::unique_ptr<host::Host> host;
};

TEST_F(TraceTest, RecordsMembersWithArgumentsAndResult) {
    const host::ObjectReference box = host->NewInstance("Box");
    host->Set(box.Get(), "Number", 2.5);
    host->Get(box.Get(), "Number");
    const Value sum[] = {3, 4};
    host->CallShared("Box", "Add", sum);
    host->Call(box.Get(), "Clear");
    EXPECT_EQ(Events(), (Messages{"B set Box.Number [2.5]", "E", "B get Box.Number []", "E 2.5", "B Box.Add [3,4]",
                                  "E 7", "B Box.Clear []", "E"}));
}

TEST_F(TraceTest, RecordsTheClassOfAnException) {
    const host::ObjectReference box = host->NewInstance("Box");
    const Value message[] = {host::TextValue("no")};
    EXPECT_THROW(host->Call(box.Get(), "Fail", message), host::HostException);
    const std::vector<std::string> events = Events();
    EXPECT_EQ(events.front(), "B Box.Fail [\"no\"]");
    EXPECT_NE(std::find(events.begin(), events.end(), "E \"RuntimeException\""), events.end());
}

TEST_F(TraceTest, RecordsServicesInsideTheCallThatUsesThem) {
    auto newInstance = service::Resolve<service::PluginNewInstance>(&host::ResolveTracedService);
    auto version = service::Resolve<service::ZEVAGetZVVersion>(&host::ResolveTracedService);
    EXPECT_EQ(version(), 2013.03);
    EXPECT_EQ(newInstance("Nothing"), nullptr);
    host::Unlock(newInstance("Box"));
    const std::vector<std::string> events = Events();
    ASSERT_EQ(events.size(), 8u);
    EXPECT_EQ(events[0], "B ZEVAGetZVVersion []");
    EXPECT_EQ(events[1], "E 2013.03");
    EXPECT_EQ(events[2], "B PluginNewInstance [\"Nothing\"]");
    EXPECT_EQ(events[3], "E null");
    EXPECT_EQ(events[5].substr(0, 7), "E \"Box ");
    EXPECT_EQ(events[6], "B finalize Box");
}

TEST_F(TraceTest, DoesNotShowTheBytesOfANewString) {
    auto buildString = service::Resolve<service::ZEVABuildString>(&host::ResolveTracedService);
    const char unterminated[] = {'a', 'b'};
    host::Unlock(buildString(unterminated, 2));
    EXPECT_EQ(Events().front(), "B ZEVABuildString [\"bytes\",2]");
}

TEST_F(TraceTest, EachServiceHasItsOwnTracedVersion) {
    for (const host::Service& service : host::Services()) {
        EXPECT_EQ(host::ResolveService(service.name), service.entry);
        EXPECT_EQ(host::ResolveTracedService(service.name), service.tracedEntry);
        EXPECT_NE(service.entry, service.tracedEntry);
    }
    EXPECT_EQ(host::ResolveTracedService("none"), nullptr);
    EXPECT_EQ(host::ResolveTracedService(nullptr), nullptr);
}

TEST_F(TraceTest, ShowsBytesOfAnyEncoding) {
    const host::ObjectReference box = host->NewInstance("Box");
    host->Set(box.Get(), "Text",
              host::TextValue("a\"\n\xff"
                              "bbb"));
    EXPECT_EQ(Events()[0],
              "B set Box.Text [{\"base64\":\"YSIK/2JiYg==\",\"text\":\"a\\\"\\n\xEF\xBF\xBD"
              "bbb\"}]");
}

TEST_F(TraceTest, CutsALongStringBetweenCharacters) {
    const host::ObjectReference box = host->NewInstance("Box");
    host->Set(box.Get(), "Text", host::TextValue(std::string(199, 'b') + "\u00fc"));
    EXPECT_EQ(Events()[0], "B set Box.Text [\"" + std::string(199, 'b') + "...\"]");
}

TEST(TraceFileTest, AFullDiskIsReportedOnce) {
    Messages lost;
    {
        host::Host host(
            {.trace = "/dev/full", .onLostTrace = [&](const std::string& message) { lost.push_back(message); }});
        host.Classes().Register(&kBoxClass.record);
        host.NewInstance("Box");
        host.NewInstance("Box");
    }
    EXPECT_EQ(lost, Messages{"trace /dev/full: no space left on device; the trace is incomplete"});
}

TEST_F(TraceTest, TheHostClosesTheListWhenItEnds) {
    host->NewInstance("Box");
    host.reset();
    EXPECT_EQ(Events(true), (Messages{"B finalize Box", "E"}));
}

TEST(TraceFileTest, AnUnwritableFileIsAnErrorBeforeAnythingRuns) {
    EXPECT_EQ(TextOfError([] { host::Host host({.trace = "/none/trace.json"}); }),
              "trace /none/trace.json: no such file or directory; nothing is run");
    host::Host another;  // the failed constructor left no host behind
    EXPECT_EQ(another.Tracing(), nullptr);
}

}  // namespace
