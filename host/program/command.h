// command.h - a command of the program as data: its name, its help, its arguments, and the function that runs it.
//
// Commands include this header only. command_line.cpp alone includes the argument parser, which takes several seconds
// to compile, and hands the data to it.
//
// Lifetime: arguments point into a request that the command's `run` shares; both live as long as the command.
// Failure:  `run` throws for a failure, which becomes one line on standard error and a status (exit_status.h). A
// command
//           that has already printed its failures returns the status instead.
// Threads:  the program's main thread.

#pragma once

#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "host/program/exit_status.h"
#include "host/program/program_host.h"

// One argument of a command.
struct Argument {
    // The variable that receives the value. Its value before parsing is the default; the help shows the default of
    // numbers.
    using Target = std::variant<bool*, double*, unsigned*, std::string*, std::vector<std::string>*>;

    std::string names;  // "FILE" for a positional argument, "-o,--output" or "--json" for an option
    Target target;
    std::string help;
    bool isRequired = false;
    bool isPositive = false;        // a number that must be above 0
    bool mayBeEmpty = false;        // an option whose command says what is missing when its text is empty
    std::string excludes = {};      // an option declared earlier that cannot be combined with this one
    std::string defaultValue = {};  // the text of an option without a value, which is then given as --option=value
};

struct Command {
    std::string name;
    std::string help;
    std::vector<Argument> arguments;
    std::function<int(const ProgramOptions&)> run;  // returns the exit status
    std::string usage = {};                         // replaces the generated usage line
    std::string footer = {};                        // replaces the footer that the commands share
    bool endsOptionsAtFirstWord = false;            // options after the first positional argument are positional too
    bool isHidden = false;                          // missing from the help
};

// The footer that the help of the program and of its commands share.
inline constexpr const char* kSharedFooter =
    "--host-version, --memory, --module, --pixel-limit and --trace apply to every command (zeva --help).\n"
    "Exit status: 0 done, 1 a picture or a script failed, 2 wrong arguments, 3 disk, memory or an output failed.\n"
    "Standard error has the reason.";
