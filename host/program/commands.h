// commands.h - the commands of the program. Each is defined in a file of its own name.
//
// Adding one: its file, its function here, its line in Commands() (command_line.cpp).

#pragma once

#include "host/program/command.h"
#include "host/worker/role.h"

[[nodiscard]] Command ApplyCommand();
[[nodiscard]] Command CheckCommand();
[[nodiscard]] Command CompletionCommand();
[[nodiscard]] Command DescribeCommand();
[[nodiscard]] Command GalleryCommand();
[[nodiscard]] Command ListCommand();
[[nodiscard]] Command NewModuleCommand();
[[nodiscard]] Command RecipeCommand();
[[nodiscard]] Command ReportCommand();
[[nodiscard]] Command RunCommand();
[[nodiscard]] Command StudioCommand();
[[nodiscard]] Command TraceCommand();

// The hidden command of worker processes, and the roles of those that commands start.
[[nodiscard]] Command WorkerCommand();
[[nodiscard]] worker::Role ApplyRole();
[[nodiscard]] worker::Role GalleryRole();
[[nodiscard]] worker::Role StudioRole();

// The hidden command that the completion script calls. It completes the names and options of the given commands and the
// given options of the program.
[[nodiscard]] Command CompleteCommand(std::vector<Command> commands, std::vector<Argument> programArguments);
