#pragma once
// Opening a file for reading only when it is a regular file: a FIFO, a
// device or a socket in place of a file would block the reader for good or
// never end, and a folder is no file. Never blocks on the open itself.

#include <cstdio>

// The stream of a regular file, read from its start; null with errno (EINVAL
// for anything but a regular file) otherwise.
FILE* WDL_OpenRegularFile(const char* path, const char* mode = "rb");
