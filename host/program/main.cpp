// main.cpp - the entry point of zeva.

#include "host/program/command_line.h"

int main(int argumentCount, char** arguments) { return RunCommandLine(argumentCount, arguments); }
