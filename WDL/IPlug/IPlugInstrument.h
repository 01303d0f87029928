#pragma once
// What an instrument built as a plug-in supplies to the adapters of every
// plug-in format: who it is, its sound, and its panel's side. Each maker runs
// on the host's instantiation or UI thread, and the caller owns what it gets.

class IPlugStandalone;
class IGraphicsX11;

// The plug-in's LV2 URI, as its bundle's description names it.
const char* LV2PluginURI();

// Who the plug-in is to hosts that list plug-ins before making one (CLAP):
// an id that never changes once released, its names and version.
struct IPluginIdentity
{
  const char* mId;
  const char* mName;
  const char* mVendor;
  const char* mURL;
  const char* mVersion;
  const char* mDescription;
};
const IPluginIdentity& PluginIdentity();

// The instrument itself, for a plug-in's sound; also the IKeyTable of the
// notes its MIDI holds.
IPlugStandalone* MakePluginSound();

// The panel's side of a plug-in, apart from the sound: an object that holds
// the instrument's parameters and the IKeyTable of the sound's held notes,
// with the panel built on an Xlib view (its images under resourceRoot) and
// attached, so that GetGUI() answers the view. Its OnIdle sends the notes of
// the panel's keyboard. Null when it cannot be made.
IPlugStandalone* MakePluginPanel(const char* resourceRoot);
IGraphicsX11* PluginPanelView(IPlugStandalone* panelSide);
