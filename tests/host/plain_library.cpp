// plain_library.cpp - a library that is no module.

extern "C" int PlainFunction() { return 0; }
