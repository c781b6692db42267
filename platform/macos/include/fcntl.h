// fcntl.h - creating a file.

#pragma once

extern "C" int creat(const char* path, unsigned short mode);
