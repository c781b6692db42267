// commands.h - the commands of the program.
//
// Each stands in a file of its own name and is added by one function: its options, its help, and the callback that does it.
// A callback throws for a failure, which becomes one line on standard error and status 1. One that has told its failures
// itself throws CLI::RuntimeError(1), which ends the program without a further word.
//
// Adding one: its file, its function here, its line in kCommands (command_line.cpp).

#pragma once

#include <CLI/App.hpp>

#include "host/program/session.h"

// Adds a command to the program. The options of the session are shared by all commands and are read when one runs; they
// outlive the program.
using AddCommand = void(CLI::App& program, const SessionOptions& session);

AddCommand AddApply;
AddCommand AddCheck;
AddCommand AddCompletion;
AddCommand AddDescribe;
AddCommand AddGallery;
AddCommand AddList;
AddCommand AddRun;
AddCommand AddTrace;
