#include "swell-wnd.h"

struct HWND__
{
  DLGPROC m_proc;
  LPARAM m_param;
};

HWND SWELL_CreateProcWindow(DLGPROC proc, LPARAM param) { return new HWND__{proc, param}; }

void DestroyWindow(HWND hwnd)
{
  if (!hwnd) return;
  SendMessage(hwnd, WM_DESTROY, 0, 0);
  delete hwnd;
}

LRESULT SendMessage(HWND hwnd, unsigned int msg, WPARAM wParam, LPARAM lParam)
{
  return hwnd && hwnd->m_proc ? hwnd->m_proc(hwnd, msg, wParam, lParam) : 0;
}
