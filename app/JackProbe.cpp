#include "JackProbe.h"

#include <glib.h>
#include <jack/jack.h>

#include <string>

namespace
{
// The one client, and the idle call that closes it.
struct Probe
{
  jack_client_t* client = nullptr;
  guint closeSource = 0;
};
Probe sProbe;

// The server's complaints when it is not running are not VELTRA's to print:
// "Default" asks JACK first whether it is there at all.
void Silent(const char*) {}

gboolean CloseWhenIdle(gpointer)
{
  sProbe.closeSource = 0;
  ReleaseJackProbe();
  return G_SOURCE_REMOVE;
}

jack_client_t* Client()
{
  if (sProbe.client) return sProbe.client;
  jack_set_error_function(Silent); // as RtAudio's JACK back-end does for good
  sProbe.client = jack_client_open("VELTRA-probe", JackNoStartServer, nullptr);
  if (sProbe.client && !sProbe.closeSource) sProbe.closeSource = g_idle_add(CloseWhenIdle, nullptr);
  return sProbe.client;
}

unsigned int CountPorts(const char** ports)
{
  unsigned int n = 0;
  if (ports)
  {
    while (ports[n]) ++n;
    jack_free(ports);
  }
  return n;
}

// The device names in RtAudio's order: the text before the first ':' of
// each port name, once per run of equal prefixes.
std::vector<std::string> DeviceNames(jack_client_t* client)
{
  std::vector<std::string> names;
  const char** ports = jack_get_ports(client, nullptr, JACK_DEFAULT_AUDIO_TYPE, 0);
  if (!ports) return names;
  std::string previous;
  for (unsigned int i = 0; ports[i]; ++i)
  {
    const std::string port = ports[i];
    const size_t colon = port.find(':');
    if (colon == std::string::npos) continue;
    const std::string prefix = port.substr(0, colon);
    if (prefix == previous) continue;
    names.push_back(prefix);
    previous = prefix;
  }
  jack_free(ports);
  return names;
}
} // namespace

bool JackHasAudioDevices()
{
  jack_client_t* client = Client();
  return client && !DeviceNames(client).empty();
}

bool JackServerAnswers() { return Client() != nullptr; }

std::vector<RtAudio::DeviceInfo> ProbeJackDevices()
{
  std::vector<RtAudio::DeviceInfo> devices;
  jack_client_t* client = Client();
  if (!client) return devices;
  const unsigned int rate = jack_get_sample_rate(client);
  const std::vector<std::string> names = DeviceNames(client);
  for (size_t i = 0; i < names.size(); ++i)
  {
    RtAudio::DeviceInfo info;
    info.name = names[i];
    info.sampleRates.push_back(rate);
    info.preferredSampleRate = rate;
    // The name is a pattern to the server, unanchored, as RtAudio hands it.
    info.outputChannels =
        CountPorts(jack_get_ports(client, names[i].c_str(), JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput));
    info.inputChannels =
        CountPorts(jack_get_ports(client, names[i].c_str(), JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput));
    if (info.outputChannels == 0 && info.inputChannels == 0)
    {
      devices.push_back(info); // not probed: RtAudio could not tell either
      continue;
    }
    if (info.outputChannels > 0 && info.inputChannels > 0)
      info.duplexChannels = info.outputChannels < info.inputChannels ? info.outputChannels : info.inputChannels;
    info.nativeFormats = RTAUDIO_FLOAT32;
    info.isDefaultOutput = i == 0 && info.outputChannels > 0;
    info.isDefaultInput = i == 0 && info.inputChannels > 0;
    info.probed = true;
    devices.push_back(info);
  }
  return devices;
}

void ReleaseJackProbe()
{
  if (sProbe.closeSource) g_source_remove(sProbe.closeSource);
  sProbe.closeSource = 0;
  if (sProbe.client) jack_client_close(sProbe.client);
  sProbe.client = nullptr;
}
