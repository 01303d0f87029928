#pragma once
// The one mapping between the panel's units and the pixels of a surface
// drawn at a size: the layout, every control's rectangle and every mouse
// position stay in units; only the drawing and the window are in pixels.
//
// A unit edge u lies on pixel edge round(u * scale), halves up. Edges, not
// sizes, are mapped: two controls that share an edge in units share it in
// pixels, so at every scale neighbours neither leave a gap nor overlap, and
// a control's pixel size may differ by one from its neighbour's of the same
// unit size.

#include "IGraphicsStructs.h"

#include <cmath>

// The sizes a panel can be shown at, in percent of its units.
constexpr int kPanelSizes[] = {100, 125, 150, 200};
constexpr int kNumPanelSizes = 4;

// The offered size nearest a factor (1.0 is 100 %); halfway goes to the
// larger.
inline int NearestPanelSize(double factor)
{
  int best = kPanelSizes[0];
  for (int size : kPanelSizes)
    if (std::fabs(size / 100.0 - factor) <= std::fabs(best / 100.0 - factor)) best = size;
  return best;
}

inline bool IsPanelSize(int percent)
{
  for (int size : kPanelSizes)
    if (size == percent) return true;
  return false;
}

class IPanelScale
{
public:
  // percent: one of kPanelSizes; anything else counts as 100.
  explicit IPanelScale(int percent = 100) : mPercent(IsPanelSize(percent) ? percent : 100) {}

  int Percent() const { return mPercent; }
  double Factor() const { return mPercent / 100.0; }
  bool Identity() const { return mPercent == 100; }

  // The pixel edge of a unit edge.
  int Px(int unit) const
  {
    // Whole numbers throughout: unit * percent / 100, halves up, for either
    // sign.
    const long long n = (long long)unit * mPercent;
    return (int)((n >= 0 ? n + 50 : n - 49) / 100);
  }
  IRECT Px(const IRECT& r) const { return r.Empty() ? r : IRECT(Px(r.L), Px(r.T), Px(r.R), Px(r.B)); }
  // A position in units as a position in pixels (the left or top edge of
  // a unit as 0.0 of it), for the drawing of lines and shapes.
  float Pxf(float unit) const { return mPercent == 100 ? unit : unit * (float)mPercent / 100.0f; }

  // The unit whose pixels hold pixel p: the largest u with Px(u) <= p.
  int Unit(int p) const
  {
    if (Identity()) return p;
    long long u = ((long long)p * 100) / mPercent;
    while (Px((int)u + 1) <= p) ++u;
    while (Px((int)u) > p) --u;
    return (int)u;
  }

private:
  int mPercent;
};
