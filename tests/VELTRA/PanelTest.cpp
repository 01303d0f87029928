// VELTRA's panel as built: its geometry against its art and the on-screen
// keyboard's rules. The program menu is played through its real dialogs in
// the end-to-end panel test.

#include "IKeyboardControl.h"
#include "TempDir.h"
#include "TestGraphics.h"
#include "VELTRAPrograms.h"
#include "VELTRATestUtil.h"

#include <fstream>
#include <gtest/gtest.h>

namespace
{
IMouseMod Left() { return IMouseMod(true); }

bool Overlap(const IRECT& a, const IRECT& b) { return a.L < b.R && b.L < a.R && a.T < b.B && b.T < a.B; }

struct Keys
{
  Keys() : rig(), keyboard(PanelKeyboard(rig.mPlug.get())), r(keyboard->GetRECT()) {}
  // A point of the white key w (0 upward) at height y below the top.
  int WhiteX(int w) const { return r.L + w * 20 + 10; }
  VeltraRig rig;
  IKeyboardControl* keyboard;
  IRECT r;
};
} // namespace

TEST(Panel, ArtAndControlsFitThePanelWithoutOverlaps)
{
  VeltraRig rig;
  IGraphics* gui = MakePlugGUI(rig.mPlug.get());
  ASSERT_EQ(gui->GetNControls(), 50); // the design's 48, then the two program arrows
  EXPECT_EQ(gui->Width(), 920);
  EXPECT_EQ(gui->Height(), 400);
  const IRECT panel(0, 0, 920, 400);
  EXPECT_EQ(gui->GetControl(0)->GetRECT(), panel) << "the background fills the panel";

  for (int i = 1; i < gui->GetNControls(); ++i)
  {
    const IRECT r = gui->GetControl(i)->GetRECT();
    EXPECT_TRUE(r.W() > 0 && r.H() > 0) << "control " << i << " has no art";
    EXPECT_TRUE(r.L >= 0 && r.T >= 0 && r.R <= 920 && r.B <= 400) << "control " << i << " leaves the panel";
    for (int j = 1; j < i; ++j)
      EXPECT_FALSE(Overlap(r, gui->GetControl(j)->GetRECT())) << "controls " << j << " and " << i << " overlap";
  }
  // Controls 1 to 44 stand for parameters 0 to 43; the meters take no mouse.
  for (int p = 0; p < kNumParams; ++p) EXPECT_EQ(gui->GetControl(p + 1)->ParamIdx(), p);
  for (int meter : {kARMeterControl, kLFOMeterControl, kPWMMeterControl})
    EXPECT_TRUE(gui->GetControl(meter)->GetTargetRECT().Empty()) << meter;

  // Every strip is a whole number of frames of the size its controls take,
  // and its twice-size version the same frames at twice the size.
  struct Strip
  {
    const char* name;
    int frames, w, h;
  } strips[] = {{"bg", 1, 920, 400},   {"knob", 60, 36, 36}, {"knobn", 9, 36, 36},    {"knobf", 5, 36, 36},
                {"switch", 2, 20, 32}, {"mode", 2, 20, 32},  {"fadeled", 30, 12, 12}, {"fader", 1, 24, 14},
                {"wk", 6, 20, 110},    {"bk", 1, 12, 68}};
  for (const Strip& s : strips)
    for (int twice = 1; twice <= 2; ++twice)
    {
      const std::string name = std::string("resources/img/") + s.name + (twice == 2 ? "@2x.png" : ".png");
      std::unique_ptr<LICE_IBitmap> bm(LICE_LoadPNGFromNamedResource(name.c_str()));
      ASSERT_TRUE(bm) << name;
      EXPECT_EQ(bm->getWidth(), twice * s.w) << name;
      EXPECT_EQ(bm->getHeight(), twice * s.h * s.frames) << name;
    }
}

TEST(Panel, TheMetersFollowTheRenderLoop)
{
  VeltraRig rig;
  IGraphics* gui = MakePlugGUI(rig.mPlug.get());
  rig.Set(kLFORate, 0.01);
  rig.Render(44 * 50); // 50 ticks of 0.01
  EXPECT_NEAR(gui->GetControl(kLFOMeterControl)->GetValue(), 0.5, 1e-9);
  rig.NoteOn(60);
  rig.Render(44 * 10);
  EXPECT_GT(gui->GetControl(kARMeterControl)->GetValue(), 0.0) << "the AR envelope rises with a gate";
  EXPECT_EQ(gui->GetControl(kPWMMeterControl)->GetValue(), 0.0) << "the pulse width moves only when on";
}

TEST(Keyboard, KeysUnderThePointerWithTheirVelocity)
{
  Keys k;
  EXPECT_EQ(k.r, IRECT(180, 269, 760, 379)) << "four octaves and the top key of 20-pixel white keys";
  IKeyboardControl* kb = k.keyboard;
  // The velocity that a press plays, from its height; key and velocity are
  // read together.
  auto press = [&](int x, int y)
  {
    IMouseMod left = Left();
    kb->OnMouseDown(x, y, &left);
    const IScreenKeyboard::KeyPress p = kb->GetKeyPress();
    kb->OnMouseUp(x, y, &left);
    return std::make_pair(p.key, p.velocity);
  };
  // Upper zone, in the gap between C# (12..24) and D# (36..48): white D.
  EXPECT_EQ(press(k.r.L + 30, k.r.T + 10), std::make_pair(2, 1 + (int)(10.0 / 110.0 * 126 + 0.5)))
      << "measured on the whole key height";
  // Black key 1 at its very top and at its last row.
  EXPECT_EQ(press(k.r.L + 12, k.r.T), std::make_pair(1, 1));
  EXPECT_EQ(press(k.r.L + 23, k.r.T + 67), std::make_pair(1, 1 + (int)(67.0 / 68.0 * 126 + 0.5)));
  // Right of a black key's last column is no longer that key.
  EXPECT_EQ(kb->GetMouseKey(k.r.L + 24, k.r.T + 5), 2);
  // A sharp in a higher octave, the top key, and outside.
  EXPECT_EQ(kb->GetMouseKey(k.r.L + 2 * 140 + 120, k.r.T + 5), 2 * 12 + 10);
  EXPECT_EQ(kb->GetMouseKey(k.r.R - 5, k.r.T + 5), 48) << "the top key, note 96";
  EXPECT_EQ(kb->GetMouseKey(k.r.R, k.r.T + 5), -1);
  EXPECT_EQ(kb->GetMouseKey(k.r.L + 5, k.r.B), -1);
}

TEST(Keyboard, TheMouseHoldsOneKeyAndLeavesMidiKeysAlone)
{
  Keys k;
  IGraphics* gui = MakePlugGUI(k.rig.mPlug.get());
  IMouseMod left = Left(), right(false, true);
  const int y = k.r.B - 5;
  gui->OnMouseDown(k.WhiteX(0), y, &right);
  EXPECT_EQ(k.keyboard->GetKey(), -1) << "the right button plays nothing";
  gui->OnMouseUp(k.WhiteX(0), y, &right);

  k.rig.NoteOn(50); // D of the lowest octave, held from MIDI
  gui->OnMouseDown(k.WhiteX(0), y, &left);
  EXPECT_EQ(k.keyboard->GetKey(), 0);
  gui->OnMouseDrag(k.WhiteX(1), y, &left);
  EXPECT_EQ(k.keyboard->GetKey(), 0) << "a key held from MIDI can't be taken";
  gui->OnMouseDrag(k.WhiteX(2), y, &left);
  EXPECT_EQ(k.keyboard->GetKey(), 4) << "a glissando";
  gui->OnMouseDrag(k.WhiteX(2), k.r.B + 20, &left);
  EXPECT_EQ(k.keyboard->GetKey(), -1) << "off the keys the note ends";
  gui->OnMouseDrag(k.WhiteX(3), y, &left);
  EXPECT_EQ(k.keyboard->GetKey(), 5) << "and back on them it plays again";
  gui->OnMouseUp(k.WhiteX(3), y, &left);
  EXPECT_EQ(k.keyboard->GetKey(), -1);
}

// The program list: factory categories, then the player's files and
// sub-folders, each in name order; stepping wraps round both ends.
TEST(ProgramList, FactoryThenThePlayersOwnInNameOrderSteppingRound)
{
  TempDir dir;
  const std::string f = dir.Path() + "/factory", u = dir.Path() + "/mine";
  for (const char* p : {"/factory/Lead/b.fxp", "/factory/Bass/Z.fxp", "/factory/Bass/a.FXP", "/factory/Bass/x.fxb",
                        "/mine/Live/Set 2/c.fxp", "/mine/Live/d.fxp", "/mine/e.fxp", "/mine/.hidden.fxp"})
  {
    MakeProgramFolder((dir.Path() + p).substr(0, (dir.Path() + p).rfind('/')));
    std::ofstream(dir.Path() + p) << "x";
  }
  const std::vector<VELTRAProgramEntry> list = ListVeltraPrograms(f, u);
  std::string order;
  for (const VELTRAProgramEntry& e : list)
  {
    order += (e.mFactory ? "F:" : "U:") + e.mName;
    for (const std::string& folder : e.mFolders) order += "/" + folder;
    order += " ";
  }
  EXPECT_EQ(order, "F:a/Bass F:Z/Bass F:b/Lead U:e U:d/Live U:c/Live/Set 2 ");
  EXPECT_EQ(StepVeltraProgram(list, u + "/e.fxp", 1), 4);
  EXPECT_EQ(StepVeltraProgram(list, u + "/Live/Set 2/c.fxp", 1), 0) << "round the end";
  EXPECT_EQ(StepVeltraProgram(list, f + "/Bass/a.FXP", -1), 5) << "round the start";
  EXPECT_EQ(StepVeltraProgram(list, "/elsewhere.fxp", -1), 5);
  EXPECT_EQ(StepVeltraProgram({}, "", 1), -1);
  EXPECT_TRUE(PathIsInside(f + "/Bass/a.FXP", f));
  EXPECT_FALSE(PathIsInside(f + "2/a.fxp", f));
}
