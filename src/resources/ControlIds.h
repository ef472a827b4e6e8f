#pragma once

/* Numbers of dialog templates, controls and the icon, shared by the templates, the code and the
   tests. They are a part of the product's contract with tools that drive its dialogs: never
   renumber. */

#define IDD_SETTINGS 101
#define IDD_MODE_SETTINGS_AREA 102
#define IDD_SETTING_ITEM_LIST 103
#define IDD_SETTING_ITEM_LIST_LINE 104
#define IDD_SETTING_ITEM_LIST_GROUP_TITLE 105
#define IDD_UPDATE_PC_ENVIRONMENT 106
#define IDD_ANNOUNCE_MODE_IS_CHANGED 107
#define IDI_MODE_CHANGE 108

/* Several dialogs */
#define IDC_TITLE_BAND 1001
#define IDC_TITLE_TEXT 1003
#define IDC_OK_BUTTON 1004
#define IDC_CANCEL_BUTTON 1005

/* The settings dialog's frame */
#define IDC_APPLY_BUTTON 1006
#define IDC_AREA_PLACEHOLDER 1012

/* The mode settings area */
#define IDC_RESTORE_DEFAULTS_BUTTON 1010
#define IDC_AUTO_ON_OFF 1011
#define IDC_LIST_FRAME 1013
#define IDC_MODE_SELECTION 1030
#define IDC_SHOW_ANNOUNCEMENT 1039

/* A group title of the setting item list */
#define IDC_GROUP_TITLE 1023
#define IDC_GROUP_TITLE_BACKGROUND 1029

/* A line of the setting item list */
#define IDC_SETTING_ITEM 1016
#define IDC_FIRST_VALUE 1018
#define IDC_SECOND_VALUE 1019
#define IDC_VALUE_SLIDER 1021
#define IDC_VALUE_COMBO 1024
#define IDC_GREYED_VALUE 1025
#define IDC_LINE_BACKGROUND 1028
#define IDC_LOCKED_ITEM_NAME 1031
#define IDC_LOCKED_VALUE_MEMO 1032
#define IDC_SLIDER_DOWN_LABEL 1040
#define IDC_SLIDER_UP_LABEL 1041

/* The progress dialog; its icon's number is also that of a line's memo */
#define IDC_PROGRESS_ICON 1032
#define IDC_PROGRESS_TEXT 1033
#define IDC_PROGRESS_BAR 1034

/* The announcement of a mode change */
#define IDC_ANNOUNCE_DESCRIPTION 1035
#define IDC_ANNOUNCE_DETAIL 1036
#define IDC_ANNOUNCE_NOT_SHOW 1037
