#include "IKeyboardControl.h"

#include "IGraphics.h"
#include "VELTRA.h"

#include <cstring>

namespace
{
// By note within the octave (0 = C): the distance to the next key of the
// same colour, and the frame of the white-key strip (C and F 1, D 2, E and B
// 3, G 4, A 5; frame 6 is the top key).
const int mNextKey[12] = {2, 2, 2, 3, 1, 2, 2, 2, 2, 2, 3, 1};
const int mBitmapN[12] = {1, 0, 2, 0, 3, 1, 0, 4, 0, 5, 0, 3};
const int kBlackNotes[5] = {1, 3, 6, 8, 10};
} // namespace

IKeyboardControl::IKeyboardControl(IPlugBase* plug, int x, int y, int minNote, int nOctaves, const IBitmap& regularKeys,
                                   const IBitmap& sharpKey, const int* keyCoords)
    : IControl(plug, IRECT(x, y, regularKeys), -1), mKeyTable(dynamic_cast<IKeyTable*>(plug)),
      mRegularKeys(regularKeys), mSharpKey(sharpKey), mOctaveWidth(regularKeys.W * 7), mNumOctaves(nOctaves),
      mMinNote(minNote), mNumKeys(nOctaves * 12)
{
  memcpy(mKeyCoords, keyCoords, sizeof(mKeyCoords));
  // One white key wider than the octaves: the top key.
  mRECT.R += mNumOctaves * mOctaveWidth;
  mTargetRECT.R = mRECT.R;
  mDblAsSingleClick = true;
}

int IKeyboardControl::GetMouseKey(int x, int y)
{
  const IRECT& t = mTargetRECT;
  if (x < t.L || x >= t.R || y < t.T || y >= t.B) return -1;
  x -= t.L;
  y -= t.T;
  const int octave = x / mOctaveWidth;
  x -= octave * mOctaveWidth;
  const int h = mSharpKey.H / (mSharpKey.N > 0 ? mSharpKey.N : 1);

  // Black keys lie on top, so they are tested first.
  if (y < h && octave < mNumOctaves)
  {
    for (int n : kBlackNotes)
    {
      if (x < mKeyCoords[n]) break; // in a gap before this key
      if (x < mKeyCoords[n] + mSharpKey.W)
      {
        mVelocity = (double)y / (double)h;
        return n + octave * 12;
      }
    }
  }
  // The w-th white key of the octave is note w * 2, less one from E on.
  const int w = mRegularKeys.W > 0 ? x / mRegularKeys.W : 0;
  const int key = w * 2 - (w >= 3 ? 1 : 0);
  mVelocity = (double)y / (double)mRECT.H();
  return key + octave * 12;
}

void IKeyboardControl::Press(int key)
{
  const int velocity = 1 + (int)(mVelocity * 126.0 + 0.5);
  mPress = (key + 1) | (velocity << 16);
  SetDirty(true);
}

bool IKeyboardControl::KeyIsDown(int key)
{
  return key == HeldKey() || (mKeyTable && mKeyTable->GetKeyStatus(key + mMinNote));
}

void IKeyboardControl::OnMouseDown(int x, int y, IMouseMod* mod)
{
  if (mod->R) return;
  const int key = GetMouseKey(x, y);
  if (key == HeldKey()) return;
  // A note held from MIDI can't be taken by the mouse.
  if ((mKeyTable && mKeyTable->GetKeyStatus(key + mMinNote))) return;
  Press(key);
}

void IKeyboardControl::OnMouseDrag(int x, int y, int, int, IMouseMod* mod) { OnMouseDown(x, y, mod); }

void IKeyboardControl::OnMouseUp(int, int, IMouseMod*)
{
  if (HeldKey() < 0) return;
  Press(-1);
}

bool IKeyboardControl::Draw(IGraphics* graphics)
{
  if ((!mKeyTable || mKeyTable->GetNumKeys() == 0) && HeldKey() == -1) return true;

  // White keys, then the top key, then the black keys over them.
  IRECT r(mRECT.L, mRECT.T, mRECT.L + mRegularKeys.W, mRECT.B);
  int key = 0;
  while (key < mNumKeys)
  {
    const int note = key % 12;
    if (KeyIsDown(key)) DrawKey(graphics, &r, key, note, false);
    key += mNextKey[note];
    r.L += mRegularKeys.W;
    r.R += mRegularKeys.W;
  }
  if (KeyIsDown(key)) DrawKey(graphics, &r, key, 0, false);

  int base = mRECT.L;
  r.T = mRECT.T;
  r.B = mRECT.T + mSharpKey.H / (mSharpKey.N > 0 ? mSharpKey.N : 1);
  for (key = 1; key <= mNumKeys;)
  {
    const int note = key % 12;
    r.L = base + mKeyCoords[note];
    r.R = r.L + mSharpKey.W;
    if (KeyIsDown(key)) DrawKey(graphics, &r, key, note, true);
    key += mNextKey[note];
    if (note == 10) base += mOctaveWidth;
  }
  return true;
}

void IKeyboardControl::DrawKey(IGraphics* graphics, IRECT* rect, int key, int note, bool sharp)
{
  if (sharp)
    graphics->DrawBitmap(&mSharpKey, rect, 0, &mBlend);
  else
    graphics->DrawBitmap(&mRegularKeys, rect, key < mNumKeys ? mBitmapN[note] : 6, &mBlend);
}
