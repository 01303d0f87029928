// Menus of the layer: a tree of items in plain records, turned into a GTK
// menu bar when set on a window. Menu resources register themselves before
// main like dialog resources.

#include "swell-internal.h"

#include <cstring>

SWELL_MenuResourceIndex* SWELL_curmodule_menuresource_head = nullptr;

SWELL_MenuGenHelper::SWELL_MenuGenHelper(SWELL_MenuResourceIndex** head, void (*createFunc)(HMENU), int resid)
{
  m_rec = {resid, createFunc, nullptr};
  if (resid && head)
  {
    m_rec._next = *head;
    *head = &m_rec;
  }
}

HMENU__::~HMENU__()
{
  if (shell) g_object_remove_weak_pointer(G_OBJECT(shell), (gpointer*)&shell);
  for (SWELL_MenuItem& item : items) delete item.sub;
}

namespace
{

SWELL_MenuItem* ItemAt(HMENU menu, int pos)
{
  return menu && pos >= 0 && pos < (int)menu->items.size() ? &menu->items[(size_t)pos] : nullptr;
}

// The item with a command id, searched depth first; its menu and position.
bool FindCommand(HMENU menu, int cmd, HMENU* owner, int* pos)
{
  for (size_t i = 0; i < menu->items.size(); ++i)
  {
    SWELL_MenuItem& item = menu->items[i];
    if (!item.separator && !item.sub && item.id == cmd)
    {
      *owner = menu;
      *pos = (int)i;
      return true;
    }
    if (item.sub && FindCommand(item.sub, cmd, owner, pos)) return true;
  }
  return false;
}

int Generate(HMENU menu, const SWELL_MenuGen_Entry* list, int count, int i)
{
  const size_t prefix = strlen(SWELL_MENUGEN_POPUP_PREFIX);
  while (i < count)
  {
    const SWELL_MenuGen_Entry& e = list[i++];
    SWELL_MenuItem item;
    if (!e.name)
      item.separator = true;
    else if (!strcmp(e.name, SWELL_MENUGEN_ENDPOPUP))
      return i;
    else if (!strncmp(e.name, SWELL_MENUGEN_POPUP_PREFIX, prefix))
    {
      item.text = e.name + prefix;
      item.sub = CreatePopupMenu();
      i = Generate(item.sub, list, count, i);
    }
    else
    {
      item.text = e.name;
      item.id = e.idx;
      item.radio = e.flags & MFT_RADIOCHECK;
      item.state = e.flags & ~MFT_RADIOCHECK;
    }
    menu->items.push_back(item);
  }
  return i;
}

// "&File" as GTK writes it: "_File"; "&&" is a plain "&", and underscores of
// the text stay underscores.
std::string Mnemonic(const std::string& text)
{
  std::string out;
  for (size_t i = 0; i < text.size(); ++i)
  {
    if (text[i] == '&' && i + 1 < text.size() && text[i + 1] == '&')
    {
      out += '&';
      ++i;
    }
    else if (text[i] == '&')
      out += '_';
    else if (text[i] == '_')
      out += "__";
    else
      out += text[i];
  }
  return out;
}

struct Activation
{
  HWND hwnd;
  int id;
};

void OnItemActivate(GtkMenuItem* w, gpointer data)
{
  // A choice of a group is sent as it is chosen, not as its neighbour is
  // cleared.
  if (GTK_IS_CHECK_MENU_ITEM(w) && !gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(w))) return;
  const Activation* a = (const Activation*)data;
  SendMessage(a->hwnd, WM_COMMAND, a->id & 0xFFFF, 0);
}

void FreeActivation(gpointer data, GClosure*) { delete (Activation*)data; }

void FillGtkMenu(GtkWidget* shell, HMENU menu, HWND hwnd)
{
  if (menu->shell) g_object_remove_weak_pointer(G_OBJECT(menu->shell), (gpointer*)&menu->shell);
  menu->shell = shell;
  g_object_add_weak_pointer(G_OBJECT(shell), (gpointer*)&menu->shell);
  GSList* group = nullptr; // of the run of choices being made
  for (SWELL_MenuItem& item : menu->items)
  {
    GtkWidget* w;
    if (item.separator)
      w = gtk_separator_menu_item_new();
    else if (item.radio && !item.sub)
    {
      // Set before its handler is connected: setting it activates it.
      w = gtk_radio_menu_item_new_with_mnemonic(group, Mnemonic(item.text).c_str());
      group = gtk_radio_menu_item_get_group(GTK_RADIO_MENU_ITEM(w));
      if (item.state & MFS_CHECKED) gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(w), TRUE);
    }
    else
      w = gtk_menu_item_new_with_mnemonic(Mnemonic(item.text).c_str());
    if (!item.radio || item.separator) group = nullptr;
    if (!item.separator)
    {
      if (item.sub)
      {
        GtkWidget* sub = gtk_menu_new();
        if (hwnd->accels) gtk_menu_set_accel_group(GTK_MENU(sub), hwnd->accels);
        FillGtkMenu(sub, item.sub, hwnd);
        gtk_menu_item_set_submenu(GTK_MENU_ITEM(w), sub);
      }
      else
      {
        g_signal_connect_data(w, "activate", G_CALLBACK(OnItemActivate), new Activation{hwnd, item.id}, FreeActivation,
                              (GConnectFlags)0);
        guint key = 0;
        GdkModifierType mods = (GdkModifierType)0;
        if (!item.accel.empty()) gtk_accelerator_parse(item.accel.c_str(), &key, &mods);
        if (key && hwnd->accels) gtk_widget_add_accelerator(w, "activate", hwnd->accels, key, mods, GTK_ACCEL_VISIBLE);
      }
      if ((item.state & MFS_GRAYED) == MFS_GRAYED) gtk_widget_set_sensitive(w, FALSE);
    }
    gtk_menu_shell_append(GTK_MENU_SHELL(shell), w);
  }
}
} // namespace

void SWELL_GenerateMenuFromList(HMENU menu, const SWELL_MenuGen_Entry* list, int count)
{
  if (menu && list) Generate(menu, list, count, 0);
}

HMENU CreatePopupMenu() { return new HMENU__; }

void DestroyMenu(HMENU menu) { delete menu; }

int GetMenuItemCount(HMENU menu) { return menu ? (int)menu->items.size() : 0; }

HMENU GetSubMenu(HMENU menu, int pos)
{
  SWELL_MenuItem* item = ItemAt(menu, pos);
  return item ? item->sub : nullptr;
}

int GetMenuItemID(HMENU menu, int pos)
{
  SWELL_MenuItem* item = ItemAt(menu, pos);
  if (!item || item->sub) return -1;
  return item->separator ? 0 : item->id;
}

bool GetMenuItemInfo(HMENU menu, int pos, bool byPosition, MENUITEMINFO* info)
{
  if (!menu || !info) return false;
  HMENU owner = menu;
  if (!byPosition && !FindCommand(menu, pos, &owner, &pos)) return false;
  SWELL_MenuItem* item = ItemAt(owner, pos);
  if (!item) return false;
  if (info->fMask & MIIM_ID) info->wID = (unsigned int)item->id;
  if (info->fMask & MIIM_STATE) info->fState = item->state;
  if (info->fMask & MIIM_SUBMENU) info->hSubMenu = item->sub;
  if (info->fMask & MIIM_DATA) info->dwItemData = item->data;
  if (info->fMask & MIIM_TYPE)
  {
    info->fType = item->separator ? MFT_SEPARATOR : MFT_STRING;
    if (info->dwTypeData && info->cch > 0)
    {
      strncpy(info->dwTypeData, item->text.c_str(), (size_t)info->cch - 1);
      info->dwTypeData[info->cch - 1] = 0;
    }
    info->cch = (int)item->text.size();
  }
  return true;
}

bool InsertMenuItem(HMENU menu, int pos, bool byPosition, MENUITEMINFO* info)
{
  if (!menu || !info) return false;
  HMENU owner = menu;
  if (!byPosition && !FindCommand(menu, pos, &owner, &pos)) return false;
  if (pos < 0 || pos > (int)owner->items.size()) pos = (int)owner->items.size();
  SWELL_MenuItem item;
  if (info->fMask & MIIM_TYPE)
  {
    item.separator = info->fType & MFT_SEPARATOR;
    item.radio = info->fType & MFT_RADIOCHECK;
    if (!item.separator && info->dwTypeData) item.text = info->dwTypeData;
  }
  if (info->fMask & MIIM_ID) item.id = (int)info->wID;
  if (info->fMask & MIIM_STATE) item.state = info->fState;
  if (info->fMask & MIIM_SUBMENU) item.sub = info->hSubMenu;
  if (info->fMask & MIIM_DATA) item.data = info->dwItemData;
  owner->items.insert(owner->items.begin() + pos, item);
  return true;
}

bool DeleteMenu(HMENU menu, int itemRef, int flags)
{
  if (!menu) return false;
  HMENU owner = menu;
  int pos = itemRef;
  if (!(flags & MF_BYPOSITION) && !FindCommand(menu, itemRef, &owner, &pos)) return false;
  if (!ItemAt(owner, pos)) return false;
  delete owner->items[(size_t)pos].sub;
  owner->items.erase(owner->items.begin() + pos);
  return true;
}

bool CheckMenuItem(HMENU menu, int cmd, unsigned int flags)
{
  HMENU owner = nullptr;
  int pos = 0;
  if (!menu || !FindCommand(menu, cmd, &owner, &pos)) return false;
  SWELL_MenuItem& item = owner->items[(size_t)pos];
  const bool on = flags & MF_CHECKED;
  item.state = on ? item.state | MFS_CHECKED : item.state & ~MFS_CHECKED;
  GList* children = owner->shell ? gtk_container_get_children(GTK_CONTAINER(owner->shell)) : nullptr;
  GtkWidget* w = (GtkWidget*)g_list_nth_data(children, (guint)pos);
  g_list_free(children);
  if (w && GTK_IS_CHECK_MENU_ITEM(w))
  {
    // GTK activates a check item whose state is set: the window must not
    // hear that as a choice.
    g_signal_handlers_block_matched(w, G_SIGNAL_MATCH_FUNC, 0, 0, nullptr, (gpointer)OnItemActivate, nullptr);
    gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(w), on);
    g_signal_handlers_unblock_matched(w, G_SIGNAL_MATCH_FUNC, 0, 0, nullptr, (gpointer)OnItemActivate, nullptr);
  }
  return true;
}

HMENU SWELL_GetCurrentMenu() { return nullptr; }

HMENU SWELL_DuplicateMenu(HMENU menu)
{
  if (!menu) return nullptr;
  HMENU copy = new HMENU__(*menu);
  for (SWELL_MenuItem& item : copy->items) item.sub = SWELL_DuplicateMenu(item.sub);
  return copy;
}

HMENU SWELL_LoadMenu(SWELL_MenuResourceIndex* head, int resid)
{
  for (SWELL_MenuResourceIndex* r = head; r; r = r->_next)
    if (r->resid == resid)
    {
      HMENU menu = CreatePopupMenu();
      if (r->createFunc) r->createFunc(menu);
      return menu;
    }
  return nullptr;
}

void SWELL_BuildMenuBar(HWND hwnd)
{
  if (hwnd->menubar)
  {
    gtk_widget_destroy(hwnd->menubar);
    hwnd->menubar = nullptr;
  }
  if (!hwnd->menu || !hwnd->box) return;
  if (!hwnd->accels)
  {
    hwnd->accels = gtk_accel_group_new();
    gtk_window_add_accel_group(GTK_WINDOW(hwnd->widget), hwnd->accels);
  }
  hwnd->menubar = gtk_menu_bar_new();
  FillGtkMenu(hwnd->menubar, hwnd->menu, hwnd);
  gtk_box_pack_start(GTK_BOX(hwnd->box), hwnd->menubar, FALSE, FALSE, 0);
  gtk_widget_show_all(hwnd->menubar);
}

void SetMenu(HWND hwnd, HMENU menu)
{
  if (!hwnd || hwnd->kind != kWndWindow) return;
  if (hwnd->menu != menu) delete hwnd->menu;
  hwnd->menu = menu;
  SWELL_BuildMenuBar(hwnd);
}

HMENU GetMenu(HWND hwnd) { return hwnd ? hwnd->menu : nullptr; }

// On GTK every dialog is a window of its own, modal over the window whose
// bar stays in place: there is no separate bar to show while it runs.
void SWELL_SetDefaultModalWindowMenu(HMENU) {}

void SWELL_SetMenuItemAccel(HMENU menu, int cmd, const char* accel)
{
  HMENU owner;
  int pos;
  if (menu && FindCommand(menu, cmd, &owner, &pos)) owner->items[(size_t)pos].accel = accel ? accel : "";
}
