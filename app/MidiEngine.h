#pragma once
// MIDI ports: one input and one output object, their port lists, the
// virtual ports "To VELTRA" and "From VELTRA", and the callback that hands
// short messages to the instrument. All but MIDICallback run on the main
// thread; Engines.h says when.

#include <string>
#include <vector>

class RtMidiIn;
class RtMidiOut;

extern RtMidiIn* gMidiIn;
extern RtMidiOut* gMidiOut;
extern std::vector<std::string> gMIDIInputDevNames;
extern std::vector<std::string> gMIDIOutputDevNames;

bool InitialiseMidi();
// The port lists as they are now.
void ProbeMidiIO();
// Both objects and the lists, made when they are missing: at the launch,
// and when the MIDI system came after VELTRA or its JACK server went away.
// Nothing while they live.
void OpenMidi();
// Selection numbers: "off" 0, the virtual port 1, real port n as n + 2; -1
// for a name that is neither a fixed word nor a present port.
int GetMIDIInPortNumber(const char* name);
int GetMIDIOutPortNumber(const char* name);
// Connect as the name says; an unknown name becomes "off" in the settings,
// which are rewritten at once. A port already open under that name stays
// open. False only when the object is missing.
bool ChooseMidiInput(const char* name);
bool ChooseMidiOutput(const char* name);
// Main thread, on the status timer: says once when MIDI stopped with its
// JACK server, and which messages of a wrong length came since the last time.
void ReportMidiStatus();
// Main thread: one console line on the MIDI system and the ports in use;
// IfNew only once after the objects were made.
void ReportMidiPorts();
void ReportMidiPortsIfNew();
// MIDI thread: size rule, channel filter, then the instrument.
void MIDICallback(double deltatime, std::vector<unsigned char>* message, void* userData);
// Main thread, at a stop: no more input reaches the instrument; both ports
// close; then, at the end after the instrument is gone, the objects and
// their lists go.
void StopMidi();
void DeleteMidi();
