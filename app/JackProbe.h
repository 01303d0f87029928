#pragma once
// JACK's audio devices, read as RtAudio's JACK back-end reads them, through
// one client of VELTRA's own. RtAudio opens and closes a client of the
// server for each question it is asked (how many devices; then each
// device's details), and every client costs the server some 20 ms to open
// and 10 to close: at start that made three of the clients VELTRA waited
// for before its stream. This client is opened at the first question and
// closed once the main loop is idle again, so that the questions of one
// start, or of one change in the preferences, share it. Main thread (see App.h).

#include <rtaudio/RtAudio.h>

#include <vector>

// Whether a JACK server answers and has at least one audio device: what
// RtAudio's "first API with devices" asks of JACK.
bool JackHasAudioDevices();
// Whether a JACK server answers at all.
bool JackServerAnswers();

// Every device in RtAudio's numbering: one per run of consecutive ports
// whose names share the text before the first ':', in the server's port
// order. A device's JACK input ports are its output channels and its output
// ports its input channels; the server's rate is its only sample rate;
// device 0 is the default of each direction it has. Empty without a server.
std::vector<RtAudio::DeviceInfo> ProbeJackDevices();

// Closes the client now (at exit, or before the driver changes).
void ReleaseJackProbe();
