// script.h - runs Lua programs that use the host's classes.
//
//   host::script::Script script(host);
//   script.RunFile("blur.lua", {"photo.jpg", "out.png"});
//
// Lifetime: must end before the Host. Its destructor releases all references that the program still holds.
// Failure:  ScriptError. What the program did before that is not undone.
// Threads:  the host's thread.

#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

#include "host/script/limits.h"
#include "host/script/lua.h"

namespace host {
class Host;
}

namespace host::script {

// An error that the program did not catch, or that prevented it from starting. what() is its text and begins with the
// line.
class ScriptError : public std::runtime_error {
  public:
    ScriptError(const std::string& text, std::string traceback)
        : std::runtime_error(text), traceback_(std::move(traceback)) {}

    // The stack traceback with its heading; empty if the program did not start.
    const std::string& Traceback() const { return traceback_; }

  private:
    std::string traceback_;
};

// What a script may do.
struct ScriptOptions {
    // Leaves out io, os, package, debug and every way to load files or native code, and lets members use only paths
    // that are among the script's arguments.
    bool isRestricted = false;
    std::size_t memory = 0;   // bytes of Lua's memory; 0 for no limit
    std::uint64_t steps = 0;  // 0 for no limit
};

class Script {
  public:
    // Creates a Lua state with the standard libraries and the host's classes. The Host must be the current one.
    explicit Script(Host& host, const ScriptOptions& options = {});

    // Runs a file, or standard input if the path is "-". The arguments are in "..." and in the table arg. require
    // searches the folder of the file first. The program is text; a precompiled one is refused.
    void RunFile(const std::string& path, std::span<const std::string> arguments = {});

    // Runs a text. The name identifies it in errors.
    void RunText(const std::string& text, const std::string& name, std::span<const std::string> arguments = {});

  private:
    struct Closing {
        void operator()(lua_State* lua) const { lua_close(lua); }
    };

    // Sets the table of arguments, and allows a restricted script their paths.
    void Prepare(const std::string& name, std::span<const std::string> arguments);

    // Runs the function that loading left on the stack, or throws the error that it left there.
    void Run(int loadStatus, std::span<const std::string> arguments);

    const ScriptOptions options_;
    Limits limits_;
    std::unique_ptr<lua_State, Closing> lua_;
};

}  // namespace host::script
