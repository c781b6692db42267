// main.cpp - link_bundle: links an object file for 32-bit macOS into a bundle.
//
// Usage: link_bundle OBJECT OUTPUT
//
// OUTPUT is the bundle's executable, which belongs into a folder with a list of properties.
//
// Failure: one line "link_bundle: OBJECT: section or symbol: the reason"; no output, exit status 1.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <vector>

#include "host/macho/object_error.h"
#include "tools/link_bundle/linker.h"

int main(int count, char** arguments) {
    if (count != 3) {
        std::fputs("usage: link_bundle OBJECT OUTPUT\n", stderr);
        return 2;
    }
    const std::string input = arguments[1];
    const std::string output = arguments[2];
    std::ifstream in(input, std::ios::binary);
    const std::vector<char> object{std::istreambuf_iterator<char>(in), {}};
    if (!in) {
        std::fprintf(stderr, "link_bundle: %s: it cannot be read; nothing is written\n", input.c_str());
        return 1;
    }
    try {
        const linker::Bytes bundle =
            linker::Link(std::span(reinterpret_cast<const unsigned char*>(object.data()), object.size()));
        std::ofstream out(output, std::ios::binary);
        out.write(reinterpret_cast<const char*>(bundle.data()), static_cast<std::streamsize>(bundle.size()));
        if (out.flush()) return 0;
        std::fprintf(stderr, "link_bundle: %s: it cannot be written\n", output.c_str());
        std::remove(output.c_str());
    } catch (const host::macho::ObjectError& error) {
        std::fprintf(stderr, "link_bundle: %s: %s; nothing is written\n", input.c_str(), error.what());
    }
    return 1;
}
