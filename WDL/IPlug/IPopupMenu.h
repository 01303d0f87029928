#pragma once
// A platform-neutral description of a popup menu: items with flags,
// separators and submenus, and the index that the user chose. The platform
// view turns it into a real menu and runs it. GUI thread.

#include "../ptrlist.h"
#include "../wdlstring.h"

class IPopupMenu;

class IPopupMenuItem
{
public:
  enum Flags
  {
    kNoFlags = 0,
    kDisabled = 1,
    kTitle = 2,
    kChecked = 4,
    kSeparator = 8
  };

  IPopupMenuItem(const char* text, int flags = kNoFlags) : mText(text), mFlags(flags) {}
  IPopupMenuItem(const char* text, IPopupMenu* submenu) : mText(text), mSubmenu(submenu) {}

  void SetText(const char* text) { mText.Set(text); }
  const char* GetText() const { return mText.Get(); }
  IPopupMenu* GetSubmenu() const { return mSubmenu; }
  bool GetEnabled() const { return !(mFlags & kDisabled); }
  bool GetIsTitle() const { return mFlags & kTitle; }
  bool GetChecked() const { return mFlags & kChecked; }
  bool GetIsSeparator() const { return mFlags & kSeparator; }
  void SetChecked(bool state) { mFlags = state ? mFlags | kChecked : mFlags & ~kChecked; }

private:
  WDL_String mText;
  IPopupMenu* mSubmenu = nullptr; // not owned
  int mFlags = kNoFlags;
};

class IPopupMenu
{
public:
  // prefix: the numbering form in front of each item's text, 0 to 3.
  explicit IPopupMenu(int prefix = 0, bool canMultiCheck = false) : mPrefix(prefix), mCanMultiCheck(canMultiCheck) {}
  // Deletes the items, not their submenus.
  ~IPopupMenu() { mItems.Empty(true); }
  IPopupMenu(const IPopupMenu&) = delete;
  IPopupMenu& operator=(const IPopupMenu&) = delete;

  // Takes ownership; index -1 appends.
  IPopupMenuItem* AddItem(IPopupMenuItem* item, int index = -1);
  IPopupMenuItem* AddItem(const char* text, int index = -1, int flags = IPopupMenuItem::kNoFlags);
  IPopupMenuItem* AddItem(const char* text, int index, IPopupMenu* submenu);
  IPopupMenuItem* AddItem(const char* text, IPopupMenu* submenu);
  IPopupMenuItem* AddSeparator(int index = -1);

  // Accepted for 0 to 3 only.
  void SetPrefix(int count);
  int GetPrefix() const { return mPrefix; }
  bool GetCanMultiCheck() const { return mCanMultiCheck; }
  int GetNItems() const { return mItems.GetSize(); }
  IPopupMenuItem* GetItem(int index) const { return mItems.Get(index); }
  const char* GetItemText(int index) const;
  // The item's text as a menu shows it: with the numbering of the prefix in
  // front, counted from 1 over every item (separators too).
  void GetDisplayText(int index, WDL_String* text) const;

  bool CheckItem(int index, bool state);
  void CheckItemAlone(int index);
  bool IsItemChecked(int index) const;

  int GetChosenItemIdx() const { return mChosenItemIdx; }
  void SetChosenItemIdx(int index) { mChosenItemIdx = index; }

private:
  int mPrefix;
  int mChosenItemIdx = -1;
  bool mCanMultiCheck; // kept; nothing consults it
  WDL_PtrList<IPopupMenuItem> mItems;
};
