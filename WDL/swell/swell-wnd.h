#pragma once
// Windows, dialogs and their controls, Win32 style, on GTK 3. A window
// carries the procedure that its messages go to; a dialog's controls are
// addressed by id and driven by messages. Dialog units are pixels. Modal
// dialogs run a nested main loop, so audio and MIDI go on meanwhile.
// Main thread only.

#include "wdltypes.h"

class LICE_IBitmap;

#include <cstdint>

typedef intptr_t WPARAM;
typedef intptr_t LPARAM;
typedef intptr_t LRESULT;
typedef intptr_t INT_PTR;
typedef struct HWND__* HWND;
typedef struct HMENU__* HMENU;
typedef LRESULT (*DLGPROC)(HWND hwnd, unsigned int msg, WPARAM wParam, LPARAM lParam);

enum
{
  WM_DESTROY = 2,
  WM_CLOSE = 16,
  WM_ACTIVATEAPP = 28,
  WM_INITDIALOG = 272,
  WM_COMMAND = 273,
  BM_GETCHECK = 240,
  BM_SETCHECK = 241,
  CB_ADDSTRING = 323,
  CB_GETCOUNT = 326,
  CB_GETCURSEL = 327,
  CB_GETLBTEXT = 328,
  CB_GETLBTEXTLEN = 329,
  CB_RESETCONTENT = 331,
  CB_SETCURSEL = 334,
  CB_FINDSTRINGEXACT = 344
};

// Notifications, in the high 16 bits of a WM_COMMAND's wParam.
enum
{
  BN_CLICKED = 0,
  CBN_SELCHANGE = 1
};

enum
{
  IDOK = 1,
  IDCANCEL = 2,
  IDYES = 6,
  IDNO = 7
};

// MessageBox button sets.
enum
{
  MB_OK = 0,
  MB_OKCANCEL = 1,
  MB_YESNOCANCEL = 3,
  MB_YESNO = 4
};

enum
{
  SW_HIDE = 0,
  SW_SHOW = 2
};

#define LOWORD(x) ((int)((x)&0xFFFF))
#define HIWORD(x) ((int)(((x) >> 16) & 0xFFFF))

// A dialog resource: registered before main by a static SWELL_DialogRegHelper
// at the head of a list, looked up by id.
struct SWELL_DialogResourceIndex
{
  int resid;
  const char* title;
  int windowTypeFlags; // 1: a child dialog (never modal); 8: no fitting of controls to their text
  void (*createFunc)(HWND, int);
  int width, height;
  SWELL_DialogResourceIndex* _next;
};
extern SWELL_DialogResourceIndex* SWELL_curmodule_dialogresource_head;

class SWELL_DialogRegHelper
{
public:
  SWELL_DialogRegHelper(SWELL_DialogResourceIndex** head, void (*createFunc)(HWND, int), int resid, int flags,
                        const char* title, int width, int height, double scale);
  SWELL_DialogResourceIndex m_rec;
};

// One control of a dialog's list, by its class: "__SWELL_BUTTON",
// "__SWELL_COMBO", "__SWELL_CHECKBOX", "__SWELL_LABEL", "__SWELL_GROUP",
// "__SWELL_EDIT", "__SWELL_LISTBOX".
struct SWELL_DlgResourceEntry
{
  const char* className;
  int p1; // button: 1 for the default button; label: alignment, -1 left
  const char* text;
  int id; // -1 for none
  int x, y, w, h;
  int style; // combo: 3, a list that cannot be typed in
};

// The parent and scale for the controls that the next generation makes.
void SWELL_MakeSetCurParms(float xscale, float yscale, float xtrans, float ytrans, HWND parent, bool doauto,
                           bool sizetofit);
void SWELL_GenerateDialogFromList(const SWELL_DlgResourceEntry* list, int count);

// Creates the window with its size and title, runs the create function and
// delivers WM_INITDIALOG before returning; null when the id is unknown or no
// display is open.
HWND SWELL_CreateDialog(SWELL_DialogResourceIndex* head, int resid, HWND parent, DLGPROC proc, LPARAM param);
// Runs a modal dialog until EndDialog; its result, or -1 when the id is
// unknown, the resource is a child, or no display is open.
INT_PTR SWELL_DialogBox(SWELL_DialogResourceIndex* head, int resid, HWND parent, DLGPROC proc, LPARAM param);
// Stores the result and ends the modal loop once the procedure returns.
void EndDialog(HWND hwnd, int result);

// A window without a native view: a procedure and the parameter it was made
// with.
HWND SWELL_CreateProcWindow(DLGPROC proc, LPARAM param);
// Delivers WM_DESTROY, then disposes of the window and its controls.
void DestroyWindow(HWND hwnd);
// Synchronous: the window's procedure, or a control's own handling of the
// message; 0 for a null window.
LRESULT SendMessage(HWND hwnd, unsigned int msg, WPARAM wParam, LPARAM lParam);
HWND GetDlgItem(HWND hwnd, int id);
void ShowWindow(HWND hwnd, int cmd);
void SetWindowText(HWND hwnd, const char* text);
int GetWindowText(HWND hwnd, char* buf, int len);
void EnableWindow(HWND hwnd, bool enable);
bool IsWindowEnabled(HWND hwnd);
bool GetWindowRect(HWND hwnd, RECT* r);
void SetWindowPos(HWND hwnd, HWND insertAfter, int x, int y, int w, int h, int flags);
// Centres a top-level window on its screen.
void SWELL_CenterWindow(HWND hwnd);
// A modal box with the text below the caption. Answers IDOK, IDCANCEL,
// IDYES or IDNO.
int MessageBox(HWND parent, const char* text, const char* caption, int type);

// The GtkContainer that a view joins to appear in the window's content
// area, at the window's client origin; null for windows without one.
void* SWELL_GetViewContainer(HWND hwnd);
// The GtkWindow of a window, for views that need their toplevel.
void* SWELL_GetNativeWindow(HWND hwnd);
// The window that holds a native widget, or null.
HWND SWELL_WindowFromNative(void* gtkWidget);

// The top-level windows' class (WM_CLASS: instance name, class Name with
// its first letter in capital) and themed icon name (null: none), set
// before the window system starts.
void SWELL_SetWindowClass(const char* name, const char* iconName);
// Every top-level window's icon from an image (alpha kept); null does
// nothing. After the window system started.
void SWELL_SetDefaultWindowIcon(LICE_IBitmap* image);
