// script_test.h - the fixture of the script tests: a host with the class Box, in which scripts run.

#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/script/script.h"
#include "tests/host/box_class.h"
#include "tests/host/host_test.h"

class ScriptTest : public HostTest {
  protected:
    ScriptTest() { host.Classes().Register(&kBoxClass.record); }

    // A script must not leave any object or string behind.
    ~ScriptTest() override {
        EXPECT_EQ(host.LiveObjects(), 0);
        EXPECT_EQ(host.LiveStrings(), 0);
    }

    // Runs a text as the script "test". Returns the text of the error that it did not catch; empty if there is none.
    std::string Run(const std::string& text) {
        host::script::Script script(host);
        return TextOfError([&] { script.RunText(text, "test"); });
    }

    // Runs a line after one that makes a Box called box. Returns the line's error without its place.
    std::string ErrorOf(const std::string& line) {
        const std::string text = Run("box = Box()\n" + line);
        const std::string place = "test:2: ";
        return text.starts_with(place) ? text.substr(place.size()) : "(elsewhere) " + text;
    }
};
