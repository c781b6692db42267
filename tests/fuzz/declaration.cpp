// declaration.cpp - the declarations of members in class records. What is accepted must fit the calls that are made of
// it.

#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/runtime/declaration.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length) {
    try {
        const host::Declaration declaration =
            host::ParseDeclaration(std::string_view(reinterpret_cast<const char*>(bytes), length));
        if (declaration.name.empty() || declaration.parameters.size() > host::kMaximumParameters) std::abort();
        static_cast<void>(host::ParameterText(declaration));
    } catch (const host::DeclarationError&) {
    }
    return 0;
}
