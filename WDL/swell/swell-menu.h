#pragma once
// Menus, Win32 style: a tree of items with command ids, texts ("&" marks the
// mnemonic) and submenus, built from resource lists and read or changed by
// position or command. SetMenu turns a menu into the window's GTK menu bar;
// choosing an item sends WM_COMMAND with its id to the window. Main thread.

#include "swell-wnd.h"

struct MENUITEMINFO
{
  unsigned int cbSize; // 44
  unsigned int fMask;
  unsigned int fType;
  unsigned int fState;
  unsigned int wID;
  HMENU hSubMenu;
  void* hbmpChecked;
  void* hbmpUnchecked;
  intptr_t dwItemData;
  char* dwTypeData;
  int cch;
};

enum
{
  MIIM_ID = 1,
  MIIM_STATE = 2,
  MIIM_TYPE = 4,
  MIIM_SUBMENU = 8,
  MIIM_DATA = 16
};
enum
{
  MFT_STRING = 0,
  // One of a group of choices: a check item drawn with a dot. In a menu
  // list it goes in the record's flags, beside the state.
  MFT_RADIOCHECK = 0x200,
  MFT_SEPARATOR = 0x800
};
enum
{
  MFS_GRAYED = 3,
  MFS_CHECKED = 8
};
enum
{
  MF_UNCHECKED = 0,
  MF_BYCOMMAND = 0,
  MF_CHECKED = 8,
  MF_BYPOSITION = 1024
};

// A menu resource: registered before main by a static SWELL_MenuGenHelper.
struct SWELL_MenuResourceIndex
{
  int resid;
  void (*createFunc)(HMENU);
  SWELL_MenuResourceIndex* _next;
};
extern SWELL_MenuResourceIndex* SWELL_curmodule_menuresource_head;

class SWELL_MenuGenHelper
{
public:
  SWELL_MenuGenHelper(SWELL_MenuResourceIndex** head, void (*createFunc)(HMENU), int resid);
  SWELL_MenuResourceIndex m_rec;
};

// One record of a menu list. A text starting with the marker "/.BO^O:" opens
// a popup with the rest as its caption, up to a record whose text is
// "EN%%%^:"; a null text is a separator.
struct SWELL_MenuGen_Entry
{
  const char* name;
  unsigned short idx;
  unsigned short flags;
};
#define SWELL_MENUGEN_POPUP_PREFIX "/.BO^O:"
#define SWELL_MENUGEN_ENDPOPUP "EN%%%^:"
void SWELL_GenerateMenuFromList(HMENU menu, const SWELL_MenuGen_Entry* list, int count);

HMENU CreatePopupMenu();
void DestroyMenu(HMENU menu);
int GetMenuItemCount(HMENU menu);
HMENU GetSubMenu(HMENU menu, int pos);
// The command id; 0 for a separator, -1 for a submenu or a bad position.
int GetMenuItemID(HMENU menu, int pos);
bool GetMenuItemInfo(HMENU menu, int pos, bool byPosition, MENUITEMINFO* info);
// Inserts before pos; the menu takes over a submenu given.
bool InsertMenuItem(HMENU menu, int pos, bool byPosition, MENUITEMINFO* info);
// flags MF_BYCOMMAND (item = command id, searched through submenus too) or
// MF_BYPOSITION.
bool DeleteMenu(HMENU menu, int item, int flags);
// Checks (MF_CHECKED) or clears (MF_UNCHECKED) the item with that command,
// also on a menu bar shown; false when there is none. The item's command is
// not sent.
bool CheckMenuItem(HMENU menu, int cmd, unsigned int flags);

// This platform has no application menu bar of its own: null.
HMENU SWELL_GetCurrentMenu();
HMENU SWELL_DuplicateMenu(HMENU menu);
// A new popup menu filled by the resource's create function; null when the
// id is unknown.
HMENU SWELL_LoadMenu(SWELL_MenuResourceIndex* head, int resid);
// Shows menu as the window's menu bar above its content; the window owns it
// from now on.
void SetMenu(HWND hwnd, HMENU menu);
HMENU GetMenu(HWND hwnd);
// The bar shown while a modal dialog runs. GTK keeps each window's own bar,
// and a modal dialog makes the others insensitive, so only the pointer is
// kept.
void SWELL_SetDefaultModalWindowMenu(HMENU menu);
// A keyboard accelerator for the item with that command, in GTK's form
// ("<Control>q"); takes effect when the menu is set on a window.
void SWELL_SetMenuItemAccel(HMENU menu, int cmd, const char* accel);
