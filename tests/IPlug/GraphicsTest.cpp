// The GUI engine, driven as a platform would drive it: controls are made
// with the plug-in they belong to, attached in drawing order, handed to the
// plug-in with AttachGraphics, and then every timer tick asks IsDirty and
// draws what it reports. Mouse and key events arrive in panel pixels.

#include "TestGraphics.h"
#include "swell-resources.h"

#include <clocale>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <utility>

namespace
{
// A control that draws a solid colour and records the events it gets.
class Probe : public IControl
{
public:
  Probe(IPlugBase* plug, IRECT r, int paramIdx = -1, IColor color = COLOR_RED)
      : IControl(plug, r, paramIdx), mColor(color)
  {
  }
  bool Draw(IGraphics* g) override
  {
    ++mDraws;
    const bool ok = g->FillIRect(&mColor, &mRECT);
    if (mDuringDraw) std::exchange(mDuringDraw, nullptr)();
    return ok;
  }
  void OnMouseDown(int x, int y, IMouseMod* mod) override
  {
    mEvents.push_back("down");
    IControl::OnMouseDown(x, y, mod);
  }
  void OnMouseUp(int, int, IMouseMod*) override { mEvents.push_back("up"); }
  void OnMouseDrag(int, int, int dX, int dY, IMouseMod*) override
  {
    mEvents.push_back("drag " + std::to_string(dX) + "," + std::to_string(dY));
  }
  void OnMouseDblClick(int, int, IMouseMod*) override { mEvents.push_back("dbl"); }
  bool OnKeyDown(int, int, int key) override
  {
    mEvents.push_back("key " + std::to_string(key));
    return mTakesKeys;
  }
  IColor mColor;
  std::function<void()> mDuringDraw; // once, as another thread might
  int mDraws = 0;
  bool mTakesKeys = true;
  std::vector<std::string> mEvents;
};

IMouseMod Left() { return IMouseMod(true); }
IMouseMod Right() { return IMouseMod(false, true); }
} // namespace

TEST(Graphics, ControlsKeepDrawingOrderAndValuesFanOutToEveryBoundControl)
{
  GuiRig rig;
  Probe* a = new Probe(&rig.plug, IRECT(0, 0, 10, 10), GuiPlug::kLevel);
  Probe* b = new Probe(&rig.plug, IRECT(10, 0, 20, 10), GuiPlug::kLevel);
  Probe* c = new Probe(&rig.plug, IRECT(20, 0, 30, 10), GuiPlug::kGain);
  c->AddAuxParam(GuiPlug::kLevel);
  EXPECT_EQ(rig.gui->AttachControl(a), 0);
  EXPECT_EQ(rig.gui->AttachControl(b), 1);
  rig.gui->AttachControl(c);
  rig.gui->AttachPanelBackground(&COLOR_GRAY);
  EXPECT_EQ(rig.gui->GetControl(1), a) << "the background goes under everything and moves every index up";
  EXPECT_EQ(rig.gui->GetControl(3), c);

  rig.Attach();
  EXPECT_DOUBLE_EQ(a->GetValue(), 0.2) << "AttachGraphics pushes every parameter";
  EXPECT_DOUBLE_EQ(a->GetDefaultValue(), 0.2) << "and the first value pushed is the default";

  rig.plug.GetParam(GuiPlug::kLevel)->Set(0.6);
  rig.plug.RedrawParamControls();
  EXPECT_DOUBLE_EQ(a->GetValue(), 0.6);
  EXPECT_DOUBLE_EQ(b->GetValue(), 0.6);
  EXPECT_DOUBLE_EQ(c->GetAuxParam(0)->mValue, 0.6);
  EXPECT_DOUBLE_EQ(c->GetValue(), 0.5) << "its own parameter is untouched";
  EXPECT_TRUE(rig.plug.mReports.empty()) << "values from the plug-in never echo back to it";

  rig.gui->SetControlFromPlug(-1, 0.9);
  rig.gui->SetControlFromPlug(99, 0.9);
  rig.gui->SetControlFromPlug(2, 0.9);
  EXPECT_DOUBLE_EQ(b->GetValue(), 0.9);
}

TEST(Graphics, AnIdlePanelDrawsNothingAndDirtyControlsShareOneRectangle)
{
  GuiRig rig;
  rig.gui->AttachPanelBackground(&COLOR_BLACK);
  Probe* meter = new Probe(&rig.plug, IRECT(10, 10, 20, 60), GuiPlug::kGain);
  Probe* knob = new Probe(&rig.plug, IRECT(150, 40, 170, 60), GuiPlug::kLevel);
  rig.gui->AttachControl(meter);
  rig.gui->AttachControl(knob);
  rig.Attach();

  EXPECT_TRUE(rig.Frame()) << "everything starts dirty";
  EXPECT_FALSE(rig.Frame()) << "a fresh control is drawn once";
  const int draws = rig.gui->mScreenDraws;
  for (int i = 0; i < 5; ++i)
  {
    IRECT r;
    EXPECT_FALSE(rig.gui->IsDirty(&r));
    EXPECT_TRUE(r.Empty());
  }
  EXPECT_EQ(rig.gui->mScreenDraws, draws) << "idle ticks paint nothing";

  meter->SetValueFromPlug(0.8);
  knob->SetValueFromUserInput(0.7);
  IRECT r;
  ASSERT_TRUE(rig.gui->IsDirty(&r));
  EXPECT_EQ(r, IRECT(10, 10, 170, 60)) << "one bounding rectangle, not a list";
  const int meterDraws = meter->mDraws;
  rig.gui->Draw(&r);
  EXPECT_EQ(meter->mDraws, meterDraws + 1);
  EXPECT_EQ(rig.gui->mLastScreenRect, r);
  EXPECT_TRUE(rig.Frame()) << "a value change keeps a control dirty for a second frame";
  EXPECT_FALSE(rig.Frame());

  // The MIDI thread lights a key, or the audio thread moves a meter, while
  // that very control is being drawn: the next frame draws it again.
  meter->mDuringDraw = [&] { meter->SetDirty(false); };
  meter->SetDirty(false);
  EXPECT_TRUE(rig.Frame());
  const int before = meter->mDraws;
  EXPECT_TRUE(rig.Frame()) << "a change made during the drawing is not lost";
  EXPECT_EQ(meter->mDraws, before + 1);
}

TEST(Graphics, AHiddenControlLeavesWhatLiesBelowItOnTheSurface)
{
  GuiRig rig;
  rig.gui->AttachPanelBackground(&COLOR_BLUE);
  Probe* over = new Probe(&rig.plug, IRECT(20, 20, 40, 40), -1, COLOR_RED);
  rig.gui->AttachControl(over);
  rig.Attach();
  while (rig.Frame())
  {
  }
  EXPECT_EQ(rig.Pixel(30, 30), LiceColor(COLOR_RED));

  over->Hide(true);
  EXPECT_TRUE(rig.Frame());
  EXPECT_EQ(rig.Pixel(30, 30), LiceColor(COLOR_BLUE)) << "the background repainted where it was";
  EXPECT_TRUE(rig.Frame()) << "Hide asks for one more frame";
  EXPECT_FALSE(rig.Frame());

  int x = 30, y = 30;
  IMouseMod mod = Left();
  rig.gui->OnMouseDown(x, y, &mod);
  EXPECT_TRUE(over->mEvents.empty()) << "a hidden control is not hit";
}

TEST(Graphics, HitTestingTakesTheTopmostControlAndPassesThroughOthers)
{
  GuiRig rig;
  Probe* lower = new Probe(&rig.plug, IRECT(0, 0, 50, 50));
  Probe* upper = new Probe(&rig.plug, IRECT(20, 20, 70, 70));
  Probe* meter = new Probe(&rig.plug, IRECT(0, 0, 100, 100));
  rig.gui->AttachControl(lower);
  rig.gui->AttachControl(upper);
  rig.gui->AttachControl(meter);
  meter->SetTargetArea(IRECT()); // draws, but takes no mouse
  rig.Attach();

  EXPECT_EQ(rig.gui->GetMouseControlIdx(30, 30), 1) << "the later control is on top";
  EXPECT_EQ(rig.gui->GetMouseControlIdx(10, 10), 0);
  EXPECT_EQ(rig.gui->GetMouseControlIdx(90, 90), -1) << "an empty target area passes clicks through";
  upper->GrayOut(true);
  EXPECT_EQ(rig.gui->GetMouseControlIdx(30, 30), 0) << "a grayed control passes the click to the one beneath";
}

TEST(Graphics, ThePressedControlKeepsTheMouseUntilRelease)
{
  GuiRig rig;
  Probe* knob = new Probe(&rig.plug, IRECT(0, 0, 20, 20), GuiPlug::kLevel);
  Probe* other = new Probe(&rig.plug, IRECT(50, 0, 70, 20));
  rig.gui->AttachControl(knob);
  rig.gui->AttachControl(other);
  rig.Attach();

  IMouseMod mod = Left();
  rig.gui->OnMouseDown(10, 10, &mod);
  rig.gui->OnMouseDrag(10, 10, &mod); // no motion: nobody hears of it
  rig.gui->OnMouseDrag(60, 13, &mod); // onto the other control
  rig.gui->OnMouseDrag(61, 11, &mod);
  rig.gui->OnMouseUp(60, 10, &mod);
  EXPECT_EQ(knob->mEvents, (std::vector<std::string>{"down", "drag 50,3", "drag 1,-2", "up"}));
  EXPECT_TRUE(other->mEvents.empty());
  EXPECT_EQ(rig.plug.mReports, (std::vector<std::string>{"begin 0", "end 0"}));
  EXPECT_EQ(rig.gui->GetMouseCapture(), -1);

  rig.gui->OnMouseDrag(65, 10, &mod);
  EXPECT_TRUE(other->mEvents.empty()) << "a drag without a press goes nowhere";
}

TEST(Graphics, DoubleClicksRestoreTheDefaultOrActAsAPress)
{
  GuiRig rig;
  IBitmap knobs = rig.Solid(20, 20, 10, LICE_RGBA(1, 2, 3, 255));
  IKnobMultiControl* knob = new IKnobMultiControl(&rig.plug, 0, 0, GuiPlug::kLevel, knobs);
  Probe* pad = new Probe(&rig.plug, IRECT(50, 0, 70, 20));
  pad->SetDblAsSingleClick(true);
  rig.gui->AttachControl(knob);
  rig.gui->AttachControl(pad);
  rig.Attach();

  IMouseMod mod = Left();
  rig.gui->OnMouseDown(10, 10, &mod);
  rig.gui->OnMouseDrag(10, 0, &mod);
  rig.gui->OnMouseUp(10, 0, &mod);
  EXPECT_NE(rig.Param(GuiPlug::kLevel), 0.2);
  EXPECT_FALSE(rig.gui->OnMouseDblClick(10, 10, &mod));
  EXPECT_DOUBLE_EQ(rig.Param(GuiPlug::kLevel), 0.2) << "the value the plug-in first pushed";
  rig.gui->OnMouseDrag(10, 0, &mod);
  EXPECT_DOUBLE_EQ(rig.Param(GuiPlug::kLevel), 0.2) << "a double click leaves no capture";

  EXPECT_TRUE(rig.gui->OnMouseDblClick(60, 10, &mod));
  rig.gui->OnMouseDrag(62, 10, &mod);
  EXPECT_EQ(pad->mEvents, (std::vector<std::string>{"down", "drag 2,0"}))
      << "a control that takes a double click as a press keeps the mouse";
}

TEST(Graphics, KeysGoToTheControlUnderTheMouseOrElseTheKeyCatcher)
{
  GuiRig rig;
  rig.gui->AttachPanelBackground(&COLOR_BLACK);
  Probe* target = new Probe(&rig.plug, IRECT(0, 0, 20, 20));
  Probe* catcher = new Probe(&rig.plug, IRECT());
  rig.gui->AttachControl(target);
  rig.Attach();

  EXPECT_FALSE(rig.gui->OnKeyDown(100, 50, 15)) << "the background takes no key, and there is no catcher";
  rig.gui->AttachKeyCatcher(catcher);
  EXPECT_TRUE(rig.gui->OnKeyDown(100, 50, 15));
  target->mTakesKeys = false;
  EXPECT_FALSE(rig.gui->OnKeyDown(5, 5, 0)) << "a refused key is not handed on to the catcher";
  EXPECT_EQ(target->mEvents, (std::vector<std::string>{"key 0"}));
  EXPECT_EQ(catcher->mEvents, (std::vector<std::string>{"key 15"}));
}

TEST(Graphics, PromptsOfferAMenuForListsAndAFilteredEntryForNumbers)
{
  GuiRig rig;
  IBitmap sw = rig.Solid(10, 10, 3, LICE_RGBA(9, 9, 9, 255));
  ISwitchControl* mode = new ISwitchControl(&rig.plug, 0, 0, GuiPlug::kMode, sw);
  Probe* cents = new Probe(&rig.plug, IRECT(40, 0, 80, 20), GuiPlug::kCents);
  Probe* gain = new Probe(&rig.plug, IRECT(100, 0, 140, 20), GuiPlug::kGain);
  Probe* name = new Probe(&rig.plug, IRECT(150, 0, 190, 20));
  for (IControl* c : std::vector<IControl*>{mode, cents, gain}) c->SetDisablePrompt(false);
  rig.gui->AttachControl(mode);
  rig.gui->AttachControl(cents);
  rig.gui->AttachControl(gain);
  rig.gui->AttachControl(name);
  rig.Attach();

  // A list parameter: a menu over the control with the current entry ticked.
  rig.gui->mMenuAnswers.push_back(2);
  mode->PromptUserInput();
  ASSERT_EQ(rig.gui->mMenusShown.size(), 1u);
  EXPECT_EQ(rig.gui->mMenusShown[0], (std::vector<std::string>{"Saw", "Square", "Sine"}));
  EXPECT_EQ(rig.gui->mLastMenuRect, mode->GetRECT());
  EXPECT_EQ(rig.Param(GuiPlug::kMode), 2.0);
  mode->PromptUserInput(); // dismissed
  EXPECT_EQ(rig.Param(GuiPlug::kMode), 2.0) << "a cancelled menu changes nothing";

  // A number: a small field at the control's centre, filtered as typed.
  IMouseMod right = Right();
  rig.gui->OnMouseDown(60, 10, &right);
  ASSERT_EQ(rig.gui->mEdControl, cents);
  EXPECT_EQ(rig.gui->mEdRect, IRECT(40, 2, 80, 18));
  EXPECT_EQ(rig.gui->mEdText, "0");
  rig.gui->mEdText.clear();
  rig.gui->Type("-4.5x7");
  EXPECT_EQ(rig.gui->mEdText, "-457") << "an integer field refuses letters and '.'";
  rig.gui->ConfirmTextEntry();
  EXPECT_EQ(rig.Param(GuiPlug::kCents), -100.0) << "the typed value, bounded by the parameter";

  gain->PromptUserInput();
  rig.gui->mEdText.clear();
  rig.gui->Type("-6.25123");
  EXPECT_EQ(rig.gui->mEdText, "-6.2512") << "at most seven characters";
  rig.gui->ConfirmTextEntry();
  EXPECT_NEAR(rig.Param(GuiPlug::kGain), -6.2512, 1e-9);

  // A second field while one is open is ignored; no parameter, no filter.
  rig.gui->CreateTextEntry(name, name->GetText(), const_cast<IRECT*>(&name->GetRECT()), "");
  rig.gui->CreateTextEntry(cents, cents->GetText(), const_cast<IRECT*>(&cents->GetRECT()), "");
  EXPECT_EQ(rig.gui->mEdControl, name);
  rig.gui->Type("Any text, as long as it likes!");
  EXPECT_EQ(rig.gui->mEdText, "Any text, as long as it likes!");

  Probe* silent = new Probe(&rig.plug, IRECT(0, 50, 10, 60), GuiPlug::kCents);
  rig.gui->AttachControl(silent);
  rig.gui->ForceEndUserEdit();
  rig.gui->OnMouseDown(5, 55, &right);
  EXPECT_EQ(rig.gui->mEdControl, nullptr) << "prompts stay off until the builder enables them";
}

TEST(Graphics, TextIsMeasuredAboutItsAlignmentAndFontsAreSharedAcrossColours)
{
  GuiRig rig(300, 60);
  rig.Attach();
  IText centre(14, &COLOR_BLACK, nullptr, IText::kStylePlain, IText::kAlignCentre);
  IRECT measured(50, 0, 250, 20);
  ASSERT_TRUE(rig.gui->MeasureIText(&centre, "MMMM", &measured));
  const int w = measured.W();
  EXPECT_GT(w, 20);
  EXPECT_EQ(measured.L, 150 - w / 2) << "a centred measure is placed about the middle";

  IText red(14, &COLOR_RED), green(14, &COLOR_GREEN), upper(14, &COLOR_RED, "MONACO");
  EXPECT_EQ(rig.gui->CacheFont(&red), rig.gui->CacheFont(&green)) << "colour is not part of a font";
  EXPECT_NE(rig.gui->CacheFont(&upper), rig.gui->CacheFont(&red)) << "face names compare case-sensitively";
  IText unused(31);
  EXPECT_TRUE(rig.gui->DrawIText(&unused, "", &measured));
  EXPECT_EQ(unused.mCached, nullptr) << "an empty text makes no font";
}

TEST(Graphics, NumbersReadAndWriteWithAPointUnderAGermanLocale)
{
  // GTK puts the user's locale in force; under de_DE the C library writes
  // "0,50" and reads "0.5" as 0.
  const std::string was = setlocale(LC_ALL, nullptr);
  ASSERT_NE(setlocale(LC_ALL, "de_DE.UTF-8"), nullptr) << "the de_DE.UTF-8 locale is installed (locales-all)";
  GuiRig rig;
  Probe* gain = new Probe(&rig.plug, IRECT(0, 0, 40, 20), GuiPlug::kGain);
  gain->SetDisablePrompt(false);
  rig.gui->AttachControl(gain);
  rig.Attach();

  gain->PromptUserInput();
  rig.gui->mEdText.clear();
  rig.gui->Type("-2.5");
  rig.gui->ConfirmTextEntry();
  const double typed = rig.Param(GuiPlug::kGain);
  char shown[32];
  rig.plug.GetParam(GuiPlug::kGain)->GetDisplayForHost(shown);
  setlocale(LC_ALL, was.c_str());
  EXPECT_EQ(typed, -2.5);
  EXPECT_STREQ(shown, "-2.5");
}

// A VELTRA_RESOURCES without images is passed over for the installed ones,
// with a line that says so; images that are missing all the same are named
// in one line with the folder searched.
TEST(Graphics, MissingImagesAreNamedInOneLineWithTheirFolder)
{
  TempDir empty;
  setenv("VELTRA_RESOURCES", empty.Path().c_str(), 1);
  std::string note;
  const std::string root = SWELL_FindResourceRoot(&note);
  unsetenv("VELTRA_RESOURCES");
  struct stat st;
  EXPECT_EQ(stat((root + "/resources/img/bg.png").c_str(), &st), 0) << "the installed images: " << root;
  EXPECT_EQ(note, "VELTRA_RESOURCES=" + empty.Path() + " holds no resources/img folder; using the images in " + root);

  GuiRig rig;
  rig.gui->LoadIBitmap(9001, "resources/img/gone.png");
  rig.gui->LoadIBitmap(9002, "resources/img/lost.png", 3);
  testing::internal::CaptureStderr();
  rig.gui->ReportMissingImages("/some/folder");
  rig.gui->ReportMissingImages("/some/folder");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "2 images missing from /some/folder, not drawn: resources/img/gone.png, resources/img/lost.png\n");
}

// At every size the units are mapped by their edges: a grid of controls of
// uneven sizes covers the surface with neither a gap nor an overlap, and
// every pixel is hit-tested back to the control drawn on it.
TEST(Graphics, AtEverySizeNeighbouringControlsMeetPixelForPixelAndTheMouseFindsThem)
{
  for (int percent : kPanelSizes)
  {
    GuiRig rig(91, 39);
    std::vector<Probe*> grid;
    for (int t = 0; t < 39; t += 13)
      for (int l = 0, w = 5; l < 91; l += w, w = w % 11 + 3)
      {
        const IColor c(255, 10 + (int)grid.size() * 3, 200, 255 - (int)grid.size());
        grid.push_back(new Probe(&rig.plug, IRECT(l, t, std::min(l + w, 91), t + 13), -1, c));
        rig.gui->AttachControl(grid.back());
      }
    rig.gui->SetPanelSize(percent);
    rig.Attach();
    rig.gui->SetAllControlsDirty();
    ASSERT_TRUE(rig.Frame());
    const IPanelScale& map = rig.gui->Map();
    ASSERT_EQ(rig.gui->GetDrawBitmap()->getWidth(), map.Px(91)) << percent;
    for (int y = 0; y < map.Px(39); ++y)
      for (int x = 0; x < map.Px(91); ++x)
      {
        const int c = rig.gui->GetMouseControlIdx(map.Unit(x), map.Unit(y));
        ASSERT_GE(c, 0) << percent << "% pixel " << x << "," << y;
        EXPECT_EQ(rig.Pixel(x, y), LiceColor(grid[(size_t)c]->mColor)) << percent << "% pixel " << x << "," << y;
      }
    for (int u = -3; u <= 920; ++u) ASSERT_EQ(map.Unit(map.Px(u)), u) << percent << "% unit " << u;
  }
}

// Images at a larger size come from their twice-size version: copied at
// 200 %, averaged down at 150 % with transparent pixels lending no colour;
// an image without one is enlarged from itself. Text is set at the size.
TEST(Graphics, LargerSizesDrawFromTwiceSizeImagesAndScaleText)
{
  GuiRig rig(4, 2);
  // At 100 % one opaque unit and one transparent one; at 200 % the same in
  // 2 x 2 blocks, the transparent half black.
  const IBitmap bm = rig.Solid(2, 1, 1, LICE_RGBA(255, 0, 0, 255));
  LICE_MemBitmap twice(4, 2);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 4; ++x) twice.getBits()[y * twice.getRowSpan() + x] = x < 2 ? LICE_RGBA(255, 0, 0, 255) : 0;
  const std::string name = "img" + std::to_string(rig.NextBitmapId() - 1) + "@2x.png";
  ASSERT_TRUE(WritePngFile(rig.gui->mFolder.File(name), &twice));
  const IBitmap plain = rig.Solid(2, 1, 1, LICE_RGBA(0, 0, 255, 255)); // no twice-size version
  IPanelControl* back = new IPanelControl(&rig.plug, IRECT(0, 0, 4, 2), &COLOR_WHITE);
  rig.gui->AttachControl(back);
  rig.gui->AttachControl(new IBitmapControl(&rig.plug, 0, 0, -1, bm));
  rig.gui->AttachControl(new IBitmapControl(&rig.plug, 2, 1, -1, plain));
  rig.Attach();
  const int R = 0, G = 1;
  auto channel = [&](int x, int y, int c)
  { return (int)(c == R ? LICE_GETR(rig.Pixel(x, y)) : LICE_GETG(rig.Pixel(x, y))); };

  rig.gui->SetPanelSize(200);
  rig.Frame();
  EXPECT_EQ(rig.Pixel(1, 1), LiceColor(IColor(255, 255, 0, 0)));
  EXPECT_EQ(rig.Pixel(2, 1), LiceColor(COLOR_WHITE)) << "the transparent half shows the panel";
  EXPECT_EQ(rig.Pixel(5, 3), LiceColor(IColor(255, 0, 0, 255))) << "an image without its twice size, enlarged";

  rig.gui->SetPanelSize(150); // two units: three pixels, the middle one half covered
  rig.Frame();
  EXPECT_EQ(rig.Pixel(0, 0), LiceColor(IColor(255, 255, 0, 0)));
  EXPECT_EQ(channel(1, 0, R), 255) << "the edge pixel is red, half seen, not darkened";
  EXPECT_NEAR(channel(1, 0, G), 128, 2);
  EXPECT_EQ(rig.Pixel(2, 0), LiceColor(COLOR_WHITE));

  IText text(14, &COLOR_BLACK);
  IRECT at100(0, 0, 200, 20), at150(0, 0, 200, 20);
  rig.gui->SetPanelSize(100);
  rig.gui->MeasureIText(&text, "Resonance", &at100);
  LICE_IFont* own = text.mCached;
  rig.gui->SetPanelSize(150);
  rig.gui->MeasureIText(&text, "Resonance", &at150);
  EXPECT_NEAR(at150.W(), at100.W(), at100.W() / 8) << "a text measures about as many units at every size";
  EXPECT_EQ(text.mCached, own) << "its style keeps its own font";
}
