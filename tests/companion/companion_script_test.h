// companion_script_test.h - the fixture for tests of the companion's members that are written as Lua scripts.

#pragma once

#include <string>

#include "host/script/script.h"
#include "tests/companion/companion_test.h"

class CompanionScriptTest : public CompanionTest {
  protected:
    // Runs a script after the helper functions below. The script gets the test's folder as its argument. Returns the
    // text of the error that the script raised; empty for none.
    std::string Run(const std::string& text) {
        static constexpr char kHelpers[] = R"(
            bytes = MemoryBlock.FromBytes
            function near(a, b, tolerance) return math.abs(a - b) <= (tolerance or 1e-6) end
            -- Calls a function that must raise, and returns the message.
            function refusal(...) return select(2, pcall(...)).message end
            function rectangle(...) return CIVectorQOR.Rectangle(...) end
            function pixels(image) return image:Pixels(image.Extent).Bytes end
        )";
        host::script::Script script(host);
        script.RunText(kHelpers, "helpers");
        const std::string folder[] = {Path("")};
        return TextOfError([&] { script.RunText(text, "test", folder); });
    }
};
