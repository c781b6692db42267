// companion_script_test.h - tests of the companion's members, written as the programs that use them.

#pragma once

#include "host/script/script.h"
#include "tests/companion/companion_test.h"

class CompanionScriptTest : public CompanionTest {
  protected:
    // Runs a script with the words below; refusal calls a function and answers the message that it raises. The script's
    // argument is the test's folder. Answers the text of the error that it let out, empty for none.
    std::string Run(const std::string& text) {
        static constexpr char kWords[] = R"(
            bytes = MemoryBlock.FromBytes
            function near(a, b, tolerance) return math.abs(a - b) <= (tolerance or 1e-6) end
            function refusal(...) return select(2, pcall(...)).message end
            function rectangle(...) return CIVectorQOR.Rectangle(...) end
            function pixels(image) return image:Pixels(image.Extent).Bytes end
        )";
        host::script::Script script(host);
        script.RunText(kWords, "words");
        const std::string folder[] = {Path("")};
        return TextOfError([&] { script.RunText(text, "test", folder); });
    }
};
