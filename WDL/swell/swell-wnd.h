#pragma once
// Window handles and synchronous message delivery, Win32 style. A window
// carries the procedure that its messages go to. Main thread only.

#include <cstdint>

typedef intptr_t WPARAM;
typedef intptr_t LPARAM;
typedef intptr_t LRESULT;
typedef struct HWND__* HWND;
typedef LRESULT (*DLGPROC)(HWND hwnd, unsigned int msg, WPARAM wParam, LPARAM lParam);

enum
{
  WM_DESTROY = 2,
  WM_CLOSE = 16,
  WM_ACTIVATEAPP = 28,
  WM_INITDIALOG = 272,
  WM_COMMAND = 273
};

// A window without a native view: a procedure and the parameter it was made
// with. Native windows of the toolkit are built on the same record.
HWND SWELL_CreateProcWindow(DLGPROC proc, LPARAM param);
// Delivers WM_DESTROY, then frees the window.
void DestroyWindow(HWND hwnd);
// Calls the window's procedure and returns its result; 0 for a null window.
LRESULT SendMessage(HWND hwnd, unsigned int msg, WPARAM wParam, LPARAM lParam);
