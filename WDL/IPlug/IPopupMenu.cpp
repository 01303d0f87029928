#include "IPopupMenu.h"

IPopupMenuItem* IPopupMenu::AddItem(IPopupMenuItem* item, int index)
{
  if (index == -1)
    mItems.Add(item);
  else
    mItems.Insert(index, item);
  return item;
}

IPopupMenuItem* IPopupMenu::AddItem(const char* text, int index, int flags)
{
  return AddItem(new IPopupMenuItem(text, flags), index);
}

IPopupMenuItem* IPopupMenu::AddItem(const char* text, int index, IPopupMenu* submenu)
{
  return AddItem(new IPopupMenuItem(text, submenu), index);
}

IPopupMenuItem* IPopupMenu::AddItem(const char* text, IPopupMenu* submenu)
{
  return AddItem(new IPopupMenuItem(text, submenu), -1);
}

IPopupMenuItem* IPopupMenu::AddSeparator(int index)
{
  return AddItem(new IPopupMenuItem("", IPopupMenuItem::kSeparator), index);
}

void IPopupMenu::SetPrefix(int count)
{
  if (count >= 0 && count < 4) mPrefix = count;
}

const char* IPopupMenu::GetItemText(int index) const
{
  IPopupMenuItem* item = GetItem(index);
  return item ? item->GetText() : "";
}

void IPopupMenu::GetDisplayText(int index, WDL_String* text) const
{
  static const char* const kForms[4] = {"", "%1d: ", "%02d: ", "%03d: "};
  if (mPrefix > 0)
    text->SetFormatted(32, kForms[mPrefix], index + 1);
  else
    text->Set("");
  text->Append(GetItemText(index));
}

bool IPopupMenu::CheckItem(int index, bool state)
{
  IPopupMenuItem* item = GetItem(index);
  if (!item) return false;
  item->SetChecked(state);
  return true;
}

void IPopupMenu::CheckItemAlone(int index)
{
  for (int i = 0; i < mItems.GetSize(); ++i) mItems.Get(i)->SetChecked(i == index);
}

bool IPopupMenu::IsItemChecked(int index) const
{
  IPopupMenuItem* item = GetItem(index);
  return item && item->GetChecked();
}
