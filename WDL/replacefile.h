#pragma once
// Replacing a file without ever leaving it half-written: the new content
// goes to a temporary file beside it, is flushed to the disk, and only then
// renamed over the old one in one step. Whatever fails (a full disk, a
// file-size limit, a folder that cannot be written, a stop), the old file
// stays byte for byte and no temporary file is left behind. Every file the
// program writes goes this way: programs, banks, settings, renders.
//
// The rules, the same for every writer: through a chain of symbolic links
// the final target is replaced, and a dangling link makes the file it names;
// an existing file keeps its permission bits, a new one gets 0666 under the
// umask; a target that is a folder or anything but a regular file is
// refused. Any thread, one writer per replacer.

#include <cstddef>
#include <string>

class WDL_FileReplacer
{
public:
  // Opens the temporary file: tempPath names it (made afresh, replacing a
  // stale one), null picks a unique hidden name beside the target. Check
  // Ok(); errno says why not.
  explicit WDL_FileReplacer(const char* path, const char* tempPath = nullptr);
  // Aborts unless committed.
  ~WDL_FileReplacer();
  WDL_FileReplacer(const WDL_FileReplacer&) = delete;
  WDL_FileReplacer& operator=(const WDL_FileReplacer&) = delete;

  bool Ok() const { return m_fd >= 0; }
  // The temporary file's descriptor, for a writer of its own (a sound file
  // library); it stays the replacer's to close.
  int Fd() const { return m_fd; }
  // The file that Commit replaces, links resolved.
  const std::string& Target() const { return m_target; }
  const std::string& TempPath() const { return m_temp; }

  // False with errno on a short or failed write.
  bool Write(const void* data, size_t size);
  // Flushes, closes and renames over the target. False with errno, the
  // target untouched and the temporary file gone.
  bool Commit();
  // Closes and removes the temporary file; the target stays as it was.
  void Abort();

private:
  std::string m_target, m_temp;
  int m_fd = -1;
  bool m_exists = false;
  unsigned int m_mode = 0;
};

// The whole content at once. False on failure, with errno saying why.
bool WDL_ReplaceFile(const char* path, const void* data, size_t size, const char* tempPath = nullptr);

// The final target of a chain of symbolic links; a name that is no link
// stays as it is, and a dangling link names the file it would make. Empty
// when the chain loops or runs too deep (errno ELOOP).
std::string WDL_ResolveLinks(const std::string& path);
