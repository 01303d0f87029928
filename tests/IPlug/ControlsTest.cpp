// The stock controls: how a gesture turns into a parameter value, and which
// frame each value shows. A rendered frame is then checked pixel by pixel
// against the blit and blend arithmetic, computed here independently.

#include "TestGraphics.h"

#include <gtest/gtest.h>

namespace
{
IMouseMod Left() { return IMouseMod(true); }

// Presses at (x, y), drags through the points, releases at the last.
void Gesture(IGraphics* g, int x, int y, std::vector<std::pair<int, int>> path, IMouseMod mod = Left())
{
  g->OnMouseDown(x, y, &mod);
  for (auto& p : path) g->OnMouseDrag(p.first, p.second, &mod);
  const auto end = path.empty() ? std::make_pair(x, y) : path.back();
  g->OnMouseUp(end.first, end.second, &mod);
}
} // namespace

TEST(Controls, AKnobTurnsByTheDragOverItsHeightAndGearing)
{
  GuiRig rig;
  // A 50-pixel knob at the default gearing of 4: 100 pixels upward turn it
  // by 100 / 50 / 4 = 0.5.
  IBitmap strip = rig.Solid(50, 50, 60, LICE_RGBA(0, 0, 0, 255));
  rig.gui->AttachControl(new IKnobMultiControl(&rig.plug, 10, 10, GuiPlug::kLevel, strip));
  rig.Attach();

  Gesture(rig.gui, 30, 40, {{30, 20}, {31, -20}, {31, -60}});
  EXPECT_NEAR(rig.Param(GuiPlug::kLevel), 0.7, 1e-12) << "0.2 + 0.5";
  EXPECT_EQ(rig.plug.mReports, (std::vector<std::string>{"begin 0", "change 0", "change 0", "change 0", "end 0"}))
      << "one change per step of the gesture, framed by begin and end";

  IMouseMod fine(true, false, true);
  Gesture(rig.gui, 30, 40, {{30, 0}}, fine);
  EXPECT_NEAR(rig.Param(GuiPlug::kLevel), 0.72, 1e-12) << "shift turns ten times finer";

  // Past the end the value stops at 1, and turning back acts at once.
  Gesture(rig.gui, 30, 40, {{30, -400}, {30, -390}});
  EXPECT_NEAR(rig.Param(GuiPlug::kLevel), 1.0 - 10.0 / 200.0, 1e-12);

  IMouseMod none;
  rig.gui->OnMouseWheel(30, 40, &none, -3);
  EXPECT_NEAR(rig.Param(GuiPlug::kLevel), 0.92, 1e-12) << "a notch is 0.01";
}

TEST(Controls, SwitchesStepThroughTheirFramesAndWrap)
{
  GuiRig rig;
  IBitmap five = rig.Solid(10, 10, 5, LICE_RGBA(0, 0, 0, 255));
  IBitmap one = rig.Solid(10, 10, 1, LICE_RGBA(0, 0, 0, 255));
  ISwitchControl* sw5 = new ISwitchControl(&rig.plug, 0, 0, GuiPlug::kLevel, five);
  ISwitchControl* sw1 = new ISwitchControl(&rig.plug, 20, 0, -1, one);
  rig.gui->AttachControl(sw5);
  rig.gui->AttachControl(sw1);
  rig.Attach();
  sw5->SetValueFromPlug(0.0);

  std::vector<double> seen;
  for (int i = 0; i < 6; ++i)
  {
    Gesture(rig.gui, 5, 5, {});
    seen.push_back(sw5->GetValue());
  }
  EXPECT_EQ(seen, (std::vector<double>{0.25, 0.5, 0.75, 1.0, 0.0, 0.25}));
  EXPECT_DOUBLE_EQ(rig.Param(GuiPlug::kLevel), 0.25);

  IMouseMod mod = Left();
  rig.gui->OnMouseDblClick(5, 5, &mod);
  EXPECT_DOUBLE_EQ(sw5->GetValue(), 0.5) << "a fast second press still steps";

  Gesture(rig.gui, 25, 5, {});
  EXPECT_DOUBLE_EQ(sw1->GetValue(), 1.0) << "a one-frame switch goes to 1";
  Gesture(rig.gui, 25, 5, {});
  EXPECT_DOUBLE_EQ(sw1->GetValue(), 0.0) << "and wraps from 2";
}

TEST(Controls, AFaderHandleFollowsTheValueAndJumpsToThePointer)
{
  GuiRig rig;
  // A vertical fader of length 100 with a 20-pixel handle: 80 pixels of
  // travel, value 1 at the top.
  IBitmap handle = rig.Solid(16, 20, 1, LICE_RGBA(0, 0, 0, 255));
  IFaderControl* fader = new IFaderControl(&rig.plug, 40, 0, 100, GuiPlug::kLevel, handle);
  rig.gui->AttachControl(fader);
  rig.Attach();

  EXPECT_EQ(fader->GetRECT(), IRECT(40, 0, 56, 100));
  EXPECT_EQ(fader->GetHandleRECT(1.0), IRECT(40, 0, 56, 20));
  EXPECT_EQ(fader->GetHandleRECT(0.0), IRECT(40, 80, 56, 100));
  EXPECT_EQ(fader->GetHandleRECT(), IRECT(40, 64, 56, 84)) << "0.2 is 64 pixels down";

  Gesture(rig.gui, 48, 74, {});
  EXPECT_DOUBLE_EQ(rig.Param(GuiPlug::kLevel), 0.2) << "a press on the handle's centre keeps the value";
  Gesture(rig.gui, 48, 30, {{48, 10}});
  EXPECT_DOUBLE_EQ(rig.Param(GuiPlug::kLevel), 1.0) << "the handle centres on the pointer, bounded";
  Gesture(rig.gui, 48, 50, {});
  EXPECT_DOUBLE_EQ(rig.Param(GuiPlug::kLevel), 0.5);
}

// A small panel rendered at several values, checked against the arithmetic
// of the blits: the right source rows in the right place, and each pixel
// combined with what lies under it through the source's alpha.
TEST(RenderedFrame, KnobSwitchAndTextOverABackground)
{
  GuiRig rig(120, 60);
  auto bgPixel = [](int x, int y) { return LICE_RGBA(x * 2, y * 4, 200, 255); };
  // Knob frames carry their number in red, the position in green and blue,
  // and an alpha that sweeps through 0, partial values and 255.
  auto knobPixel = [](int f, int x, int y)
  { return LICE_RGBA(f * 4, x * 12, y * 12, (x * 40 + y * 7 + f * 3) % 256 | (x == 0 ? 0xFF : 0)); };
  auto switchPixel = [](int f, int x, int y) { return LICE_RGBA(f ? 250 : 10, x, y, f ? 255 : 128); };
  const IBitmap bg = rig.Strip(120, 60, 1, [&](int, int x, int y) { return bgPixel(x, y); });
  const IBitmap knob = rig.Strip(20, 20, 60, knobPixel);
  const IBitmap sw = rig.Strip(16, 10, 2, switchPixel);

  rig.gui->AttachControl(new IBitmapControl(&rig.plug, 0, 0, -1, bg, IChannelBlend::kBlendCopy));
  IKnobMultiControl* k = new IKnobMultiControl(&rig.plug, 10, 30, GuiPlug::kLevel, knob);
  ISwitchControl* s = new ISwitchControl(&rig.plug, 50, 5, GuiPlug::kOn, sw);
  IText style(12, &COLOR_WHITE);
  ITextControl* t = new ITextControl(&rig.plug, IRECT(70, 30, 118, 56), &style, "Hi");
  rig.gui->AttachControl(k);
  rig.gui->AttachControl(s);
  rig.gui->AttachControl(t);
  rig.Attach();

  // Copy through source alpha at full weight: nothing for alpha 0, the
  // source for 255, else s + (d - s) * (255 - a) / 256 and alpha a + d.
  auto over = [](LICE_pixel d, LICE_pixel s)
  {
    const int a = (int)LICE_GETA(s);
    if (a == 0) return d;
    if (a == 255) return s;
    auto mix = [a](int dc, int sc) { return sc + (dc - sc) * (255 - a) / 256; };
    return LICE_RGBA(mix(LICE_GETR(d), LICE_GETR(s)), mix(LICE_GETG(d), LICE_GETG(s)), mix(LICE_GETB(d), LICE_GETB(s)),
                     std::min(255, a + (int)LICE_GETA(d)));
  };
  auto check = [&](double knobValue, int switchFrame)
  {
    const int frame = (int)(0.5 + knobValue * 59); // 0-based frame shown
    for (int y = 0; y < 60; ++y)
      for (int x = 0; x < 120; ++x)
      {
        if (t->GetRECT().Contains(x, y)) continue; // text: checked below
        LICE_pixel want = bgPixel(x, y);
        if (IRECT(10, 30, 30, 50).Contains(x, y)) want = over(want, knobPixel(frame, x - 10, y - 30));
        if (IRECT(50, 5, 66, 15).Contains(x, y)) want = over(want, switchPixel(switchFrame, x - 50, y - 5));
        ASSERT_EQ(rig.Pixel(x, y), want) << "at " << x << "," << y << " with knob frame " << frame;
      }
  };

  while (rig.Frame())
  {
  }
  check(0.2, 0);
  int textPixels = 0;
  for (int y = 30; y < 56; ++y)
    for (int x = 70; x < 118; ++x) textPixels += rig.Pixel(x, y) != bgPixel(x, y);
  EXPECT_GT(textPixels, 10) << "the text was drawn in its box";

  for (double v : {0.0, 0.5, 0.99, 1.0})
  {
    k->SetValueFromUserInput(v);
    IRECT r;
    ASSERT_TRUE(rig.gui->IsDirty(&r));
    EXPECT_EQ(r, k->GetRECT()) << "only the knob repaints";
    rig.gui->Draw(&r);
    check(v, 0);
  }
  Gesture(rig.gui, 55, 8, {});
  while (rig.Frame())
  {
  }
  check(1.0, 1);
}
