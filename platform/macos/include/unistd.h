// unistd.h - files and pipes.

#pragma once

#include <stddef.h>

extern "C" {
typedef long ssize_t;
int close(int file);
int pipe(int ends[2]);
ssize_t read(int file, void* bytes, size_t size);
ssize_t write(int file, const void* bytes, size_t size);
}
