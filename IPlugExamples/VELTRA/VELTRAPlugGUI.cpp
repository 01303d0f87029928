// The instrument's own panel, in the view that the program's MakeGraphics
// makes: the application's GTK window, or a test's or benchmark's view.

#include "IGraphics.h"
#include "VELTRAPanel.h"

void VELTRA::MakePanel()
{
  if (!mPanel) AttachPanel(MakeGraphics(this, kPanelWidth, kPanelHeight, 0));
}

IGraphics* MakePlugGUI(void* plug)
{
  VELTRA* veltra = (VELTRA*)plug;
  veltra->MakePanel();
  return veltra->mPanel;
}
