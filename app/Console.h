#pragma once
// VELTRA's console lines. A thread of their own writes them to standard
// output (or error), so that a console nobody reads, a pipe that fills up,
// never stops the program: the main loop goes on, and a signal still ends
// it. Lines that find the queue full (64 KiB waiting) are dropped and
// counted, and the count is said once there is room again. Any thread but
// the audio and MIDI threads, which print nothing.

// One line, or several, as printf formats them.
void Say(const char* fmt, ...)
#ifdef __GNUC__
    __attribute__((format(printf, 1, 2)))
#endif
    ;
// Text for standard error, as it stands.
void SayToErrors(const char* text, unsigned long size);
// At the end: waits up to timeoutSec for the queue to be written.
void FlushConsole(double timeoutSec);
