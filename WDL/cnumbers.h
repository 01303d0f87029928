#pragma once
// Numbers as text the same way everywhere: "0.50", never "0,50", whatever
// LC_NUMERIC the user's desktop sets (GTK puts the user's locale in force
// at start, and a plug-in host may have done the same). Safe on any thread:
// the C locale is switched on for the calling thread only, for the length
// of the call.

#include <cstddef>

// snprintf in the C locale.
int WDL_snprintf_c(char* buf, size_t size, const char* fmt, ...) __attribute__((format(printf, 3, 4)));
// strtod in the C locale; end as strtod's.
double WDL_strtod_c(const char* text, char** end = nullptr);
