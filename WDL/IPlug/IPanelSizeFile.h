#pragma once
// The panel size the user chose, kept per user in the options file of the
// settings folder, beside the controllers' file:
//   [view]
//   size = 150 %
// The application and the plug-ins read and write the same line; a sound's
// state never holds it. The file's other lines (the application's own
// options) are kept as they are when the size is written. Also the reading
// of such a file's lines, which the application's options share.

#include <functional>
#include <string>

// The user's settings folder with a closing slash: $XDG_CONFIG_HOME/VELTRA/
// when that is set and absolute, else $HOME/.config/VELTRA/; empty without a
// usable home folder (a HOME that does not exist).
std::string UserSettingsFolder();
// options.ini in it; empty without it.
std::string UserOptionsPath();

// Each "key = value" line of an options text, in order: the [section] it
// lies in ("" before any), its key, its value (both trimmed; a ";" starts a
// comment) and its line number from 1.
void ForEachOption(const std::string& text, const std::function<void(const std::string& section, const std::string& key,
                                                                     const std::string& value, int line)>& each);

// The text's [view] size, one of kPanelSizes; 0 when it names none (no such
// line, or a size not offered, which is then one line of *complaint).
int PanelSizeInText(const std::string& text, std::string* complaint = nullptr);
// The text with key set to value in its [section] (the line replaced, or
// added at the section's end, or the section added at the text's end), every
// other line kept.
std::string WithOption(const std::string& text, const std::string& section, const std::string& key,
                       const std::string& value);

// The file's text: empty when it is missing, not a regular file or larger
// than an options file can be (64 KiB); false then, but for a missing one.
bool ReadOptionsFile(const std::string& path, std::string* text);
// The size chosen in the file at path; 0 when none.
int ReadChosenPanelSize(const std::string& path);
// Sets the file's size line, making its folder when needed; false, with
// errno, when it could not be written.
bool WriteChosenPanelSize(const std::string& path, int percent);
