#pragma once
// MIDI ports: one input and one output object, the port lists of start-up
// time, the virtual ports "To VELTRA" and "From VELTRA", and the callback
// that hands short messages to the instrument. All but MIDICallback run on
// the main thread.

#include <string>
#include <vector>

class RtMidiIn;
class RtMidiOut;

extern RtMidiIn* gMidiIn;
extern RtMidiOut* gMidiOut;
extern std::vector<std::string> gMIDIInputDevNames;
extern std::vector<std::string> gMIDIOutputDevNames;

bool InitialiseMidi();
void ProbeMidiIO();
// Selection numbers: "off" 0, the virtual port 1, real port n as n + 2; -1
// for a name that is neither a fixed word nor a present port.
int GetMIDIInPortNumber(const char* name);
int GetMIDIOutPortNumber(const char* name);
// Connect as the name says; an unknown name becomes "off" in the settings,
// which are rewritten at once. False only when the object is missing.
bool ChooseMidiInput(const char* name);
bool ChooseMidiOutput(const char* name);
// Main thread, after the sound restarted: MIDI objects dropped because their
// JACK server went away are made afresh and connected as the settings say
// (the virtual ports published again). Nothing otherwise.
void ReviveMidi();
// Main thread, on the status timer: says once when MIDI stopped with its
// JACK server.
void ReportMidiStatus();
// Main thread: one console line on the MIDI system and the ports in use.
void ReportMidiPorts();
// MIDI thread: size rule, channel filter, then the instrument.
void MIDICallback(double deltatime, std::vector<unsigned char>* message, void* userData);
// Main thread, at exit: no more input reaches the instrument; both ports
// close; then, after the instrument is gone, the objects go.
void StopMidi();
void DeleteMidi();
