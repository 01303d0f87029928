#pragma once
// Sends MIDI to a port of another program, with the back-end that VELTRA
// itself takes: the ALSA sequencer where it exists, else JACK MIDI.

#include <memory>
#include <string>
#include <vector>

class RtMidiOut;

class MidiSender
{
public:
  MidiSender();
  ~MidiSender();
  // Waits for a port whose name holds portText and connects to it.
  bool ConnectTo(const std::string& portText, double timeoutSec);
  void Send(std::vector<unsigned char> bytes);

private:
  std::unique_ptr<RtMidiOut> mOut;
};
