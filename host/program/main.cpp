// main.cpp - where the program zeva begins.

#include "host/program/command_line.h"

int main(int argumentCount, char** arguments) { return RunCommandLine(argumentCount, arguments); }
