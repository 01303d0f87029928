#include "MidiSender.h"

#include "JackSession.h"

#include <rtmidi/RtMidi.h>
#include <unistd.h>

MidiSender::MidiSender()
{
  const RtMidi::Api api = access("/dev/snd/seq", F_OK) == 0 ? RtMidi::LINUX_ALSA : RtMidi::UNIX_JACK;
  mOut.reset(new RtMidiOut(api, "veltra-test-sender"));
}

MidiSender::~MidiSender() {}

bool MidiSender::ConnectTo(const std::string& portText, double timeoutSec)
{
  const double start = Now();
  while (SecondsSince(start) < timeoutSec)
  {
    for (unsigned int i = 0, n = mOut->getPortCount(); i < n; ++i)
    {
      if (mOut->getPortName(i).find(portText) != std::string::npos)
      {
        mOut->openPort(i, "to-veltra");
        return true;
      }
    }
    usleep(20000);
  }
  return false;
}

void MidiSender::Send(std::vector<unsigned char> bytes) { mOut->sendMessage(&bytes); }
