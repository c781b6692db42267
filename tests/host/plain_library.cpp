// plain_library.cpp - a library that is not a module.

extern "C" int PlainFunction() { return 0; }
