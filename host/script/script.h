// script.h - runs Lua programs that use the host's classes.
//
//   host::script::Script script(host);
//   script.RunFile("blur.lua", {"photo.jpg", "out.png"});
//
// Lifetime: must end before the Host. Its destructor releases all references that the program still holds.
// Failure:  ScriptError. What the program did before that is not undone.
// Threads:  the host's thread.

#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

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

class Script {
  public:
    // Creates a Lua state with the standard libraries and the host's classes. The Host must be the current one.
    explicit Script(Host& host);

    // Runs a file, or standard input if the path is "-". The arguments are in "..." and in the table arg. require
    // searches the folder of the file first.
    void RunFile(const std::string& path, std::span<const std::string> arguments = {});

    // Runs a text. The name identifies it in errors.
    void RunText(const std::string& text, const std::string& name, std::span<const std::string> arguments = {});

  private:
    struct Closing {
        void operator()(lua_State* lua) const { lua_close(lua); }
    };

    // Runs the function that loading left on the stack, or throws the error that it left there.
    void Run(int loadStatus, std::span<const std::string> arguments);

    std::unique_ptr<lua_State, Closing> lua_;
};

}  // namespace host::script
