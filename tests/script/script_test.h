// script_test.h - what the tests of scripts share: a host with the class Box, and scripts that are run in it.

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

    // Whatever a script did, nothing of it is left.
    ~ScriptTest() override {
        EXPECT_EQ(host.LiveObjects(), 0);
        EXPECT_EQ(host.LiveStrings(), 0);
    }

    // Runs a script of its own, called "test"; answers the text of the error that it let out, empty for none.
    std::string Run(const std::string& text) {
        host::script::Script script(host);
        return TextOfError([&] { script.RunText(text, "test"); });
    }

    // The error in a script's second line, without the place; the first line makes a Box called box.
    std::string ErrorOf(const std::string& line) {
        const std::string text = Run("box = Box()\n" + line);
        const std::string place = "test:2: ";
        return text.starts_with(place) ? text.substr(place.size()) : "(elsewhere) " + text;
    }
};
