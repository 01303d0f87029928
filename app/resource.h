#pragma once
// Ids of the application's dialogs, menu and commands.

#define IDD_DIALOG_MAIN 40001
#define IDD_DIALOG_PREF 40002
#define IDR_MENU1 40004
#define ID_ABOUT 40005
#define ID_PREFERENCES 40006
#define ID_QUIT 40007
#define ID_LEARN_CONTROLLER 40008
#define ID_FORGET_CONTROLLER 40009
#define ID_FORGET_ALL_CONTROLLERS 40010
// The View menu's sizes of the panel: 100, 125, 150 and 200 %, in order.
#define ID_VIEW_SIZE_FIRST 40011
#define ID_VIEW_SIZE_LAST 40014
