#pragma once
// The private-profile functions on plain text files of [sections] and
// key=value lines. Each file is held parsed in a cache of 32; reads cost a
// stat and two sorted look-ups, and every change rewrites the whole file
// through a temporary file and a rename. Section and key names compare
// without case. Any thread may call; one lock covers the whole store.

int GetPrivateProfileString(const char* section, const char* key, const char* def, char* out, int outlen,
                            const char* fn);
int GetPrivateProfileInt(const char* section, const char* key, int def, const char* fn);
int GetPrivateProfileSection(const char* section, char* out, int outlen, const char* fn);
// A null value deletes the key, a null key deletes the section. Writes
// nothing when the key already holds exactly this value. The file is
// replaced whole, never half-written; false, with errno, when that failed
// (the old file stays as it was).
bool WritePrivateProfileString(const char* section, const char* key, const char* value, const char* fn);
bool WritePrivateProfileSection(const char* section, const char* strings, const char* fn);
// A struct is stored as upper-case hex, two digits a byte, and two digits
// of checksum (the byte sum modulo 256).
bool GetPrivateProfileStruct(const char* section, const char* key, void* buf, int bufsz, const char* fn);
bool WritePrivateProfileStruct(const char* section, const char* key, const void* buf, int bufsz, const char* fn);

void lstrcpyn_safe(char* dest, const char* src, int n);
// Drops blanks and tabs at both ends, then one pair of enclosing quotes.
void lstrcpyn_trimmed(char* dest, const char* src, int n);
