// script.h - a program in Lua that uses the host's classes.
//
//   host::script::Script script(host);
//   script.RunFile("blur.lua", {"photo.jpg", "out.png"});
//
// Lifetime: ends before the Host. All references that the program still holds are given back at its end.
// Failure:  ScriptError. What the program did before that stays done.
// Threads:  the host's thread.

#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

#include "host/script/lua.h"

namespace host {
class Host;
}

namespace host::script {

// An error that the program let out, or one that kept it from beginning: what() is its text, with the line in front.
class ScriptError : public std::runtime_error {
  public:
    ScriptError(const std::string& text, std::string traceback)
        : std::runtime_error(text), traceback_(std::move(traceback)) {}

    // The calls that were running, in lines under a heading; empty when there were none.
    const std::string& Traceback() const { return traceback_; }

  private:
    std::string traceback_;
};

class Script {
  public:
    // A Lua of its own, with Lua's libraries and the host's classes. Host must be the current one.
    explicit Script(Host& host);

    // Runs a file, "-" for standard input, with its arguments in "..." and in the table arg. Its require finds what lies
    // beside it.
    void RunFile(const std::string& path, std::span<const std::string> arguments = {});

    // Runs a text; errors call it by the name.
    void RunText(const std::string& text, const std::string& name, std::span<const std::string> arguments = {});

  private:
    struct Closing {
        void operator()(lua_State* lua) const { lua_close(lua); }
    };

    // Runs what loading has left on the stack: a function, or the reason for having none.
    void Run(int loadStatus, std::span<const std::string> arguments);

    std::unique_ptr<lua_State, Closing> lua_;
};

}  // namespace host::script
