#pragma once
// The panel's piano: one key held with the mouse at a time, and every key
// that sounds from MIDI drawn pressed. It plays nothing itself: the
// instrument polls GetKey() and GetVelocity() at the start of each audio
// block. The unpressed keys belong to the panel's background; this control
// paints only the keys that are down.

#include "IControl.h"
#include "IKeyTable.h"
#include "VELTRA.h"

class IKeyboardControl : public IControl, public IScreenKeyboard
{
public:
  // keyCoords: the x offset within an octave of each of the 12 notes; only
  // the black notes' entries are used. plug is also the IKeyTable whose
  // notes the keys show.
  IKeyboardControl(IPlugBase* plug, int x, int y, int minNote, int nOctaves, const IBitmap& regularKeys,
                   const IBitmap& sharpKey, const int* keyCoords);

  // Audio thread, one word, without a lock. The velocity is 1 at the top of
  // a key and 127 at its bottom.
  KeyPress GetKeyPress() const override
  {
    const int word = mPress;
    return {(word & 0xFFFF) - 1, word >> 16};
  }
  // MIDI thread: the keys held by MIDI are drawn at the next frame.
  void KeyTableChanged() override { SetDirty(false); }

  // GUI thread. The key under a point (0 from the lowest key; the top key
  // is mNumKeys), or -1; sets the velocity that a press there plays from its
  // height.
  int GetMouseKey(int x, int y);
  void OnMouseDown(int x, int y, IMouseMod* mod) override;
  // A drag plays a glissando; off the keys it ends the note.
  void OnMouseDrag(int x, int y, int dX, int dY, IMouseMod* mod) override;
  void OnMouseUp(int x, int y, IMouseMod* mod) override;
  void OnMouseWheel(int, int, IMouseMod*, int) override {}
  // Takes the instrument's mutex for the key table: a frame can wait for the
  // current audio block.
  bool Draw(IGraphics* graphics) override;
  virtual void DrawKey(IGraphics* graphics, IRECT* rect, int key, int note, bool sharp);

private:
  bool KeyIsDown(int key);
  // Publishes the held key (-1 for none) with the last measured velocity.
  void Press(int key);
  int HeldKey() const { return GetKeyPress().key; }

  IKeyTable* mKeyTable; // the plug-in's: the notes that MIDI holds
  IBitmap mRegularKeys;
  IBitmap mSharpKey;
  int mKeyCoords[12];
  int mOctaveWidth;
  int mNumOctaves;
  // The held key plus one in the low 16 bits, the velocity above; written
  // on the GUI thread, read by the sound.
  WDL_SharedWord<int> mPress = 0;
  int mMinNote;
  int mNumKeys;
  double mVelocity = 0.0; // 0 at the top of a key, 1 at its bottom
};
