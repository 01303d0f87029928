#pragma once
// Base64 with the standard alphabet, for preset blobs in source code.

// Decodes until the first character outside the alphabet ("=", a blank, a
// line end) or until destSize bytes are written; returns the bytes written.
int base64decode(const char* src, unsigned char* dest, int destSize);
// Encodes srcSize bytes with "=" padding and terminates dest, which needs
// 4 * ((srcSize + 2) / 3) + 1 bytes.
void base64encode(const unsigned char* src, char* dest, int srcSize);
