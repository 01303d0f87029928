#pragma once
// Where the application's resources (resources/img/*.png) are: the first of
// $VELTRA_RESOURCES, <exe dir>/../share/veltra and <exe dir> that holds a
// resources/img folder. A VELTRA_RESOURCES without one is passed over for
// the installed images, and note says so.

#include <string>

// note: empty, or one line (without a newline) on a VELTRA_RESOURCES that
// was passed over. When no candidate holds the images, the first of the
// installed places that exists (the one a user would look in).
std::string SWELL_FindResourceRoot(std::string* note);

// Finds the root once, prints the note on standard error and hands the root
// to the raster library's named resources. Called at the application's
// start.
void SWELL_InitResourceRoot();
