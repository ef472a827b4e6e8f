#pragma once

/* Numbers of dialog templates and controls, shared by the templates, the code and the tests. They
   are a part of the product's contract with tools that drive its dialogs: never renumber. */

#define IDD_ANNOUNCE_MODE_IS_CHANGED 107

#define IDC_TITLE_BAND 1001
#define IDC_TITLE_TEXT 1003
#define IDC_OK_BUTTON 1004
#define IDC_CANCEL_BUTTON 1005
#define IDC_ANNOUNCE_DESCRIPTION 1035
#define IDC_ANNOUNCE_DETAIL 1036
#define IDC_ANNOUNCE_NOT_SHOW 1037
