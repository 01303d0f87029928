#pragma once
// What both panel benchmarks play: a chord held from MIDI (the keyboard
// shows its keys), and the three meters moving as the render loop moves them
// at the control ticks between two frames.

#include "IControl.h"
#include "IGraphics.h"
#include "VELTRA.h"

inline void HoldChord(VELTRA* plug)
{
  for (int note : {48, 52, 55, 60, 64, 67, 72, 76})
  {
    IMidiMsg on(0, 0x90, (uint8_t)note, 100);
    plug->ProcessMidiMsg(&on);
  }
}

inline void MoveMeters(IGraphics* gui, double* phase)
{
  *phase += 0.013;
  const double p = *phase - (int)*phase;
  gui->GetControl(kARMeterControl)->SetValueFromPlug(0.5 + 0.49 * p);
  gui->GetControl(kLFOMeterControl)->SetValueFromPlug(p);
  gui->GetControl(kPWMMeterControl)->SetValueFromPlug(1.0 - p);
}
