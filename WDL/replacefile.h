#pragma once
// Replacing a file without ever leaving it half-written: the new content
// goes to a temporary file beside it, is checked and flushed to the disk,
// and only then renamed over the old one in one step. Whatever fails (a
// full disk, a file-size limit, a folder that cannot be written), the old
// file stays byte for byte and no temporary file is left behind.

#include <cstddef>

// False on failure, with errno saying why. An existing file keeps its
// permissions; through a symbolic link, the file it points at is replaced.
// tempPath names the temporary file (made afresh, replacing any stale one);
// null picks a unique name of the form ".name.<pid>.<n>.tmp" beside path.
bool WDL_ReplaceFile(const char* path, const void* data, size_t size, const char* tempPath = nullptr);
